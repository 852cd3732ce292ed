// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "image.h"

#include <atomic>

namespace kalvio::engine {

class Pool;

// A picture behind the matte: scaled until it covers the frame, cropped to its center. Kept no larger than a frame of
// 3840 x 2160 needs. One thread at a time.
class BackgroundPicture {
public:
	static constexpr int largest_width = 3840;
	static constexpr int largest_height = 2160;

	// Takes the image over. Once `cancelled` is set (null: it never is), the picture is not made to its end and
	// must not be used.
	explicit BackgroundPicture(Image image, const std::atomic<bool> *cancelled = nullptr);

	// Scales for a frame of this size unless that is done: on the threads of the pool, or without one on this
	// thread.
	void fit(int width, int height, Pool *pool, const std::atomic<bool> *cancelled = nullptr);

	// A row of the frame that `fit` was last called for, to be read kernels::row_padding_bytes beyond its end.
	const uint8_t *row(int y) const { return is_used_as_it_is_ ? picture_.pixel(0, y) : fitted_.pixel(0, y); }

	int width() const { return picture_.width; }
	int height() const { return picture_.height; }

private:
	Image picture_; // opaque; its rows can be read beyond their end, as those of fitted_
	Image fitted_;
	bool is_used_as_it_is_ = false; // the picture has the frame's size
};

// `width` x `height` pixels out of the middle of an opaque `image`, scaled to cover, into `result`. Every pixel is the
// mean of the area that it covers, or interpolated where it covers less than a pixel. The same bytes with any pool.
void scale_to_cover(const Image &image, int width, int height, Pool *pool, const std::atomic<bool> *cancelled,
		    Image &result);

} // namespace kalvio::engine
