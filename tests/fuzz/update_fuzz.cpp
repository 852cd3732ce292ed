// SPDX-License-Identifier: GPL-2.0-or-later
#include "fuzz_input.h"
#include "kit/scratch.h"
#include "platform/web_address.h"
#include "update/dismissal.h"
#include "update/manifest.h"
#include "update/update_check.h"
#include "update/update_hooks.h"
#include "update/version.h"

#include <util/base.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

// Everything the update service reads that others have written: a server's answers, the manifest, the dismissal file
// and version texts. The first byte of an input picks the reader. What holds for every input is checked; a breach
// aborts.

namespace {

using namespace kalvio;
using test::require;

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

void read_dismissal(std::string_view content)
{
	static const test::ScratchFolder folder;
	static const std::string path = folder.file("update_dismiss.json");
	std::filesystem::remove(path + ".bak"); // of an earlier input
	folder.write("update_dismiss.json", content);
	const Dismissal dismissal = load_dismissal(path);
	require(dismissal.version.size() <= content.size());

	// What was read can be written and read again.
	require(save_dismissal(path, dismissal));
	const Dismissal again = load_dismissal(path);
	require(again.version == dismissal.version && again.until == dismissal.until);
}

HttpResponse answer;
std::string opened;

// Two bytes are the status; the rest is the body, of a check that runs after a good one.
void read_answer(std::string_view text)
{
	static const UpdateHooks hooks = {
		[](const std::string &) { return answer; },
		[] { return std::int64_t{1'800'000'000}; },
		[](const std::string &url) {
			opened = url;
			return true;
		},
		[](const char *) { return std::string(); },
	};
	reset_update_service(hooks);
	answer = {200, R"({"version": "1.0.13", "notes": "before"})"};
	run_update_check();
	const UpdateStatus before = update_status();

	const auto byte = [text](size_t index) {
		return index < text.size() ? static_cast<std::uint8_t>(text[index]) : std::uint8_t{0};
	};
	answer = {byte(0) + 256U * byte(1), std::string(text.substr(std::min<size_t>(text.size(), 2)))};
	run_update_check();
	const UpdateStatus after = update_status();
	require(!(after.forced && after.soft));
	require(after.forced == update_is_forced());
	if (answer.status != 200 || !parse_manifest(answer.body))
		require(after.latest == before.latest && after.notes == before.notes && !after.forced);

	opened.clear();
	open_update_download();
	require(opened.empty() || is_web_address(opened));
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
	case 'h':
		read_answer(text);
		break;
	case 'k':
		read_manifest(manifest_of(text));
		break;
	default:
		read_manifest(text);
	}
	return 0;
}
