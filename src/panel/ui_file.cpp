// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/ui_file.h"

#include "platform/small_file.h"

#include <cstdint>
#include <obs-module.h>
#include <util/bmem.h>
#include <util/platform.h>
#include <util/util.hpp>

namespace kalvio {

namespace {

// Far above anything that was ever written.
constexpr std::uintmax_t largest_file_bytes = 1024 * 1024;

OBSDataAutoRelease read_object(const char *path)
{
	return is_small_file(path, largest_file_bytes) ? obs_data_create_from_json_file(path) : nullptr;
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
