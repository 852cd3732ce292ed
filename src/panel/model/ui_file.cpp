// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/ui_file.h"

#include "host/config_files.h"
#include "host/json_file.h"

#include <cstdint>
#include <string>
#include <util/platform.h>

namespace kalvio {

namespace {

constexpr const char *ui_file = "ui.json";

// Far above anything that was ever written.
constexpr std::uintmax_t largest_ui_bytes = 1024 * 1024;

} // namespace

OBSDataAutoRelease read_ui_file()
{
	return read_json_file(module_config_file(ui_file), largest_ui_bytes);
}

void rewrite_ui_file(const std::function<void(obs_data_t *)> &change)
{
	const std::string folder = module_config_file("");
	const std::string path = module_config_file(ui_file);
	if (folder.empty() || path.empty())
		return;
	os_mkdirs(folder.c_str());

	OBSDataAutoRelease object = read_json_file(path, largest_ui_bytes);
	if (!object)
		object = obs_data_create();
	change(object);
	save_json_file(object, path, largest_ui_bytes);
}

} // namespace kalvio
