// SPDX-License-Identifier: GPL-2.0-or-later
#include "image_formats.h"

#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <cstring>

namespace kalvio::engine {

namespace {

struct PngReader {
	const Bytes *bytes;
	size_t position;
	const DecodeControl *control;
	const char *reason; // why the decoding ended early, in words
};

// The library's handles, freed however the decoding ends.
struct PngDecoder {
	png_structp png = nullptr;
	png_infop information = nullptr;

	PngDecoder() = default;
	~PngDecoder() { png_destroy_read_struct(&png, &information, nullptr); }
	PngDecoder(const PngDecoder &) = delete;
	PngDecoder &operator=(const PngDecoder &) = delete;
};

void stop_if_asked(png_structp png)
{
	auto *reader = static_cast<PngReader *>(png_get_io_ptr(png));
	if (const char *reason = reader->control->reason_to_stop(); reason != nullptr) {
		reader->reason = reason;
		png_longjmp(png, 1);
	}
}

void read_bytes(png_structp png, png_bytep out, size_t count)
{
	stop_if_asked(png);
	auto *reader = static_cast<PngReader *>(png_get_io_ptr(png));
	if (count > reader->bytes->size() - reader->position)
		png_error(png, "truncated");
	std::memcpy(out, reader->bytes->data() + reader->position, count);
	reader->position += count;
}

[[noreturn]] void fail(png_structp png, png_const_charp)
{
	png_longjmp(png, 1);
}

void ignore_warning(png_structp, png_const_charp) {}

// Everything becomes 8-bit RGBA. The number of passes over the picture is returned.
int request_rgba(png_structp png, png_infop information)
{
	const int color = png_get_color_type(png, information);
	png_set_expand(png);
	png_set_scale_16(png);
	if (color == PNG_COLOR_TYPE_GRAY || color == PNG_COLOR_TYPE_GRAY_ALPHA)
		png_set_gray_to_rgb(png);
	png_set_add_alpha(png, 0xFF, PNG_FILLER_AFTER);
	const int passes = png_set_interlace_handling(png);
	png_read_update_info(png, information);
	return passes;
}

// No objects with destructors in this frame: longjmp skips them. False: reader.reason says
// why.
bool decode(const PngDecoder &decoder, PngReader &reader, Image &image)
{
	png_structp png = decoder.png;
	if (setjmp(png_jmpbuf(png)))
		return false;
	png_read_info(png, decoder.information);
	const png_uint_32 width = png_get_image_width(png, decoder.information);
	const png_uint_32 height = png_get_image_height(png, decoder.information);
	if (!is_allowed_image_size(width, height)) {
		reader.reason = too_large_picture;
		return false;
	}
	const int passes = request_rgba(png, decoder.information);
	if (png_get_rowbytes(png, decoder.information) != size_t(width) * 4) {
		reader.reason = "an unknown kind of PNG picture";
		return false;
	}
	image.resize(static_cast<int>(width), static_cast<int>(height));
	for (int pass = 0; pass < passes; ++pass) {
		for (int y = 0; y < image.height; ++y) {
			stop_if_asked(png);
			png_read_row(png, image.pixel(0, y), nullptr);
		}
	}
	return true;
}

} // namespace

ReadResult decode_png(const Bytes &bytes, Image &image, const DecodeControl &control)
{
	PngReader reader = {&bytes, 0, &control, damaged_png};
	PngDecoder decoder;
	decoder.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, ignore_warning);
	if (decoder.png != nullptr)
		decoder.information = png_create_info_struct(decoder.png);
	if (decoder.information == nullptr)
		return {KL_ERROR_OUT_OF_MEMORY, "no memory for a PNG picture"};
	png_set_read_fn(decoder.png, &reader, read_bytes);
	png_set_user_limits(decoder.png, max_image_side, max_image_side);
	// Text and color-profile chunks are not used and may unpack to anything.
	png_set_chunk_malloc_max(decoder.png, 8 << 20);
	return decode(decoder, reader, image) ? ReadResult{} : image_error(reader.reason);
}

ReadResult check_png_head(const Bytes &head)
{
	// The signature, then the length and name of the first chunk, which holds the size.
	constexpr size_t name = 12;
	constexpr size_t size = 16;
	if (head.size() < size + 8 || std::memcmp(&head[name], "IHDR", 4) != 0)
		return image_error(damaged_png);
	const uint32_t width = number_at(&head[size], 4, true);
	const uint32_t height = number_at(&head[size + 4], 4, true);
	if (width == 0 || height == 0)
		return image_error(damaged_png);
	return is_allowed_image_size(width, height) ? ReadResult{} : image_error(too_large_picture);
}

} // namespace kalvio::engine
