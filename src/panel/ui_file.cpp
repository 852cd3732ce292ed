// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/ui_file.h"

#include <obs-module.h>
#include <util/bmem.h>
#include <util/platform.h>
#include <util/util.hpp>

#include <cstdint>
#include <sys/stat.h>

namespace kalvio {

namespace {

// Far above anything that was ever written.
constexpr std::int64_t largest_file_bytes = 1024 * 1024;

// The host's reader takes the memory that a seek to the end asks for, which for a folder is all there is, and waits at
// a pipe.
bool is_readable_file(const char *path)
{
	struct stat info = {};
	return os_stat(path, &info) == 0 && (info.st_mode & S_IFMT) == S_IFREG && info.st_size <= largest_file_bytes;
}

OBSDataAutoRelease read_object(const char *path)
{
	return is_readable_file(path) ? obs_data_create_from_json_file(path) : nullptr;
}

} // namespace

OBSDataAutoRelease read_ui_file()
{
	BPtr<char> path = obs_module_config_path("ui.json");
	return path ? read_object(path) : nullptr;
}

void rewrite_ui_file(const std::function<void(obs_data_t *)> &change)
{
	BPtr<char> folder = obs_module_config_path("");
	BPtr<char> path = obs_module_config_path("ui.json");
	if (!folder || !path)
		return;
	os_mkdirs(folder);

	OBSDataAutoRelease object = read_object(path);
	if (!object)
		object = obs_data_create();
	change(object);
	obs_data_save_json(object, path);
}

} // namespace kalvio
