// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/config_double.h"

#include <obs-module.h>
#include <util/bmem.h>

namespace {

std::string &config_folder()
{
	static std::string folder;
	return folder;
}

} // namespace

namespace kalvio::test {

void set_config_folder(std::string folder)
{
	config_folder() = std::move(folder);
}

} // namespace kalvio::test

char *obs_module_get_config_path(obs_module_t *, const char *file)
{
	return config_folder().empty() ? nullptr : bstrdup((config_folder() + "/" + file).c_str());
}
