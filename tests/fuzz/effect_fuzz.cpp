// SPDX-License-Identifier: GPL-2.0-or-later

// What the manifests of color filters and stickers may say, beyond being a bundle. The first byte picks the kind, the
// rest are the manifest's members. What is not refused is drawn.
#include "fuzz_engine.h"
#include "fuzz_input.h"
#include "image_writer.h"

namespace {

using namespace kalvio;
using test::require;

constexpr int width = 48;
constexpr int height = 32;

std::string manifest(const char *kind, const std::string &members)
{
	return std::string("{\"kind\": \"") + kind + R"(", "format_version": 1, "name": "fuzz")" +
	       (members.empty() ? "" : ", ") + members + "}";
}

void draw(kl_engine *engine)
{
	static const std::vector<uint8_t> input(size_t{width} * height * 4, 128);
	std::vector<uint8_t> output(input.size());
	require(kl_process_rgba(engine, input.data(), width, height, width * 4, output.data(), KL_PIXEL_FORMAT_RGBA,
				0) == KL_OK);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	static const test::EngineFiles files;
	static const test::EnginePointer engine = files.create_engine();
	static const engine::Bytes sprite = engine::encode_png(test::small_image(8, 6));
	static const engine::Bytes table(size_t{33} * 33 * 33 * 3 * 2, 0x5A);

	test::FuzzInput input(data, size);
	const int kind = input.below(4);
	const std::string rest = input.rest();
	int32_t status = KL_OK;
	if (kind == 0)
		status = kl_set_sticker(engine.get(), files.write_bundle("sticker", manifest("sticker", rest),
									 {{"a.png", sprite}, {"b.png", sprite}})
							      .c_str());
	else if (kind == 1)
		status = kl_set_3d_sticker(
			engine.get(),
			files.write_bundle("sticker3d", manifest("sticker3d", rest), {{"a.png", sprite}}).c_str());
	else if (kind == 2)
		status = kl_set_filter(
			engine.get(),
			files.write_bundle("filter", manifest("filter", rest), {{"table.rgb16", table}}).c_str());
	else // the table itself is what varies
		status = kl_set_filter(engine.get(), files.write_bundle("table", manifest("filter", "\"size\": 33"),
									{{"table.rgb16", {rest.begin(), rest.end()}}})
							     .c_str());
	require(status == KL_OK || status == KL_ERROR_FORMAT);
	if (status == KL_OK)
		draw(engine.get());
	return 0;
}
