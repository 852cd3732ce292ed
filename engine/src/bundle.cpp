// SPDX-License-Identifier: GPL-2.0-or-later
#include "bundle.h"

#include "file_reader.h"

#include <nlohmann/json.hpp>
#include <zip.h>

#include <algorithm>
#include <utility>

namespace kalvio::engine {

namespace {

// Payload names are plain relative paths: nothing that could mean another place if a person unpacked the bundle.
bool is_plain_name(const std::string &name)
{
	if (name.empty() || name.size() > BundleLimits::name_bytes || name.front() == '/')
		return false;
	for (const char character : name) {
		if (static_cast<unsigned char>(character) < 0x20 || character == '\\' || character == ':')
			return false;
	}
	size_t start = 0;
	while (start <= name.size()) {
		const size_t end = std::min(name.find('/', start), name.size());
		const std::string part = name.substr(start, end - start);
		if (part.empty() || part == "." || part == "..")
			return false;
		start = end + 1;
	}
	return true;
}

bool is_symbolic_link(zip_t *archive, uint64_t index)
{
	constexpr uint32_t type_mask = 0170000;
	constexpr uint32_t type_link = 0120000;
	uint8_t system = 0;
	uint32_t attributes = 0;
	if (zip_file_get_external_attributes(archive, index, 0, &system, &attributes) != 0)
		return true;
	return system == ZIP_OPSYS_UNIX && ((attributes >> 16) & type_mask) == type_link;
}

struct EntryFileCloser {
	void operator()(zip_file_t *file) const { zip_fclose(file); }
};
using EntryFile = std::unique_ptr<zip_file_t, EntryFileCloser>;

// Of arrays and objects in one another; ours have 4.
constexpr int max_manifest_depth = 32;

// Empties a value from its leaves on. The library's destructor takes memory for each array and object that is not
// empty, and ends the process where there is none. The depth is at most max_manifest_depth.
void empty(nlohmann::json &value) // NOLINT(misc-no-recursion)
{
	if (!value.is_structured())
		return;
	for (nlohmann::json &child : value)
		empty(child);
	value.clear();
}

} // namespace

struct Bundle::Archive {
	Bytes bytes; // what the handle reads from; declared first, so that it outlives it
	zip_t *handle = nullptr;

	Archive() = default;
	Archive(const Archive &) = delete;
	Archive &operator=(const Archive &) = delete;
	~Archive()
	{
		if (handle != nullptr)
			zip_discard(handle);
	}
};

void Bundle::ManifestDeleter::operator()(nlohmann::json *manifest) const
{
	empty(*manifest);
	delete manifest;
}

Bundle::Bundle() = default;
Bundle::~Bundle() = default;

ReadResult Bundle::open(const char *path, const char *kind)
{
	Bytes bytes;
	if (ReadResult result = read_file(path, BundleLimits::file_bytes, bytes); !result)
		return result;
	return open(std::move(bytes), kind);
}

ReadResult Bundle::open(Bytes bytes, const char *kind)
{
	entries_.clear();
	archive_ = std::make_unique<Archive>();
	archive_->bytes = std::move(bytes);

	zip_error_t error;
	zip_error_init(&error);
	zip_source_t *source =
		zip_source_buffer_create(archive_->bytes.data(), archive_->bytes.size(), /*freep=*/0, &error);
	if (source != nullptr) {
		archive_->handle = zip_open_from_source(source, ZIP_RDONLY | ZIP_CHECKCONS, &error);
		if (archive_->handle == nullptr)
			zip_source_free(source);
	}
	const std::string message = zip_error_strerror(&error);
	zip_error_fini(&error);
	if (archive_->handle == nullptr)
		return bad_format("no ZIP archive: " + message);

	if (ReadResult result = check_entries(); !result)
		return result;
	return check_manifest(kind);
}

ReadResult Bundle::check_entries()
{
	const int64_t count = zip_get_num_entries(archive_->handle, 0);
	if (count < 1 || count > BundleLimits::entries)
		return bad_format("it holds " + std::to_string(count) + " files");

	uint64_t total = 0;
	for (uint64_t index = 0; index < static_cast<uint64_t>(count); ++index) {
		zip_stat_t information;
		zip_stat_init(&information);
		constexpr uint64_t needed =
			ZIP_STAT_NAME | ZIP_STAT_SIZE | ZIP_STAT_COMP_METHOD | ZIP_STAT_ENCRYPTION_METHOD;
		if (zip_stat_index(archive_->handle, index, 0, &information) != 0 ||
		    (information.valid & needed) != needed)
			return bad_format("a file in it cannot be described");

		const std::string entry = information.name;
		if (!is_plain_name(entry))
			return bad_format("a file in it has the name \"" + entry + "\"");
		if (is_symbolic_link(archive_->handle, index))
			return bad_format("\"" + entry + "\" is a link");
		if (information.encryption_method != ZIP_EM_NONE ||
		    (information.comp_method != ZIP_CM_STORE && information.comp_method != ZIP_CM_DEFLATE))
			return bad_format("\"" + entry + "\" is packed in an unknown way");
		if (information.size > BundleLimits::entry_bytes)
			return bad_format("\"" + entry + "\" is too large");
		total += information.size;
		if (total > BundleLimits::total_bytes)
			return bad_format("its files are too large together");
		if (!entries_.emplace(entry, Entry{index, information.size}).second)
			return bad_format("\"" + entry + "\" occurs twice");
	}
	return {};
}

ReadResult Bundle::check_manifest(const char *kind)
{
	const auto entry = entries_.find("manifest.json");
	if (entry == entries_.end())
		return bad_format("manifest.json is missing");
	if (entry->second.bytes > BundleLimits::manifest_bytes)
		return bad_format("manifest.json is too large");
	Bytes text;
	if (ReadResult result = read(entry->first, text); !result)
		return result;

	bool too_deep = false;
	const auto keep = [&](int depth, nlohmann::json::parse_event_t, const nlohmann::json &) {
		too_deep = too_deep || depth > max_manifest_depth;
		return !too_deep;
	};
	manifest_.reset(
		new nlohmann::json(nlohmann::json::parse(text.begin(), text.end(), keep, /*allow_exceptions=*/false)));
	if (too_deep || !manifest_->is_object())
		return bad_format("manifest.json is no JSON object");
	const auto kind_value = manifest_->find("kind");
	const auto version_value = manifest_->find("format_version");
	const auto name_value = manifest_->find("name");
	if (kind_value == manifest_->end() || !kind_value->is_string() ||
	    kind_value->get_ref<const std::string &>() != kind)
		return bad_format(std::string("it is no bundle of the kind \"") + kind + "\"");
	if (version_value == manifest_->end() || !version_value->is_number_integer() ||
	    *version_value != bundle_format_version)
		return bad_format("its format version is not " + std::to_string(bundle_format_version));
	if (name_value == manifest_->end() || !name_value->is_string())
		return bad_format("it has no name");
	name_ = name_value->get<std::string>();
	return {};
}

const Bytes &Bundle::bytes() const
{
	return archive_->bytes;
}

ReadResult Bundle::read(const std::string &entry, Bytes &content) const
{
	const auto found = entries_.find(entry);
	if (found == entries_.end())
		return bad_format("\"" + entry + "\" is missing");

	EntryFile file(zip_fopen_index(archive_->handle, found->second.index, 0));
	if (!file)
		return bad_format("\"" + entry + "\" cannot be opened");
	// The stated size bounds the memory; a stream that unpacks to more or less than it is damaged. Reading past
	// the end also makes the library compare the checksum.
	content.resize(static_cast<size_t>(found->second.bytes));
	const int64_t read_bytes = zip_fread(file.get(), content.data(), content.size());
	uint8_t beyond = 0;
	const int64_t beyond_bytes = zip_fread(file.get(), &beyond, 1);
	const bool closed = zip_fclose(file.release()) == 0;
	if (read_bytes != static_cast<int64_t>(content.size()) || beyond_bytes != 0 || !closed)
		return bad_format("\"" + entry + "\" is damaged");
	return {};
}

} // namespace kalvio::engine
