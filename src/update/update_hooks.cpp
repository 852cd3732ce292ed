// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/update_hooks.h"

#include "host/config_files.h"
#include "platform/platform.h"

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

} // namespace

UpdateHooks system_update_hooks()
{
	return {fetch, now, open_url, module_config_file};
}

} // namespace kalvio
