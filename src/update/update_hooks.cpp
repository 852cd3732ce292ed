// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/update_hooks.h"

#include "platform/platform.h"

#include <obs-module.h>

#include <ctime>

namespace kalvio {

namespace {

HttpResponse fetch(const std::string &url)
{
	return http_request(url);
}

std::int64_t now()
{
	return static_cast<std::int64_t>(std::time(nullptr));
}

std::string config_file(const char *name)
{
	char *path = obs_module_config_path(name);
	std::string file = path ? path : "";
	bfree(path);
	return file;
}

} // namespace

UpdateHooks system_update_hooks()
{
	return {fetch, now, open_url, config_file};
}

} // namespace kalvio
