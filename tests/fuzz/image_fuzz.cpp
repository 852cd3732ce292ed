// SPDX-License-Identifier: GPL-2.0-or-later

// Any bytes as a picture: JPEG with its Exif data, PNG, and what is neither.
#include "fuzz_input.h"
#include "image_formats.h"
#include "image_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	using namespace kalvio::engine;
	using kalvio::test::require;
	// A picture of many pixels needs few bytes, and decoding it tells nothing more.
	constexpr uint64_t most_pixels = uint64_t{1} << 20;
	if (size >= 24 && data[0] == 0x89 &&
	    uint64_t{number_at(data + 16, 4, true)} * number_at(data + 20, 4, true) > most_pixels)
		return 0;
	Image image;
	const ReadResult result = decode_image(Bytes(data, data + size), image);
	if (result) {
		require(is_allowed_image_size(image.width, image.height));
		require(image.pixels.size() == image.pixel_bytes());
	} else {
		require(!result.reason.empty());
	}
	return 0;
}
