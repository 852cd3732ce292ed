// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "update/update_check.h"

#include <string>

// The rooms around the panel, in place of the real ones: update service, desktop, configuration folder and dock. Each
// call of an action goes into the call journal ("open_url", "dismiss_update", "open_update_download").
namespace kalvio::test {

void set_update_status(const UpdateStatus &status);

// Where the module keeps its files; "": the host has no such folder. Without a trailing separator.
void set_config_folder(std::string folder);

// The folder that the module lies in, with the bundle without which there is no engine.
void set_module_folder(std::string folder);

// Nothing to update, no folders.
void reset_neighbors();

} // namespace kalvio::test
