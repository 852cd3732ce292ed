// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_fixture.h"
#include "image_reader.h"
#include "image_writer.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <limits>
#include <thread>

// What the other tests of the engine do not already refuse: the whole engine, with every effect on, and each loader,
// fed with what nobody should feed them. Nothing may crash, hang or leak; the answer is a status and, for files, a log
// line.
namespace kalvio::engine::testing {
namespace {

struct Loader {
	const char *name;
	int32_t (*load)(kl_engine *, const char *);
	const char *good;
	const char *of_another_kind;
};

const Loader loaders[] = {
	{"filter", kl_set_filter, "filters/vivid/vivid.kld", "stickers/screen/petals.kld"},
	{"sticker", kl_set_sticker, "stickers/screen/petals.kld", "stickers/3d/oculos.kld"},
	{"3D sticker", kl_set_3d_sticker, "stickers/3d/oculos.kld", "stickers/screen/petals.kld"},
	{"background picture", kl_set_virtual_background, "backgrounds/office.jpg", "filters/vivid/vivid.kld"},
};

std::string data_file(const char *name)
{
	return std::string(KALVIO_DATA_DIR "/") + name;
}

void set_everything(kl_engine *engine)
{
	kl_set_beauty_skin_only(engine, true);
	kl_set_smoothing(engine, 1);
	kl_set_whitening(engine, 1);
	kl_set_rosiness(engine, 1);
	kl_set_sharpening(engine, 1);
	kl_set_chroma_key(engine, 0);
	kl_set_chroma_key_similarity(engine, 0.4F);
	kl_set_chroma_key_smoothness(engine, 0.2F);
	kl_set_chroma_key_desaturation(engine, 1);
	kl_set_filter(engine, data_file("filters/dawn/dawn.kld").c_str());
	kl_set_sticker(engine, data_file("stickers/screen/petals.kld").c_str());
}

class BadInput : public EngineTest {
protected:
	// All loaders answer `status` for the file and say so in the log.
	void expect_refused(const std::string &path, int32_t status)
	{
		for (const Loader &loader : loaders) {
			EXPECT_EQ(loader.load(engine.get(), path.c_str()), status) << loader.name;
			EXPECT_TRUE(contains(log_text(), std::string(loader.name) + " " + path)) << loader.name;
		}
		const kl_engine_config config = {0, 0, nullptr, path.c_str(), "org.test", 0};
		EXPECT_EQ(kl_engine_create(&config), nullptr);
	}
};

TEST_F(BadInput, EveryEffectBearsEverySize)
{
	set_everything(engine.get());
	for (const bool blurred : {false, true}) {
		if (blurred)
			kl_set_virtual_background_blur(engine.get(), 1);
		else
			kl_set_virtual_background(engine.get(), data_file("backgrounds/abstract.png").c_str());
		for (const auto &[width, height] :
		     {std::pair(1, 1), std::pair(2, 1), std::pair(1, 3), std::pair(3, 3), std::pair(5, 7),
		      std::pair(17, 33), std::pair(64, 70), std::pair(16384, 1), std::pair(16384, 3),
		      std::pair(1, 16384), std::pair(333, 217)}) {
			const Picture input = noise_picture(width, height, 3, 12);
			const Picture output = processed(input);
			// Nothing is written behind a row.
			for (int y = 0; y < height; ++y)
				ASSERT_EQ(std::memcmp(output.pixel(width, y), input.pixel(width, y), 12), 0)
					<< width << " x " << height;
		}
	}
}

TEST_F(BadInput, MisalignedPixelsGiveTheSameResult)
{
	const Picture input = noise_picture(97, 41, 8);
	set_everything(engine.get());
	const Picture expected = processed(input);
	const size_t bytes = input.bytes.size();
	for (const size_t offset : {size_t{1}, size_t{2}, size_t{7}, size_t{33}}) {
		std::vector<uint8_t> from(bytes + 64);
		std::vector<uint8_t> to(bytes + 64);
		std::copy(input.bytes.begin(), input.bytes.end(), from.begin() + ptrdiff_t(offset));
		ASSERT_EQ(kl_process_rgba(engine.get(), from.data() + offset, 97, 41, input.stride,
					  to.data() + offset + 1, 1, 0),
			  KL_OK);
		EXPECT_TRUE(
			std::equal(expected.bytes.begin(), expected.bytes.end(), to.begin() + ptrdiff_t(offset) + 1))
			<< offset;
	}
}

TEST_F(BadInput, WhatIsNoNumberIsRefusedByEverySetter)
{
	using Setter = int32_t (*)(kl_engine *, float);
	const Setter setters[] = {kl_set_smoothing,
				  kl_set_whitening,
				  kl_set_rosiness,
				  kl_set_sharpening,
				  kl_set_lipstick,
				  kl_set_blush,
				  kl_set_contour,
				  kl_set_eye_shadow,
				  kl_set_eye_liner,
				  kl_set_eyebrow,
				  kl_set_eyelash,
				  kl_set_pupil,
				  kl_set_chroma_key_similarity,
				  kl_set_chroma_key_smoothness,
				  kl_set_chroma_key_desaturation,
				  kl_set_filter_intensity,
				  kl_set_virtual_background_blur};
	for (const float value : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
				  -std::numeric_limits<float>::infinity()}) {
		for (const Setter set : setters)
			EXPECT_EQ(set(engine.get(), value), KL_ERROR_INVALID_ARGUMENT);
		for (int id = 0; id < 26; ++id)
			EXPECT_EQ(kl_set_reshape(engine.get(), id, value), KL_ERROR_INVALID_ARGUMENT);
		for (int id = 0; id < 9; ++id)
			EXPECT_EQ(kl_set_body_reshape(engine.get(), id, value), KL_ERROR_INVALID_ARGUMENT);
	}
	const Picture input = noise_picture(32, 32, 1);
	EXPECT_EQ(processed(input).bytes, input.bytes);
}

TEST_F(BadInput, NoLoaderTakesAnEmptyFile)
{
	expect_refused(scratch.write("empty.kld", std::string()), KL_ERROR_FORMAT);
}

TEST_F(BadInput, NoLoaderTakesNoise)
{
	expect_refused(scratch.write("noise.kld", Bytes(noise_picture(64, 64, 1).bytes)), KL_ERROR_FORMAT);
}

TEST_F(BadInput, NoLoaderTakesAFolder)
{
	std::filesystem::create_directory(scratch.place("folder"));
	expect_refused(scratch.path("folder"), KL_ERROR_FILE);
}

TEST_F(BadInput, NoLoaderTakesALinkThatLeadsNowhereOrToItself)
{
	std::error_code error;
	std::filesystem::create_symlink(scratch.place("absent"), scratch.place("dangling"), error);
	if (error)
		GTEST_SKIP() << "no links can be made here: " << error.message(); // Windows
	expect_refused(scratch.path("dangling"), KL_ERROR_FILE);
	std::filesystem::create_symlink(scratch.place("loop"), scratch.place("loop"));
	expect_refused(scratch.path("loop"), KL_ERROR_FILE);
}

TEST_F(BadInput, NoLoaderTakesAnotherKindOrVersion_AndKeepsWhatItHas)
{
	const Picture input = noise_picture(320, 180, 4);
	for (const Loader &loader : loaders) {
		engine = create();
		kl_set_chroma_key(engine.get(), 0);
		kl_set_chroma_key_similarity(engine.get(), 0.6F);
		ASSERT_EQ(loader.load(engine.get(), data_file(loader.good).c_str()), KL_OK) << loader.name;
		const Picture before = processed(input);
		EXPECT_EQ(loader.load(engine.get(), data_file(loader.of_another_kind).c_str()), KL_ERROR_FORMAT);
		const std::string newer = scratch.write_bundle("newer.kld", "filter", 2);
		EXPECT_EQ(loader.load(engine.get(), newer.c_str()), KL_ERROR_FORMAT);
		EXPECT_EQ(processed(input).bytes, before.bytes) << loader.name;
	}
}

TEST_F(BadInput, EveryTruncationOfAShippedFileIsRefused)
{
	for (const Loader &loader : loaders) {
		const std::string whole = read_text(data_file(loader.good));
		for (size_t part = 0; part < 16; ++part) {
			const std::string cut = scratch.write("cut", whole.substr(0, whole.size() * part / 16));
			const int32_t status = loader.load(engine.get(), cut.c_str());
			if (loader.load == kl_set_virtual_background && part > 0) {
				// Its head is there; what is missing is seen when it is read.
				EXPECT_EQ(status, KL_OK) << part;
				EXPECT_EQ(kl_wait_for_loads(engine.get(), 60'000), KL_OK);
				EXPECT_TRUE(contains(log_text(), cut + ": a damaged JPEG picture")) << part;
			} else {
				EXPECT_EQ(status, KL_ERROR_FORMAT) << loader.name << part;
			}
		}
	}
}

// --- Pictures
// ---------------------------------------------------------------------------------------------------------

uint32_t crc_of(const Bytes &bytes)
{
	uint32_t crc = 0xFFFFFFFFU;
	for (const uint8_t byte : bytes) {
		crc ^= byte;
		for (int bit = 0; bit < 8; ++bit)
			crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320U : 0U);
	}
	return ~crc;
}

void append_number(Bytes &bytes, uint32_t value)
{
	for (int shift = 24; shift >= 0; shift -= 8)
		bytes.push_back(static_cast<uint8_t>(value >> shift));
}

Bytes png_chunk(const char *type, const Bytes &body)
{
	Bytes typed(type, type + 4);
	typed.insert(typed.end(), body.begin(), body.end());
	Bytes chunk;
	append_number(chunk, static_cast<uint32_t>(body.size()));
	chunk.insert(chunk.end(), typed.begin(), typed.end());
	append_number(chunk, crc_of(typed));
	return chunk;
}

constexpr std::ptrdiff_t png_signature_bytes = 8;
constexpr std::ptrdiff_t png_header_bytes = 25;

Image plain_image(int width, int height, std::array<uint8_t, 4> color)
{
	Image image;
	image.width = width;
	image.height = height;
	for (int pixel = 0; pixel < width * height; ++pixel)
		image.pixels.insert(image.pixels.end(), color.begin(), color.end());
	return image;
}

TEST_F(BadInput, APngOfThirtyThousandSquareIsRefusedUnread)
{
	Bytes png = encode_png(plain_image(8, 8, {1, 2, 3, 255}));
	Bytes header;
	append_number(header, 30000);
	append_number(header, 30000);
	header.insert(header.end(), {8, 6, 0, 0, 0});
	const Bytes chunk = png_chunk("IHDR", header);
	std::copy(chunk.begin(), chunk.end(), png.begin() + png_signature_bytes);
	Image image;
	EXPECT_EQ(decode_image(png, image).status, KL_ERROR_FORMAT);
	EXPECT_EQ(image.pixels.capacity(), 0U);
}

TEST_F(BadInput, OfAnAnimatedPngTheStillPictureIsTaken)
{
	Bytes png = encode_png(plain_image(8, 8, {10, 200, 30, 255}));
	Bytes animation;
	append_number(animation, 2); // frames
	append_number(animation, 0); // for ever
	const Bytes control = png_chunk("acTL", animation);
	png.insert(png.begin() + png_signature_bytes + png_header_bytes, control.begin(), control.end());
	Bytes second;
	append_number(second, 1);
	second.insert(second.end(), {1, 2, 3, 4, 5});
	const Bytes frame = png_chunk("fdAT", second);
	png.insert(png.end() - 12, frame.begin(), frame.end());
	Image image;
	ASSERT_EQ(decode_image(png, image).status, KL_OK);
	EXPECT_EQ(image.pixel(4, 4)[1], 200);
}

TEST_F(BadInput, AnAnimatedGifIsRefused)
{
	expect_refused(scratch.write("a.gif", std::string("GIF89a\x08\0\x08\0\x80\0\0", 13)), KL_ERROR_FORMAT);
}

TEST_F(BadInput, APictureWithAlphaLeavesTheFrameOpaque)
{
	write_image(scratch.place("half.png"), plain_image(64, 36, {200, 100, 50, 128}), 0);
	kl_set_chroma_key(engine.get(), 0);
	kl_set_chroma_key_similarity(engine.get(), 0.5F);
	ASSERT_EQ(kl_set_virtual_background(engine.get(), scratch.path("half.png").c_str()), KL_OK);
	Picture input(64, 36);
	for (int pixel = 0; pixel < 64 * 36; ++pixel) {
		const uint8_t screen[4] = {30, 180, 60, 255};
		std::copy_n(screen, 4, input.bytes.data() + pixel * 4);
	}
	const Picture output = processed(input);
	EXPECT_NEAR(output.pixel(30, 20)[0], 100, 1); // over black
	EXPECT_NEAR(output.pixel(30, 20)[1], 50, 1);
	EXPECT_EQ(output.pixel(30, 20)[3], 255);
}

// --- Two threads on one handle
// ----------------------------------------------------------------------------------------

TEST_F(BadInput, TwoThreadsOnOneHandle_EachCallIsDoneOrTurnedAway)
{
	const Picture input = noise_picture(160, 90, 6);
	std::atomic<int> wrong = 0;
	const auto work = [&](bool with_frames) {
		Picture output(160, 90);
		for (int round = 0; round < 60; ++round) {
			const float strength = static_cast<float>(round % 5) / 4;
			const int32_t statuses[] = {
				kl_set_smoothing(engine.get(), strength),
				kl_set_chroma_key(engine.get(), round % 3),
				kl_set_virtual_background_blur(engine.get(), strength),
				kl_set_filter(engine.get(), data_file("filters/vivid/vivid.kld").c_str()),
				kl_clear_filter(engine.get()),
				!with_frames ? KL_OK
					     : kl_process_rgba(engine.get(), input.bytes.data(), 160, 90, input.stride,
							       output.bytes.data(), 1, 0)};
			for (const int32_t status : statuses)
				wrong += status != KL_OK && status != KL_ERROR_BUSY;
		}
	};
	std::thread other(work, false);
	work(true);
	other.join();
	EXPECT_EQ(wrong, 0);
	// The handle is as good as before.
	kl_clear_chroma_key(engine.get());
	kl_clear_virtual_background(engine.get());
	kl_set_smoothing(engine.get(), 0);
	EXPECT_EQ(processed(input).bytes, input.bytes);
}

} // namespace
} // namespace kalvio::engine::testing
