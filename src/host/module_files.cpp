// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/module_files.h"

#include <obs-module.h>
#include <util/platform.h>
#include <util/util.hpp>

namespace kalvio {

std::string resolve_module_file(const char *relative_path)
{
	const BPtr<char> found(obs_find_module_file(obs_current_module(), relative_path));
	const char *path = found.Get();
	return path && os_file_exists(path) ? path : std::string();
}

} // namespace kalvio
