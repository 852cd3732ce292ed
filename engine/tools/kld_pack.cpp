// SPDX-License-Identifier: GPL-2.0-or-later

// kld-pack OUTPUT FOLDER...: packs every file of the folders, sub-folders included, into the bundle OUTPUT. One of them
// must hold a "manifest.json". The same files always give the same bytes: names are sorted, times are fixed.
#include "arguments.h"
#include "bundle_writer.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace {

kalvio::engine::Bytes read_all(const std::filesystem::path &path)
{
	std::ifstream stream(path, std::ios::binary);
	return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void collect(const std::filesystem::path &folder, std::vector<kalvio::engine::BundleFile> &files)
{
	for (const auto &entry : std::filesystem::recursive_directory_iterator(folder)) {
		if (!entry.is_regular_file())
			continue;
		const std::u8string name = entry.path().lexically_relative(folder).generic_u8string();
		files.push_back({std::string(name.begin(), name.end()), read_all(entry.path())});
	}
}

} // namespace

int main(int argc, char **argv)
{
	if (argc < 3) {
		std::fprintf(stderr, "usage: kld-pack OUTPUT FOLDER...\n");
		return 2;
	}
	try {
		const std::vector<std::string> arguments = kalvio::engine::utf8_arguments(argc, argv);
		std::vector<kalvio::engine::BundleFile> files;
		for (size_t folder = 2; folder < arguments.size(); ++folder)
			collect(kalvio::engine::path_from_utf8(arguments[folder]), files);
		kalvio::engine::write_bundle(kalvio::engine::path_from_utf8(arguments.at(1)), std::move(files));
		return 0;
	} catch (const std::exception &error) {
		std::fprintf(stderr, "kld-pack: %s: %s\n", argv[1], error.what());
		return 1;
	}
}
