// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform.h"

#include <windows.h>

#include <io.h>
#include <share.h>

#include <array>
#include <string>

namespace kalvio::engine::platform {

namespace {

std::wstring widen(const char *text_utf8)
{
	const int length = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text_utf8, -1, nullptr, 0);
	if (length <= 0)
		return {};
	std::wstring wide(static_cast<size_t>(length), L'\0');
	MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text_utf8, -1, wide.data(), length);
	wide.resize(static_cast<size_t>(length) - 1);
	return wide;
}

} // namespace

File open_regular_file(const char *path_utf8, int64_t &size)
{
	const std::wstring path = widen(path_utf8);
	WIN32_FILE_ATTRIBUTE_DATA attributes = {};
	if (path.empty() || !GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &attributes))
		return nullptr;
	if (attributes.dwFileAttributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_DEVICE))
		return nullptr;
	File file(_wfsopen(path.c_str(), L"rbN", _SH_DENYNO));
	if (!file || _fseeki64(file.get(), 0, SEEK_END) != 0)
		return nullptr;
	size = _ftelli64(file.get());
	if (size < 0 || _fseeki64(file.get(), 0, SEEK_SET) != 0)
		return nullptr;
	return file;
}

File open_for_append(const char *path_utf8)
{
	const std::wstring path = widen(path_utf8);
	File file(path.empty() ? nullptr : _wfsopen(path.c_str(), L"abN", _SH_DENYNO));
	if (!file)
		return nullptr;
	// The folder for temporary files is the user's own here; a second name may still lead anywhere.
	BY_HANDLE_FILE_INFORMATION information = {};
	const auto handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file.get())));
	if (!GetFileInformationByHandle(handle, &information) || information.nNumberOfLinks != 1)
		return nullptr;
	return file;
}

bool make_empty(std::FILE *file)
{
	return _chsize_s(_fileno(file), 0) == 0;
}

std::string environment_value(const char *name)
{
	std::array<char, longest_environment_value + 1> value;
	const DWORD length = GetEnvironmentVariableA(name, value.data(), static_cast<DWORD>(value.size()));
	return {value.data(),
		length < value.size() ? length : 0}; // of a longer value it answers the size that it takes
}

std::tm local_time(std::time_t time)
{
	std::tm result = {};
	localtime_s(&result, &time);
	return result;
}

} // namespace kalvio::engine::platform
