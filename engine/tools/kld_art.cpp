// SPDX-License-Identifier: GPL-2.0-or-later

// kld-art OUTPUT DEFINITION: draws a picture (".jpg", ".png") or, for an OUTPUT ".kld", the sprites of a sticker, and
// packs these with the definition's manifest.
#include "arguments.h"
#include "art.h"
#include "bundle_writer.h"
#include "image_writer.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace {

using namespace kalvio::engine;

void make_sticker(const std::filesystem::path &output, const nlohmann::json &definition)
{
	const std::string text = definition.at("manifest").dump(2) + "\n";
	std::vector<BundleFile> files = {{"manifest.json", Bytes(text.begin(), text.end())}};
	for (const auto &[name, drawing] : definition.at("sprites").items())
		files.push_back({name, encode_png(draw_art(drawing))});
	write_bundle(output, std::move(files));
}

void make(const std::filesystem::path &output, const std::filesystem::path &definition_path)
{
	std::ifstream stream(definition_path);
	const nlohmann::json definition = nlohmann::json::parse(stream);
	if (output.extension() == ".kld")
		make_sticker(output, definition);
	else
		write_image(output, draw_art(definition), 86);
}

} // namespace

int main(int argc, char **argv)
{
	if (argc != 3) {
		std::fprintf(stderr, "usage: kld-art OUTPUT DEFINITION\n");
		return 2;
	}
	try {
		const std::vector<std::string> arguments = utf8_arguments(argc, argv);
		make(path_from_utf8(arguments.at(1)), path_from_utf8(arguments.at(2)));
		return 0;
	} catch (const std::exception &error) {
		std::fprintf(stderr, "kld-art: %s: %s\n", argv[2], error.what());
		return 1;
	}
}
