// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_fixture.h"
#include "image_reader.h"
#include "image_writer.h"

#include <cstdio>

#include <jpeglib.h>
#include <png.h>

namespace kalvio::engine::testing {
namespace {

Image gradient(int width, int height)
{
	Image image;
	image.width = width;
	image.height = height;
	image.pixels.resize(size_t(width) * size_t(height) * 4);
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < width; ++x) {
			uint8_t *pixel = image.pixel(x, y);
			pixel[0] = static_cast<uint8_t>(x * 255 / width);
			pixel[1] = static_cast<uint8_t>(y * 255 / height);
			pixel[2] = 90;
			pixel[3] = 255;
		}
	}
	return image;
}

Bytes bytes_of(const std::string &path)
{
	const std::string text = read_text(path);
	return Bytes(text.begin(), text.end());
}

// A JPEG of any color space, with the contents of segments whose marker is that of Exif.
Bytes jpeg(int width, int height, int components, J_COLOR_SPACE space, const Bytes &samples,
	   const std::vector<Bytes> &segments = {})
{
	jpeg_error_mgr errors;
	jpeg_compress_struct encoder;
	encoder.err = jpeg_std_error(&errors);
	jpeg_create_compress(&encoder);
	unsigned char *memory = nullptr;
	unsigned long size = 0;
	jpeg_mem_dest(&encoder, &memory, &size);
	encoder.image_width = static_cast<JDIMENSION>(width);
	encoder.image_height = static_cast<JDIMENSION>(height);
	encoder.input_components = components;
	encoder.in_color_space = space;
	jpeg_set_defaults(&encoder);
	jpeg_set_quality(&encoder, 100, TRUE);
	jpeg_start_compress(&encoder, TRUE);
	for (const Bytes &segment : segments)
		jpeg_write_marker(&encoder, JPEG_APP0 + 1, segment.data(), static_cast<unsigned>(segment.size()));
	for (int y = 0; y < height; ++y) {
		auto *row = const_cast<uint8_t *>(samples.data() + size_t(y) * size_t(width) * size_t(components));
		jpeg_write_scanlines(&encoder, &row, 1);
	}
	jpeg_finish_compress(&encoder);
	jpeg_destroy_compress(&encoder);
	Bytes bytes(memory, memory + size);
	std::free(memory);
	return bytes;
}

Bytes exif_with_orientation(uint8_t orientation)
{
	return {'E',  'x', 'i', 'f', 0, 0, 'I', 'I', 42,          0, 8, 0, 0, 0, 1, 0,
		0x12, 1,   3,   0,   1, 0, 0,   0,   orientation, 0, 0, 0, 0, 0, 0, 0};
}

Bytes png_with_format(png_uint_32 format, int width, int height, const void *samples)
{
	png_image description = {};
	description.version = PNG_IMAGE_VERSION;
	description.width = static_cast<png_uint_32>(width);
	description.height = static_cast<png_uint_32>(height);
	description.format = format;
	png_alloc_size_t size = 0;
	png_image_write_to_memory(&description, nullptr, &size, 0, samples, 0, nullptr);
	Bytes bytes(size);
	png_image_write_to_memory(&description, bytes.data(), &size, 0, samples, 0, nullptr);
	return bytes;
}

TEST(ImageDecoding, APngComesBackAsItWasWritten)
{
	const Image original = gradient(37, 21);
	Image image;
	ASSERT_TRUE(decode_image(encode_png(original), image));
	EXPECT_EQ(image.width, 37);
	EXPECT_EQ(image.pixels, original.pixels);
}

TEST(ImageDecoding, AJpegComesBackNearly)
{
	const ScratchFolder scratch;
	const Image original = gradient(64, 48);
	write_image(scratch.place("a.jpg"), original, 95);
	Image image;
	ASSERT_TRUE(load_image(scratch.path("a.jpg").c_str(), image));
	ASSERT_EQ(image.pixels.size(), original.pixels.size());
	for (size_t index = 0; index < image.pixels.size(); ++index)
		ASSERT_NEAR(image.pixels[index], original.pixels[index], 8) << index;
}

TEST(ImageDecoding, PngAlphaIsKept)
{
	Image original = gradient(8, 8);
	original.pixel(3, 3)[3] = 77;
	Image image;
	ASSERT_TRUE(decode_image(encode_png(original), image));
	EXPECT_EQ(image.pixel(3, 3)[3], 77);
}

TEST(ImageDecoding, GrayAndSixteenBitPngsBecomeRgba)
{
	const uint8_t gray[4] = {0, 85, 170, 255};
	Image image;
	ASSERT_TRUE(decode_image(png_with_format(PNG_FORMAT_GRAY, 4, 1, gray), image));
	EXPECT_EQ(image.pixel(2, 0)[1], 170);
	EXPECT_EQ(image.pixel(2, 0)[3], 255);
	const uint16_t linear[8] = {0, 0, 0, 65535, 65535, 65535, 65535, 65535};
	ASSERT_TRUE(decode_image(png_with_format(PNG_FORMAT_LINEAR_RGB_ALPHA, 2, 1, linear), image));
	EXPECT_EQ(image.pixel(0, 0)[0], 0);
	EXPECT_EQ(image.pixel(1, 0)[0], 255);
}

TEST(ImageDecoding, AGrayJpegBecomesRgba)
{
	Image image;
	ASSERT_TRUE(decode_image(jpeg(8, 8, 1, JCS_GRAYSCALE, Bytes(64, 130)), image));
	EXPECT_NEAR(image.pixel(4, 4)[0], 130, 2);
	EXPECT_NEAR(image.pixel(4, 4)[2], 130, 2);
	EXPECT_EQ(image.pixel(4, 4)[3], 255);
}

TEST(ImageDecoding, ACmykJpegBecomesRgba)
{
	Bytes samples;
	for (int pixel = 0; pixel < 64; ++pixel)
		samples.insert(samples.end(), {255, 128, 0, 255}); // inverted: no cyan, half magenta, full yellow
	Image image;
	ASSERT_TRUE(decode_image(jpeg(8, 8, 4, JCS_CMYK, samples), image));
	EXPECT_NEAR(image.pixel(4, 4)[0], 255, 4);
	EXPECT_NEAR(image.pixel(4, 4)[1], 128, 4);
	EXPECT_NEAR(image.pixel(4, 4)[2], 0, 4);
}

TEST(ImageDecoding, ExifOrientationIsApplied)
{
	// Red on the left, green on the right; stored lying, to be shown standing.
	Bytes samples;
	for (int y = 0; y < 16; ++y) {
		for (int x = 0; x < 32; ++x)
			samples.insert(samples.end(), {uint8_t(x < 16 ? 250 : 5), uint8_t(x < 16 ? 5 : 250), 5});
	}
	struct Case {
		uint8_t orientation;
		int width;
		bool red_at_first_corner;
	};
	for (const Case &item : {Case{1, 32, true}, Case{2, 32, false}, Case{3, 32, false}, Case{4, 32, true},
				 Case{5, 16, true}, Case{6, 16, true}, Case{7, 16, false}, Case{8, 16, false}}) {
		Image image;
		ASSERT_TRUE(decode_image(jpeg(32, 16, 3, JCS_RGB, samples, {exif_with_orientation(item.orientation)}),
					 image));
		EXPECT_EQ(image.width, item.width) << int{item.orientation};
		EXPECT_EQ(image.pixel(1, 1)[0] > 128, item.red_at_first_corner) << int{item.orientation};
	}
}

TEST(ImageDecoding, ExifIsFoundBehindOtherDataOfItsMarker)
{
	const std::string name = "http://ns.adobe.com/xap/1.0/";
	const Bytes xmp(name.begin(), name.end());
	const Bytes samples(32 * 16 * 3, 100);
	Image image;
	ASSERT_TRUE(decode_image(jpeg(32, 16, 3, JCS_RGB, samples, {xmp, {}, exif_with_orientation(6)}), image));
	EXPECT_EQ(image.width, 16);
	EXPECT_EQ(image.height, 32);
	// The first Exif segment counts.
	ASSERT_TRUE(decode_image(
		jpeg(32, 16, 3, JCS_RGB, samples, {xmp, exif_with_orientation(1), exif_with_orientation(6)}), image));
	EXPECT_EQ(image.width, 32);
}

TEST(ImageDecoding, BrokenExifIsIgnored)
{
	Bytes samples(8 * 8 * 3, 100);
	for (size_t length = 1; length < 32; ++length) {
		Bytes exif = exif_with_orientation(6);
		exif.resize(length);
		exif[length / 2] = 0xFF;
		Image image;
		EXPECT_TRUE(decode_image(jpeg(8, 8, 3, JCS_RGB, samples, {exif}), image)) << length;
	}
}

TEST(ImageDecoding, EveryTruncationIsRefused)
{
	const ScratchFolder scratch;
	write_image(scratch.place("a.jpg"), gradient(24, 24), 80);
	for (const Bytes &whole : {encode_png(gradient(24, 24)), bytes_of(scratch.path("a.jpg"))}) {
		// The last bytes only say that it is over; some decoders do without.
		for (size_t length = 0; length + 16 < whole.size(); ++length) {
			Image image;
			EXPECT_EQ(decode_image(Bytes(whole.begin(), whole.begin() + long(length)), image).status,
				  KL_ERROR_FORMAT)
				<< length;
		}
	}
}

TEST(ImageDecoding, DamageNeverCrashes)
{
	const ScratchFolder scratch;
	write_image(scratch.place("a.jpg"), gradient(24, 24), 80);
	for (const Bytes &whole : {encode_png(gradient(24, 24)), bytes_of(scratch.path("a.jpg"))}) {
		for (size_t index = 0; index < whole.size(); ++index) {
			Bytes damaged = whole;
			damaged[index] ^= 0x5A;
			Image image;
			const ReadResult result = decode_image(damaged, image);
			EXPECT_TRUE(result.status == KL_OK || result.status == KL_ERROR_FORMAT) << index;
		}
	}
}

TEST(ImageDecoding, APictureThatClaimsToBeHugeIsRefused)
{
	Bytes png = encode_png(gradient(8, 8));
	png[18] = 0x75; // width 30000 + 8 - 8: the header's checksum is wrong, too, but the size is seen first or not
			// at all
	png[19] = 0x30;
	Image image;
	EXPECT_EQ(decode_image(png, image).status, KL_ERROR_FORMAT);

	const ScratchFolder scratch;
	write_image(scratch.place("a.jpg"), gradient(8, 8), 80);
	Bytes jpeg_bytes = bytes_of(scratch.path("a.jpg"));
	for (size_t index = 0; index + 9 < jpeg_bytes.size(); ++index) {
		if (jpeg_bytes[index] == 0xFF && jpeg_bytes[index + 1] == 0xC0) {
			for (const size_t place : {index + 5, index + 7}) { // 30000 x 30000
				jpeg_bytes[place] = 0x75;
				jpeg_bytes[place + 1] = 0x30;
			}
		}
	}
	const ReadResult result = decode_image(jpeg_bytes, image);
	EXPECT_EQ(result.status, KL_ERROR_FORMAT);
	EXPECT_EQ(result.reason, "the picture is too large");
}

TEST(ImageDecoding, OtherFilesAreRefused)
{
	Image image;
	EXPECT_EQ(decode_image({}, image).status, KL_ERROR_FORMAT);
	EXPECT_EQ(decode_image({'G', 'I', 'F', '8', '9', 'a'}, image).status, KL_ERROR_FORMAT);
	EXPECT_EQ(load_image("/", image).status, KL_ERROR_FILE);
}

} // namespace
} // namespace kalvio::engine::testing
