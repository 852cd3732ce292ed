// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/dismissal.h"
#include "update/manifest.h"
#include "update/version.h"
#include "update/web_address.h"

#include <util/base.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <unistd.h>

// Everything the update service reads that others have written: the manifest, the dismissal file and version texts. The
// first byte of an input picks the reader. What holds for every input is checked; a breach aborts.

namespace {

using namespace kalvio;

void require(bool fact)
{
	if (!fact)
		std::abort();
}

void read_versions(std::string_view text)
{
	const size_t split = text.find('\n');
	const std::string_view first = text.substr(0, split);
	const std::string_view second = split == std::string_view::npos ? "1.0.12" : text.substr(split + 1);

	require(!is_older(first, first) || !parse_version(first));
	require(!(is_older(first, second) && is_older(second, first)));
	require(parse_version(first).has_value() || !is_older("1.0.12", first));
	if (!first.starts_with('v') && !first.starts_with('V'))
		require(parse_version("v" + std::string(first)) == parse_version(first));
}

void read_manifest(const std::string &body)
{
	const auto manifest = parse_manifest(body);
	if (!manifest)
		return;
	require(is_web_address(manifest->download_file));
	require(manifest->download_page.empty() || is_web_address(manifest->download_page));
	// An escape never takes fewer bytes than what it stands for.
	require(manifest->latest.size() + manifest->force_below.size() + manifest->notes.size() <= body.size());
	(void)is_older("1.0.12", manifest->latest);
	(void)is_older("1.0.12", manifest->force_below);
}

// A manifest whose values are the lines of `text`, as they stand. The host's parser is not built for fuzzing, so
// nothing would lead the fuzzer from noise to whole objects.
std::string manifest_of(std::string_view text)
{
	std::string body = "{";
	for (const char *key : {"version", "force_below", "notes", "download_page", "download_windows"}) {
		const size_t end = text.find('\n');
		const std::string_view value = text.substr(0, end);
		body += std::string(body.size() > 1 ? ", \"" : "\"") + key + "\": ";
		body += value.empty() ? "null" : value;
		text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
	}
	return body + "}";
}

// A file without a folder, and the path under which this process sees it.
const int memory_file = memfd_create("update_dismiss.json", 0);
const std::string memory_file_path = "/proc/self/fd/" + std::to_string(memory_file);

void read_dismissal(std::string_view content)
{
	require(ftruncate(memory_file, 0) == 0);
	require(pwrite(memory_file, content.data(), content.size(), 0) == static_cast<ssize_t>(content.size()));
	const Dismissal dismissal = load_dismissal(memory_file_path);
	require(dismissal.version.size() <= content.size());

	// What was read can be written and read again.
	require(save_dismissal(memory_file_path, dismissal));
	const Dismissal again = load_dismissal(memory_file_path);
	require(again.version == dismissal.version && again.until == dismissal.until);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
	base_set_log_handler([](int, const char *, va_list, void *) {}, nullptr);
	return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
	if (size == 0)
		return 0;
	const std::string text(reinterpret_cast<const char *>(data + 1), size - 1);
	switch (data[0]) {
	case 'v':
		read_versions(text);
		break;
	case 'd':
		read_dismissal(text);
		break;
	case 'k':
		read_manifest(manifest_of(text));
		break;
	default:
		read_manifest(text);
	}
	return 0;
}
