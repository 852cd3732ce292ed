// SPDX-License-Identifier: GPL-2.0-or-later
#include "image_writer.h"

#include <cstdio>

#include <jpeglib.h>
#include <png.h>

#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace kalvio::engine {

namespace {

Bytes encode_jpeg(const Image &image, int quality)
{
	jpeg_error_mgr errors;
	jpeg_compress_struct encoder;
	encoder.err = jpeg_std_error(&errors); // a defect here ends the tool, as it should
	jpeg_create_compress(&encoder);
	unsigned char *memory = nullptr;
	unsigned long size = 0;
	jpeg_mem_dest(&encoder, &memory, &size);
	encoder.image_width = static_cast<JDIMENSION>(image.width);
	encoder.image_height = static_cast<JDIMENSION>(image.height);
	encoder.input_components = 4;
	encoder.in_color_space = JCS_EXT_RGBA;
	jpeg_set_defaults(&encoder);
	jpeg_set_quality(&encoder, quality, TRUE);
	encoder.optimize_coding = TRUE;
	jpeg_start_compress(&encoder, TRUE);
	while (encoder.next_scanline < encoder.image_height) {
		auto *row = const_cast<uint8_t *>(image.pixel(0, static_cast<int>(encoder.next_scanline)));
		jpeg_write_scanlines(&encoder, &row, 1);
	}
	jpeg_finish_compress(&encoder);
	jpeg_destroy_compress(&encoder);
	Bytes bytes(memory, memory + size);
	std::free(memory);
	return bytes;
}

} // namespace

Bytes encode_png(const Image &image)
{
	png_image description = {};
	description.version = PNG_IMAGE_VERSION;
	description.width = static_cast<png_uint_32>(image.width);
	description.height = static_cast<png_uint_32>(image.height);
	description.format = PNG_FORMAT_RGBA;
	png_alloc_size_t size = 0;
	if (!png_image_write_to_memory(&description, nullptr, &size, 0, image.pixels.data(), 0, nullptr))
		throw std::runtime_error(description.message);
	Bytes bytes(size);
	if (!png_image_write_to_memory(&description, bytes.data(), &size, 0, image.pixels.data(), 0, nullptr))
		throw std::runtime_error(description.message);
	bytes.resize(size);
	return bytes;
}

void write_image(const std::filesystem::path &path, const Image &image, int jpeg_quality)
{
	const Bytes bytes = path.extension() == ".jpg" ? encode_jpeg(image, jpeg_quality) : encode_png(image);
	std::ofstream stream(path, std::ios::binary);
	stream.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
	if (!stream)
		throw std::runtime_error("cannot be written");
}

} // namespace kalvio::engine
