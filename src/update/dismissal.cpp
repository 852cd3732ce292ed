// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/dismissal.h"

#include "host/json_file.h"

#include <obs.hpp>
#include <util/platform.h>

namespace kalvio {

namespace {

constexpr const char *version_key = "version";
constexpr const char *until_key = "until";

// Far above any record that was ever written.
constexpr std::uintmax_t largest_file_bytes = 65'536;

} // namespace

Dismissal load_dismissal(const std::string &file)
{
	const OBSDataAutoRelease data = read_json_file(file, largest_file_bytes);
	if (!data)
		return {};
	return {obs_data_get_string(data, version_key), obs_data_get_int(data, until_key)};
}

bool save_dismissal(const std::string &file, const Dismissal &dismissal)
{
	const size_t separator = file.find_last_of("/\\");
	if (separator == std::string::npos)
		return false;
	os_mkdirs(file.substr(0, separator).c_str());

	const OBSDataAutoRelease data = obs_data_create();
	obs_data_set_string(data, version_key, dismissal.version.c_str());
	obs_data_set_int(data, until_key, dismissal.until);
	return save_json_file(data, file, largest_file_bytes);
}

} // namespace kalvio
