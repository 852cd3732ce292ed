// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/json_file.h"

#include "host/small_file.h"

#include <filesystem>
#include <system_error>

namespace kalvio {

namespace {

OBSDataAutoRelease read_one(const std::string &path, std::uintmax_t largest_bytes)
{
	return is_small_file(path.c_str(), largest_bytes) ? obs_data_create_from_json_file(path.c_str()) : nullptr;
}

bool is_folder(const std::string &path)
try {
	return std::filesystem::is_directory(std::u8string(path.begin(), path.end()));
} catch (const std::system_error &) {
	return false;
}

} // namespace

OBSDataAutoRelease read_json_file(const std::string &path, std::uintmax_t largest_bytes)
{
	OBSDataAutoRelease object = read_one(path, largest_bytes);
	return object ? std::move(object) : read_one(path + ".bak", largest_bytes);
}

bool save_json_file(obs_data_t *object, const std::string &path, std::uintmax_t largest_bytes)
{
	// What replaces a file may move a folder aside as well (ReplaceFile under Wine does).
	if (is_folder(path))
		return false;
	// A damaged file must not take the place of a good backup.
	const bool keep_as_backup = read_one(path, largest_bytes) != nullptr;
	return obs_data_save_json_safe(object, path.c_str(), "tmp", keep_as_backup ? "bak" : nullptr);
}

} // namespace kalvio
