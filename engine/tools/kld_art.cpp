// SPDX-License-Identifier: GPL-2.0-or-later

// kld-art OUTPUT DEFINITION: draws a picture (".jpg", ".png") or, for an OUTPUT ".kld", the sprites of a sticker, and
// packs these with the definition's manifest.
#include "art.h"
#include "bundle_writer.h"
#include "convert_definition.h"
#include "image_writer.h"

#include <nlohmann/json.hpp>

#include <filesystem>

namespace {

using namespace kalvio::engine;

void make_sticker(const std::filesystem::path &output, const nlohmann::json &definition)
{
	const std::string text = definition.at("manifest").dump(2) + "\n";
	std::vector<BundleFile> files = {{"manifest.json", Bytes(text.begin(), text.end())}};
	const nlohmann::json &sprites = definition.at("sprites");
	for (const auto &sprite : sprites.items())
		files.push_back({sprite.key(), encode_png(draw_art(art_of(sprites, sprite.key())))});
	write_bundle(output, std::move(files));
}

void make(const std::filesystem::path &output, const nlohmann::json &definition)
{
	if (output.extension() == ".kld")
		make_sticker(output, definition);
	else
		write_image(output, draw_art(definition), 86);
}

} // namespace

int main(int argc, char **argv)
{
	return convert_definition("kld-art", argc, argv, make);
}
