// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <filesystem>
#include <string>

namespace kalvio::test {

// The module's file, loaded as the host does it: by its full path, its own folder first in the search for what it
// needs. It stays loaded to the end of the process, as the host leaves it.
class ModuleLibrary {
public:
	// Throws std::system_error with the system's reason.
	explicit ModuleLibrary(const std::filesystem::path &file);

	// What the host calls by name. Throws std::system_error when the module lacks it.
	template <class Function>
	Function *function(const char *name) const
	{
		return reinterpret_cast<Function *>(find(name));
	}

private:
	void (*find(const char *name) const)();

	void *handle_;
};

// Where the library of this file name was loaded from; empty when it is not loaded.
std::filesystem::path folder_of_library(const wchar_t *file_name);

// The version in a library's properties, "1.2.3.0", and a text of its version resource; empty where it has none.
std::string version_of_library(const std::filesystem::path &file);
std::string version_text_of_library(const std::filesystem::path &file, const std::string &name);

} // namespace kalvio::test
