// SPDX-License-Identifier: GPL-2.0-or-later
#include "bundle_writer.h"

#include <nlohmann/json.hpp>
#include <zip.h>

#include <algorithm>
#include <ctime>
#include <memory>
#include <stdexcept>

namespace kalvio::engine {

namespace {

// A ZIP entry stores local time without a zone: midnight of the first day it can express, wherever the build runs.
std::time_t fixed_time()
{
	std::tm day = {};
	day.tm_year = 80;
	day.tm_mday = 1;
	day.tm_isdst = -1;
	return std::mktime(&day);
}

void add(zip_t *archive, const BundleFile &file)
{
	zip_source_t *source = zip_source_buffer(archive, file.content.data(), file.content.size(), /*freep=*/0);
	if (source == nullptr)
		throw std::runtime_error(file.name + ": " + zip_strerror(archive));
	const int64_t index = zip_file_add(archive, file.name.c_str(), source, ZIP_FL_ENC_UTF_8);
	if (index < 0) {
		zip_source_free(source);
		throw std::runtime_error(file.name + ": " + zip_strerror(archive));
	}
	const auto entry = static_cast<uint64_t>(index);
	constexpr uint32_t regular_file = (0100644U) << 16;
	zip_set_file_compression(archive, entry, ZIP_CM_DEFLATE, 9);
	zip_file_set_mtime(archive, entry, fixed_time(), 0);
	zip_file_set_external_attributes(archive, entry, 0, ZIP_OPSYS_UNIX, regular_file);
}

} // namespace

void write_bundle(const std::filesystem::path &output, std::vector<BundleFile> files)
{
	std::sort(files.begin(), files.end(),
		  [](const BundleFile &left, const BundleFile &right) { return left.name < right.name; });
	int error = 0;
	const std::u8string path = output.u8string();
	zip_t *archive = zip_open(reinterpret_cast<const char *>(path.c_str()), ZIP_CREATE | ZIP_TRUNCATE, &error);
	if (archive == nullptr)
		throw std::runtime_error("cannot be written");
	std::unique_ptr<zip_t, decltype(&zip_discard)> owner(archive, zip_discard);
	for (const BundleFile &file : files)
		add(archive, file);
	if (zip_close(archive) != 0)
		throw std::runtime_error(zip_strerror(archive));
	static_cast<void>(owner.release()); // closed: nothing is left to discard
}

} // namespace kalvio::engine
