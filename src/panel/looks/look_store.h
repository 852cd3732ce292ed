// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "panel/looks/look_format.h"

#include <string>
#include <vector>

// The looks: six of our own in the module's data folder, and the user's in "looks.json" in its configuration folder,
// {"kalvio_looks": 1, "looks": [...]}. That file is read before each change and written as a whole, so another OBS that
// uses the folder loses none of its looks. User-interface thread.
namespace kalvio {

struct StoredLook {
	std::string name;      // unique among the user's; of one of our own that of its file
	std::string label_key; // of one of our own: its name is the text of this key; else ""
	ParameterSet parameters;
};

// Our own in their order; those whose file is missing or damaged are left out.
std::vector<StoredLook> built_in_looks();

// The user's, as the file has them now.
std::vector<StoredLook> user_looks();

// Adds `parameters` under `name`, made plain and unique; `name` gets what came of it.
LookResult save_look(std::string &name, const ParameterSet &parameters);

// `new_name` as above. NotALook when there is no look `name`, as below.
LookResult rename_look(const std::string &name, std::string &new_name);
LookResult delete_look(const std::string &name);
LookResult export_user_look(const std::string &name, const std::string &path);

// Adds the look of a file; `name` gets its name. Where the file has none that is "Look".
LookResult import_user_look(const std::string &path, std::string &name);

} // namespace kalvio
