// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "decode_control.h"
#include "image.h"
#include "read_result.h"

namespace kalvio::engine {

ReadResult decode_jpeg(const Bytes &bytes, Image &image, const DecodeControl &control);
ReadResult decode_png(const Bytes &bytes, Image &image, const DecodeControl &control);

// What the first bytes of a picture say, without a decoder: KL_ERROR_FORMAT for a size that may not be decoded and for
// a head that no picture has, else KL_OK, also where the size lies behind these bytes.
ReadResult check_jpeg_head(const Bytes &head);
ReadResult check_png_head(const Bytes &head);

inline ReadResult image_error(const char *reason)
{
	return {KL_ERROR_FORMAT, reason};
}

inline constexpr const char *too_large_picture = "the picture is too large";
inline constexpr const char *damaged_jpeg = "a damaged JPEG picture";
inline constexpr const char *damaged_png = "a damaged PNG picture";

// Whether a picture of this size may be decoded.
inline bool is_allowed_image_size(int64_t width, int64_t height)
{
	return width >= 1 && height >= 1 && width <= max_image_side && height <= max_image_side &&
	       width * height <= max_image_pixels;
}

// An unsigned number of `count` bytes.
inline uint32_t number_at(const uint8_t *bytes, int count, bool big_endian)
{
	uint32_t value = 0;
	for (int index = 0; index < count; ++index) {
		const int shift = 8 * (big_endian ? count - 1 - index : index);
		value |= static_cast<uint32_t>(bytes[index]) << shift;
	}
	return value;
}

} // namespace kalvio::engine
