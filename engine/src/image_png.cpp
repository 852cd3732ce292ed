// SPDX-License-Identifier: GPL-2.0-or-later
#include "image_formats.h"

#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <cstring>

namespace kalvio::engine {

namespace {

struct Reader {
	const Bytes *bytes;
	size_t position;
};

void read_bytes(png_structp png, png_bytep out, size_t count)
{
	auto *reader = static_cast<Reader *>(png_get_io_ptr(png));
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

// Everything becomes 8-bit RGBA.
void request_rgba(png_structp png, png_infop information)
{
	const int colour = png_get_color_type(png, information);
	png_set_expand(png);
	png_set_scale_16(png);
	if (colour == PNG_COLOR_TYPE_GRAY || colour == PNG_COLOR_TYPE_GRAY_ALPHA)
		png_set_gray_to_rgb(png);
	png_set_add_alpha(png, 0xFF, PNG_FILLER_AFTER);
	png_set_interlace_handling(png);
	png_read_update_info(png, information);
}

// setjmp lives here, among plain values only: what has a destructor belongs to the caller.
const char *decode(png_structp png, png_infop information, Image &image, std::vector<png_bytep> &rows)
{
	if (setjmp(png_jmpbuf(png)))
		return "a damaged PNG picture";
	png_read_info(png, information);
	const png_uint_32 width = png_get_image_width(png, information);
	const png_uint_32 height = png_get_image_height(png, information);
	if (!is_allowed_image_size(width, height))
		return "the picture is too large";
	request_rgba(png, information);
	if (png_get_rowbytes(png, information) != size_t(width) * 4)
		return "an unknown kind of PNG picture";
	image.width = static_cast<int>(width);
	image.height = static_cast<int>(height);
	image.pixels.resize(size_t(width) * height * 4);
	rows.resize(height);
	for (size_t y = 0; y < height; ++y)
		rows[y] = image.pixels.data() + y * width * 4;
	png_read_image(png, rows.data());
	return nullptr;
}

} // namespace

ReadResult decode_png(const Bytes &bytes, Image &image)
{
	Reader reader = {&bytes, 0};
	std::vector<png_bytep> rows;
	png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, ignore_warning);
	png_infop information = png != nullptr ? png_create_info_struct(png) : nullptr;
	if (information == nullptr) {
		png_destroy_read_struct(&png, nullptr, nullptr);
		return {KL_ERROR_OUT_OF_MEMORY, "no memory for a PNG picture"};
	}
	png_set_read_fn(png, &reader, read_bytes);
	png_set_user_limits(png, max_image_side, max_image_side);
	// Text and colour-profile chunks are not used and may unpack to anything.
	png_set_chunk_malloc_max(png, 8 << 20);
	const char *error = decode(png, information, image, rows);
	png_destroy_read_struct(&png, &information, nullptr);
	return error == nullptr ? ReadResult{} : image_error(error);
}

} // namespace kalvio::engine
