// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <functional>
#include <obs.hpp>

// "ui.json" in the module's configuration folder. It is always read and rewritten as a whole object, so each writer
// keeps the keys of the others. User-interface thread; nothing is reported.
namespace kalvio {

// The file's object; null without a configuration folder, without a file, and when it is not JSON.
OBSDataAutoRelease read_ui_file();

// Reads the file, or begins with an empty object, lets `change` alter it and writes it back, with the folder where that
// is missing. Does nothing without a configuration folder.
void rewrite_ui_file(const std::function<void(obs_data_t *)> &change);

} // namespace kalvio
