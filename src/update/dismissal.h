// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <string>

namespace kalvio {

// The notice that the user has put away, kept in a small JSON file in the module's configuration folder.
struct Dismissal {
	std::string version;    // the published version that the notice named, "" for none
	std::int64_t until = 0; // Unix seconds; from then on the notice is shown again
};

// Reads `file`. Whatever is missing, unreadable or no such record reads as no dismissal.
Dismissal load_dismissal(const std::string &file);

// Writes `file` and creates its folder. False when that fails; the file is then left as it was or is incomplete.
bool save_dismissal(const std::string &file, const Dismissal &dismissal);

} // namespace kalvio
