// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "bundle.h"

#include <atomic>
#include <cstdint>
#include <vector>

namespace kalvio::engine {

// A decoded picture: RGBA, 8 bits a channel, straight alpha, no padding, as a person would see it (its orientation is
// applied).
struct Image {
	int width = 0;
	int height = 0;
	std::vector<uint8_t> pixels;

	const uint8_t *pixel(int x, int y) const { return pixels.data() + (size_t(y) * size_t(width) + size_t(x)) * 4; }
	uint8_t *pixel(int x, int y) { return pixels.data() + (size_t(y) * size_t(width) + size_t(x)) * 4; }
	size_t pixel_bytes() const { return size_t(width) * size_t(height) * 4; }

	// Takes the size and memory for it, and as much more as a reader of whole vectors needs behind the last row:
	// `pixels` can later grow by `spare_bytes` without being copied.
	static constexpr size_t spare_bytes = 128;
	void resize(int new_width, int new_height)
	{
		const size_t bytes = size_t(new_width) * size_t(new_height) * 4;
		pixels.reserve(bytes + spare_bytes);
		pixels.resize(bytes);
		width = new_width;
		height = new_height;
	}
};

// Checked before a picture's memory is taken: 16384 on a side and 64 million pixels in all.
inline constexpr int max_image_side = 16384;
inline constexpr int64_t max_image_pixels = int64_t{64} << 20;
inline constexpr int64_t max_image_file_bytes = int64_t{128} << 20;
// A progressive JPEG of ordinary programs has about ten scans. Each one goes over the whole picture again, and a small
// file can hold thousands.
inline constexpr int max_jpeg_scans = 100;
inline constexpr int64_t max_decoding_us = 2'000'000;
// How much of a file tells what it is. Exif data with a preview picture can put the size of a JPEG behind that.
inline constexpr size_t image_head_bytes = size_t{64} << 10;

// What bounds a decoding and can end it early. The initial values ask for the whole picture, however long it takes.
struct DecodeControl {
	// A JPEG is decoded at the smallest eighth of its size that still covers these pixels; 0: at its full size.
	int cover_width = 0;
	int cover_height = 0;
	// A steady clock; null: the time is not limited. Decoding fails when it shows more than `deadline_us`.
	int64_t (*clock_us)() = nullptr;
	int64_t deadline_us = 0;
	// Another thread sets it to end the decoding; null: nobody does.
	const std::atomic<bool> *cancelled = nullptr;

	bool is_cancelled() const { return cancelled != nullptr && cancelled->load(std::memory_order_relaxed); }
	// Why the decoder is to give up; null: it goes on. Cheap: asked for every row.
	const char *reason_to_stop() const;
};

// Decodes JPEG (grey, colour, CMYK) or PNG (any depth, palette, alpha; of an animated one the still picture). The
// content decides, not the file's name. KL_ERROR_FORMAT for anything else and for what takes too long,
// KL_ERROR_OUT_OF_MEMORY where a library gets no memory; throws std::bad_alloc where the picture gets none.
ReadResult decode_image(const Bytes &bytes, Image &image, const DecodeControl &control = {});
ReadResult load_image(const char *path, Image &image);

// A picture's file, opened, of which no more than the head was read.
struct ImageFile {
	platform::File file;
	int64_t size = 0; // bytes
	Bytes head;       // the first bytes, at most image_head_bytes
};

// Opens a picture and tells from its head what can be told: KL_ERROR_FILE for what cannot be read, KL_ERROR_FORMAT for
// an empty or too large file, for what is no picture, and for a size that may not be decoded if the head shows it.
ReadResult open_image(const char *path, ImageFile &opened);

// The rest of the file: `bytes` receives the whole content. KL_ERROR_FILE where it cannot be read, or is cancelled.
ReadResult read_image(ImageFile &opened, Bytes &bytes, const DecodeControl &control);

} // namespace kalvio::engine
