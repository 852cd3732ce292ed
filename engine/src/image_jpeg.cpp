// SPDX-License-Identifier: GPL-2.0-or-later
#include "image_formats.h"

#include <cstdio>

#include <jpeglib.h>

#include <algorithm>
#include <csetjmp>
#include <utility>

namespace kalvio::engine {

namespace {

struct ErrorManager {
	jpeg_error_mgr base;
	std::jmp_buf jump;
};

[[noreturn]] void fail(j_common_ptr decoder)
{
	std::longjmp(reinterpret_cast<ErrorManager *>(decoder->err)->jump, 1);
}

// A truncated picture is reported as a warning and filled with grey: for a background that is damage enough.
void treat_warning_as_error(j_common_ptr decoder, int level)
{
	if (level < 0)
		fail(decoder);
}

void say_nothing(j_common_ptr) {}

uint32_t number_at(const uint8_t *bytes, int count, bool big_endian)
{
	uint32_t value = 0;
	for (int index = 0; index < count; ++index) {
		const int shift = 8 * (big_endian ? count - 1 - index : index);
		value |= static_cast<uint32_t>(bytes[index]) << shift;
	}
	return value;
}

// The orientation 1..8 out of an Exif segment, 1 when it says none.
int orientation_of(const uint8_t *bytes, size_t size)
{
	constexpr size_t header = 6; // "Exif", 0, 0
	constexpr uint32_t orientation_tag = 0x0112;
	if (size < header + 8 || std::char_traits<char>::compare(reinterpret_cast<const char *>(bytes), "Exif", 4) != 0)
		return 1;
	const uint8_t *tiff = bytes + header;
	const size_t length = size - header;
	const bool big_endian = tiff[0] == 'M';
	const size_t directory = number_at(tiff + 4, 4, big_endian);
	if (directory > length - 2)
		return 1;
	const uint32_t count = number_at(tiff + directory, 2, big_endian);
	for (uint32_t index = 0; index < count; ++index) {
		const size_t entry = directory + 2 + size_t(index) * 12;
		if (entry + 12 > length)
			return 1;
		if (number_at(tiff + entry, 2, big_endian) == orientation_tag) {
			const uint32_t value = number_at(tiff + entry + 8, 2, big_endian);
			return value >= 1 && value <= 8 ? static_cast<int>(value) : 1;
		}
	}
	return 1;
}

void orient(Image &image, int orientation)
{
	if (orientation == 1)
		return;
	const bool turned = orientation >= 5;
	Image result;
	result.width = turned ? image.height : image.width;
	result.height = turned ? image.width : image.height;
	result.pixels.resize(image.pixels.size());
	// In the order of the orientation numbers: whether the source's x and y run backwards.
	constexpr bool flip_x[] = {false, true, true, false, false, false, true, true};
	constexpr bool flip_y[] = {false, false, true, true, false, true, true, false};
	for (int y = 0; y < result.height; ++y) {
		for (int x = 0; x < result.width; ++x) {
			int from_x = turned ? y : x;
			int from_y = turned ? x : y;
			if (flip_x[orientation - 1])
				from_x = image.width - 1 - from_x;
			if (flip_y[orientation - 1])
				from_y = image.height - 1 - from_y;
			std::copy_n(image.pixel(from_x, from_y), 4, result.pixel(x, y));
		}
	}
	image = std::move(result);
}

// CMYK as programs write it into JPEG files: inverted, black multiplies.
void cmyk_to_rgba(uint8_t *pixels, int count)
{
	for (int pixel = 0; pixel < count; ++pixel, pixels += 4) {
		const int black = pixels[3];
		for (int channel = 0; channel < 3; ++channel)
			pixels[channel] = static_cast<uint8_t>(pixels[channel] * black / 255);
		pixels[3] = 255;
	}
}

// setjmp lives here, among plain values only: what has a destructor belongs to the caller.
const char *decode(jpeg_decompress_struct &decoder, ErrorManager &errors, const Bytes &bytes, Image &image,
		   int &orientation)
{
	constexpr int exif_marker = JPEG_APP0 + 1;
	if (setjmp(errors.jump))
		return "a damaged JPEG picture";
	jpeg_create_decompress(&decoder);
	jpeg_mem_src(&decoder, bytes.data(), static_cast<unsigned long>(bytes.size()));
	jpeg_save_markers(&decoder, exif_marker, 0xFFFF);
	jpeg_read_header(&decoder, TRUE);
	if (!is_allowed_image_size(decoder.image_width, decoder.image_height))
		return "the picture is too large";
	const bool cmyk = decoder.num_components == 4;
	decoder.out_color_space = cmyk ? JCS_CMYK : JCS_EXT_RGBA;
	jpeg_start_decompress(&decoder);
	image.width = static_cast<int>(decoder.output_width);
	image.height = static_cast<int>(decoder.output_height);
	image.pixels.resize(size_t(decoder.output_width) * decoder.output_height * 4);
	while (decoder.output_scanline < decoder.output_height) {
		uint8_t *row = image.pixel(0, static_cast<int>(decoder.output_scanline));
		jpeg_read_scanlines(&decoder, &row, 1);
		if (cmyk)
			cmyk_to_rgba(row, image.width);
	}
	if (decoder.marker_list != nullptr)
		orientation = orientation_of(decoder.marker_list->data, decoder.marker_list->data_length);
	jpeg_finish_decompress(&decoder);
	return nullptr;
}

} // namespace

ReadResult decode_jpeg(const Bytes &bytes, Image &image)
{
	jpeg_decompress_struct decoder = {};
	ErrorManager errors = {};
	decoder.err = jpeg_std_error(&errors.base);
	errors.base.error_exit = fail;
	errors.base.emit_message = treat_warning_as_error;
	errors.base.output_message = say_nothing;
	int orientation = 1;
	const char *error = decode(decoder, errors, bytes, image, orientation);
	jpeg_destroy_decompress(&decoder);
	if (error != nullptr)
		return image_error(error);
	orient(image, orientation);
	return {};
}

} // namespace kalvio::engine
