// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "update/http_client.h"

#include <cstdint>
#include <string>

namespace kalvio {

// What the update check takes from the world around it. Tests put their own in its place.
struct UpdateHooks {
	HttpResponse (*fetch)(const std::string &url); // called on the worker thread
	std::int64_t (*now)();                         // Unix seconds; any thread
	bool (*open_url)(const std::string &url);      // see platform.h
	std::string (*config_file)(const char *name);  // full path in the module's configuration folder, "" if unknown
};

// The network, the clock, the desktop and the host.
UpdateHooks system_update_hooks();

// Puts the update service back to where it is before the module is loaded, with these hooks. Only while no check runs.
void reset_update_service(const UpdateHooks &hooks);

// Whether a check is under way.
bool update_check_is_running();

} // namespace kalvio
