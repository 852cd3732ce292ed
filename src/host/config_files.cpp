// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/config_files.h"

#include <obs-module.h>
#include <util/util.hpp>

namespace kalvio {

std::string module_config_file(const char *name)
{
	const BPtr<char> path(obs_module_config_path(name));
	return path.Get() ? path.Get() : std::string();
}

} // namespace kalvio
