// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "image.h"

namespace kalvio::engine {

ReadResult decode_jpeg(const Bytes &bytes, Image &image);
ReadResult decode_png(const Bytes &bytes, Image &image);

inline ReadResult image_error(const char *reason)
{
	return {KL_ERROR_FORMAT, reason};
}

// Whether a picture of this size may be decoded.
inline bool is_allowed_image_size(int64_t width, int64_t height)
{
	return width >= 1 && height >= 1 && width <= max_image_side && height <= max_image_side &&
	       width * height <= max_image_pixels;
}

} // namespace kalvio::engine
