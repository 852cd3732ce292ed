// SPDX-License-Identifier: GPL-2.0-or-later
#include "image_formats.h"

#include <cstdio>

#include <jpeglib.h>

#include <jerror.h>

#include <algorithm>
#include <csetjmp>
#include <utility>

namespace kalvio::engine {

namespace {

// What the library hands back to the functions that it calls.
struct ErrorManager {
	jpeg_error_mgr base;
	std::jmp_buf jump;
	const char *reason; // why the decoding ended early, in words
};

struct Progress {
	jpeg_progress_mgr base;
	const DecodeControl *control;
};

ErrorManager &errors_of(j_common_ptr decoder)
{
	return *reinterpret_cast<ErrorManager *>(decoder->err);
}

[[noreturn]] void fail(j_common_ptr decoder)
{
	std::longjmp(errors_of(decoder).jump, 1);
}

// A truncated picture is reported as a warning and filled with gray: for a background that is damage enough.
void treat_warning_as_error(j_common_ptr decoder, int level)
{
	if (level < 0)
		fail(decoder);
}

void say_nothing(j_common_ptr) {}

// Called for every row of blocks that is read and every row of pixels that is written.
void watch(j_common_ptr decoder)
{
	const DecodeControl &control = *reinterpret_cast<Progress *>(decoder->progress)->control;
	const char *reason = control.reason_to_stop();
	if (reinterpret_cast<j_decompress_ptr>(decoder)->input_scan_number > max_jpeg_scans)
		reason = "a JPEG picture with more than 100 scans";
	if (reason == nullptr)
		return;
	errors_of(decoder).reason = reason;
	fail(decoder);
}

// A decompressor of the library, freed however the decoding ends.
struct JpegDecoder {
	jpeg_decompress_struct handle = {};
	ErrorManager errors = {};
	Progress progress = {};
	int orientation = 1; // 1..8, as Exif counts them

	explicit JpegDecoder(const DecodeControl &control)
	{
		handle.err = jpeg_std_error(&errors.base);
		errors.base.error_exit = fail;
		errors.base.emit_message = treat_warning_as_error;
		errors.base.output_message = say_nothing;
		errors.reason = damaged_jpeg;
		progress.base.progress_monitor = watch;
		progress.control = &control;
	}
	~JpegDecoder() { jpeg_destroy_decompress(&handle); } // also of one that was never made: then it does nothing
	JpegDecoder(const JpegDecoder &) = delete;
	JpegDecoder &operator=(const JpegDecoder &) = delete;
};

constexpr size_t exif_header = 6; // "Exif", 0, 0

// Other data, XMP for one, comes in segments of the same marker.
bool is_exif(const uint8_t *bytes, size_t size)
{
	return size >= exif_header + 8 &&
	       std::char_traits<char>::compare(reinterpret_cast<const char *>(bytes), "Exif", 4) == 0;
}

// The orientation 1..8 out of an Exif segment, 1 when it says none.
int orientation_of(const uint8_t *bytes, size_t size)
{
	constexpr uint32_t orientation_tag = 0x0112;
	const uint8_t *tiff = bytes + exif_header;
	const size_t length = size - exif_header;
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
	result.resize(turned ? image.height : image.width, turned ? image.width : image.height);
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

int orientation_of(const jpeg_decompress_struct &decoder)
{
	for (const jpeg_marker_struct *segment = decoder.marker_list; segment != nullptr; segment = segment->next) {
		if (is_exif(segment->data, segment->data_length))
			return orientation_of(segment->data, segment->data_length);
	}
	return 1;
}

// The eighths of its size at which a picture still covers as many pixels as asked for. All eight give the same bytes as
// a decoder that knows no scaling.
unsigned eighths_needed(const JpegDecoder &decoder, const DecodeControl &control)
{
	const bool turned = decoder.orientation >= 5;
	const int64_t width = turned ? decoder.handle.image_height : decoder.handle.image_width;
	const int64_t height = turned ? decoder.handle.image_width : decoder.handle.image_height;
	unsigned eighths = 8;
	if (control.cover_width > 0 && control.cover_height > 0) {
		while (eighths > 1 && width * (eighths - 1) >= int64_t{control.cover_width} * 8 &&
		       height * (eighths - 1) >= int64_t{control.cover_height} * 8)
			--eighths;
	}
	return eighths;
}

// No objects with destructors in this frame: longjmp skips them. False: errors.reason says
// why.
bool decode(JpegDecoder &owner, const Bytes &bytes, Image &image, const DecodeControl &control)
{
	constexpr int exif_marker = JPEG_APP0 + 1;
	jpeg_decompress_struct &decoder = owner.handle;
	if (setjmp(owner.errors.jump))
		return false;
	jpeg_create_decompress(&decoder);
	decoder.progress = &owner.progress.base;
	jpeg_mem_src(&decoder, bytes.data(), static_cast<unsigned long>(bytes.size()));
	jpeg_save_markers(&decoder, exif_marker, 0xFFFF);
	jpeg_read_header(&decoder, TRUE);
	if (!is_allowed_image_size(decoder.image_width, decoder.image_height)) {
		owner.errors.reason = too_large_picture;
		return false;
	}
	owner.orientation = orientation_of(decoder); // the end of decoding takes the segment away
	const bool cmyk = decoder.num_components == 4;
	decoder.out_color_space = cmyk ? JCS_CMYK : JCS_EXT_RGBA;
	decoder.scale_num = eighths_needed(owner, control);
	decoder.scale_denom = 8;
	jpeg_start_decompress(&decoder);
	image.resize(static_cast<int>(decoder.output_width), static_cast<int>(decoder.output_height));
	while (decoder.output_scanline < decoder.output_height) {
		uint8_t *row = image.pixel(0, static_cast<int>(decoder.output_scanline));
		jpeg_read_scanlines(&decoder, &row, 1);
		if (cmyk)
			cmyk_to_rgba(row, image.width);
	}
	jpeg_finish_decompress(&decoder);
	return true;
}

} // namespace

ReadResult decode_jpeg(const Bytes &bytes, Image &image, const DecodeControl &control)
{
	JpegDecoder decoder(control);
	if (!decode(decoder, bytes, image, control)) {
		if (decoder.errors.base.msg_code == JERR_OUT_OF_MEMORY)
			return {KL_ERROR_OUT_OF_MEMORY, "out of memory"};
		return image_error(decoder.errors.reason);
	}
	orient(image, decoder.orientation);
	return {};
}

ReadResult check_jpeg_head(const Bytes &head)
{
	// From segment to segment, each a marker and its length, until one describes the frame.
	size_t place = 2;
	while (place + 4 <= head.size() && head[place] == 0xFF) {
		const uint8_t marker = head[place + 1];
		const bool is_fill_byte = marker == 0xFF;
		const bool stands_alone = marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7);
		const bool starts_scan_or_ends = marker == 0xDA || marker == 0xD9;
		const bool describes_frame =
			marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
		const uint32_t length = number_at(&head[place + 2], 2, true);
		if (starts_scan_or_ends)
			break;
		if (describes_frame && place + 9 <= head.size()) {
			const uint32_t height = number_at(&head[place + 5], 2, true);
			const uint32_t width = number_at(&head[place + 7], 2, true);
			if (width == 0 || height == 0)
				return image_error(damaged_jpeg);
			return is_allowed_image_size(width, height) ? ReadResult{} : image_error(too_large_picture);
		}
		if (is_fill_byte)
			place += 1;
		else
			place += stands_alone ? 2 : 2 + length;
	}
	return {}; // the decoder will find out
}

} // namespace kalvio::engine
