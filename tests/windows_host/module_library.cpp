// SPDX-License-Identifier: GPL-2.0-or-later
#include "module_library.h"

#include <array>
#include <system_error>
#include <vector>
#include <windows.h>

namespace kalvio::test {
namespace {

std::system_error last_error(const std::string &what)
{
	return {static_cast<int>(GetLastError()), std::system_category(), what};
}

std::vector<char> version_resource(const std::filesystem::path &file)
{
	DWORD ignored = 0;
	std::vector<char> resource(GetFileVersionInfoSizeW(file.c_str(), &ignored));
	if (resource.empty() ||
	    !GetFileVersionInfoW(file.c_str(), 0, static_cast<DWORD>(resource.size()), resource.data()))
		return {};
	return resource;
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

std::string version_of_library(const std::filesystem::path &file)
{
	const std::vector<char> resource = version_resource(file);
	void *found = nullptr;
	UINT size = 0;
	if (resource.empty() || !VerQueryValueW(resource.data(), L"\\", &found, &size))
		return {};
	const auto &fixed = *static_cast<const VS_FIXEDFILEINFO *>(found);
	return std::to_string(HIWORD(fixed.dwFileVersionMS)) + "." + std::to_string(LOWORD(fixed.dwFileVersionMS)) +
	       "." + std::to_string(HIWORD(fixed.dwFileVersionLS)) + "." +
	       std::to_string(LOWORD(fixed.dwFileVersionLS));
}

std::string version_text_of_library(const std::filesystem::path &file, const std::string &name)
{
	const std::vector<char> resource = version_resource(file);
	const std::string place = "\\StringFileInfo\\040904b0\\" + name;
	void *found = nullptr;
	UINT size = 0;
	if (resource.empty() || !VerQueryValueA(resource.data(), place.c_str(), &found, &size))
		return {};
	return static_cast<const char *>(found);
}

} // namespace kalvio::test
