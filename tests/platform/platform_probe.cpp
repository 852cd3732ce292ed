// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/platform.h"

#include <cstring>

// Copies the module's folder into `buffer`; returns its length.
extern "C" [[gnu::visibility("default")]] size_t probe_module_folder(char *buffer, size_t capacity)
{
	const std::string folder = kalvio::module_folder();
	std::strncpy(buffer, folder.c_str(), capacity);
	return folder.size();
}
