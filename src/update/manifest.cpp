// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/manifest.h"

#include "kalvio_config.h"
#include "platform/web_address.h"

#include <obs.hpp>

#include <algorithm>
#include <string_view>

namespace kalvio {

namespace {

// The host's parser takes any JSON value and reads one that is no object as an object without keys, and it ends at the
// first NUL. Either would turn rubbish into a manifest that says nothing.
bool may_be_object(std::string_view body)
{
	constexpr std::string_view json_blanks = " \t\r\n";
	const size_t first = body.find_first_not_of(json_blanks);
	return first != std::string_view::npos && body[first] == '{' && body.find('\0') == std::string_view::npos;
}

std::string read_address(obs_data_t *data, const char *key)
{
	std::string address = obs_data_get_string(data, key);
	if (!is_web_address(address))
		address.clear();
	return address;
}

} // namespace

std::string manifest_url()
{
	return std::string(download_base) + "/kalvio/obs/latest.json";
}

std::string default_package_url()
{
	return std::string(download_base) + "/kalvio/obs/kalvio-obs-windows-latest.zip";
}

std::optional<Manifest> parse_manifest(const std::string &body)
{
	if (!may_be_object(body))
		return std::nullopt;
	const OBSDataAutoRelease data = obs_data_create_from_json(body.c_str());
	if (!data)
		return std::nullopt;

	Manifest manifest;
	manifest.latest = obs_data_get_string(data, "version");
	manifest.force_below = obs_data_get_string(data, "force_below");
	manifest.notes = obs_data_get_string(data, "notes");
	manifest.download_page = read_address(data, "download_page");
	manifest.download_file = read_address(data, "download_windows");
	if (manifest.download_file.empty())
		manifest.download_file = default_package_url();
	return manifest;
}

} // namespace kalvio
