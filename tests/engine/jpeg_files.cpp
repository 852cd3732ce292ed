// SPDX-License-Identifier: GPL-2.0-or-later
#include "jpeg_files.h"

#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace kalvio::engine::testing {

namespace {

// The means of all three channels, then the details: of the first channel one frequency a scan, of the second as many
// scans as are left, of the third all at once.
std::vector<jpeg_scan_info> script_of(int scans)
{
	constexpr int last = 63;
	std::vector<jpeg_scan_info> script = {{3, {0, 1, 2}, 0, 0, 0, 0}};
	for (int frequency = 1; frequency <= last; ++frequency)
		script.push_back({1, {0}, frequency, frequency, 0, 0});
	const int left = scans - static_cast<int>(script.size()) - 1;
	for (int scan = 1; scan < left; ++scan)
		script.push_back({1, {1}, scan, scan, 0, 0});
	script.push_back({1, {1}, left, last, 0, 0});
	script.push_back({1, {2}, 1, last, 0, 0});
	return script;
}

Bytes encode(const Image &image, const std::vector<jpeg_scan_info> &script)
{
	jpeg_error_mgr errors;
	jpeg_compress_struct encoder;
	encoder.err = jpeg_std_error(&errors);
	jpeg_create_compress(&encoder);
	unsigned char *memory = nullptr;
	unsigned long size = 0;
	jpeg_mem_dest(&encoder, &memory, &size);
	encoder.image_width = static_cast<JDIMENSION>(image.width);
	encoder.image_height = static_cast<JDIMENSION>(image.height);
	encoder.input_components = 4;
	encoder.in_color_space = JCS_EXT_RGBX;
	jpeg_set_defaults(&encoder);
	jpeg_set_quality(&encoder, 100, TRUE);
	if (!script.empty()) {
		encoder.scan_info = script.data();
		encoder.num_scans = static_cast<int>(script.size());
	}
	jpeg_start_compress(&encoder, TRUE);
	for (int y = 0; y < image.height; ++y) {
		auto *row = const_cast<uint8_t *>(image.pixel(0, y));
		jpeg_write_scanlines(&encoder, &row, 1);
	}
	jpeg_finish_compress(&encoder);
	jpeg_destroy_compress(&encoder);
	Bytes bytes(memory, memory + size);
	std::free(memory);
	return bytes;
}

} // namespace

Bytes jpeg_of(const Image &image)
{
	return encode(image, {});
}

Bytes jpeg_of_scans(const Image &image, int scans)
{
	return encode(image, script_of(scans));
}

Bytes with_jpeg_size(Bytes jpeg, int width, int height)
{
	for (size_t index = 0; index + 9 < jpeg.size(); ++index) {
		if (jpeg[index] != 0xFF || jpeg[index + 1] != 0xC0)
			continue;
		jpeg[index + 5] = static_cast<uint8_t>(height >> 8);
		jpeg[index + 6] = static_cast<uint8_t>(height);
		jpeg[index + 7] = static_cast<uint8_t>(width >> 8);
		jpeg[index + 8] = static_cast<uint8_t>(width);
		break;
	}
	return jpeg;
}

} // namespace kalvio::engine::testing
