// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "image.h"

namespace kalvio::engine {

// A picture behind the matte: scaled until it covers the frame, cropped to its centre. Kept no larger than a frame of
// 3840 x 2160 needs.
class BackgroundPicture {
public:
	explicit BackgroundPicture(const Image &image);

	// Scales for a frame of this size unless that is done.
	void fit(int width, int height);
	const uint8_t *row(int y) const { return fitted_.pixel(0, y); }

	size_t bytes() const { return picture_.pixels.capacity() + fitted_.pixels.capacity(); }

private:
	Image picture_;
	Image fitted_; // its rows can be read beyond their end
};

// `width` x `height` pixels out of the middle of `image`, scaled to cover. Every pixel is the mean of the area that it
// covers, or interpolated where it covers less than a pixel. Alpha is laid over black.
Image scaled_to_cover(const Image &image, int width, int height);

} // namespace kalvio::engine
