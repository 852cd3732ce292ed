// SPDX-License-Identifier: GPL-2.0-or-later
#include "module_library.h"

#include <array>
#include <system_error>
#include <windows.h>

namespace kalvio::test {
namespace {

std::system_error last_error(const std::string &what)
{
	return {static_cast<int>(GetLastError()), std::system_category(), what};
}

// In a running host both of its libraries are loaded long before a module is.
void load_frontend()
{
	if (!LoadLibraryW(L"obs-frontend-api.dll"))
		throw last_error("obs-frontend-api.dll");
}

} // namespace

ModuleLibrary::ModuleLibrary(const std::filesystem::path &file)
{
	load_frontend();
	handle_ = LoadLibraryExW(file.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
	if (!handle_)
		throw last_error(file.string());
}

void (*ModuleLibrary::find(const char *name) const)()
{
	const FARPROC found = GetProcAddress(static_cast<HMODULE>(handle_), name);
	if (!found)
		throw last_error(name);
	return reinterpret_cast<void (*)()>(found);
}

std::filesystem::path folder_of_library(const wchar_t *file_name)
{
	std::array<wchar_t, 4096> path;
	const HMODULE handle = GetModuleHandleW(file_name);
	if (!handle || !GetModuleFileNameW(handle, path.data(), static_cast<DWORD>(path.size())))
		return {};
	return std::filesystem::path(path.data()).parent_path();
}

} // namespace kalvio::test
