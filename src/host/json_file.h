// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <obs.hpp>
#include <string>

// Small JSON files of the module, kept whole when the process ends at any moment: a new file is written beside the old
// one ("*.tmp") and renamed, and the old one stays as "*.bak". Paths are UTF-8. Any thread, one at a time per file;
// throws nothing but std::bad_alloc.
namespace kalvio {

// The object in `path`; when that is missing, larger than `largest_bytes` or not JSON, the object in its backup. Null
// when neither can be read.
OBSDataAutoRelease read_json_file(const std::string &path, std::uintmax_t largest_bytes);

// Replaces `path`, in a folder that exists. What was there becomes the backup, unless read_json_file would refuse it.
// False when that is not possible, as where a folder has its name; `path` and its backup are then as before.
bool save_json_file(obs_data_t *object, const std::string &path, std::uintmax_t largest_bytes);

} // namespace kalvio
