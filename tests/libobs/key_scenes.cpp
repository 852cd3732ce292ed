// SPDX-License-Identifier: GPL-2.0-or-later
#include "key_scenes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <random>

#include <jpeglib.h>

namespace kalvio::test {

namespace {

using Color = std::array<double, 3>; // linear light

constexpr uint32_t width = 320;
constexpr uint32_t height = 180;

double to_linear(double encoded)
{
	return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
}

double to_encoded(double linear)
{
	return linear <= 0.0031308 ? linear * 12.92 : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
}

Color linear_of(int red, int green, int blue)
{
	return {to_linear(red / 255.0), to_linear(green / 255.0), to_linear(blue / 255.0)};
}

struct Layer {
	Color color = {}; // straight
	double alpha = 0;

	void over(const Color &top, double top_alpha)
	{
		const double sum = top_alpha + alpha * (1 - top_alpha);
		if (sum <= 0)
			return;
		for (size_t channel = 0; channel < 3; ++channel)
			color[channel] = (top[channel] * top_alpha + color[channel] * alpha * (1 - top_alpha)) / sum;
		alpha = sum;
	}
};

double coverage(double distance)
{
	return std::clamp(0.5 - distance, 0.0, 1.0);
}

double hair_at(double x, double y)
{
	double alpha = coverage((std::hypot(x / 44, y / 52) - 1) * 44);
	for (int strand = 0; strand < 60; ++strand) {
		const double angle = 3.4 + 2.6 * strand / 60 + 0.4 * std::sin(strand * 7.0);
		const double length = 52 + 16 * std::abs(std::sin(strand * 3.7));
		const double along = x * std::cos(angle) + y * std::sin(angle);
		const double bend = 4 * std::sin(along / 19 + strand);
		const double across = std::abs(-x * std::sin(angle) + y * std::cos(angle) - bend);
		if (along > 36 && along < length)
			alpha = std::max(alpha, 0.85 * coverage(across - 0.1 - 0.5 * (1 - along / length)));
	}
	return alpha;
}

double smoke_at(double x, double y)
{
	const double column = std::exp(-std::pow((x - 45 - 8 * std::sin(y / 17)) / 13, 2));
	return 0.5 * column * (0.6 + 0.4 * std::sin(x / 5 + y / 9) * std::sin(y / 11 - x / 13));
}

// One place of the picture: hair, shirt, face, a hand that moves by 26 pixels while the shutter is open, a glass with
// its rim, and smoke.
Layer layers_at(double x, double y)
{
	constexpr double middle = 160;
	Layer layer;
	layer.over(linear_of(70, 48, 34), hair_at(x - middle, y - 62));
	layer.over(linear_of(206, 204, 200), coverage((std::hypot((x - middle) / 96, (y - 200) / 74) - 1) * 70));
	const double light = 1.05 - 0.35 * (x - middle + 34) / 68;
	const Color skin = linear_of(222, 172, 146);
	const Color face = {skin[0] * light, skin[1] * light, skin[2] * light};
	layer.over(face, coverage((std::hypot((x - middle) / 31, (y - 70) / 41) - 1) * 31));
	constexpr int moments = 13;
	double hand = 0;
	for (int moment = 0; moment < moments; ++moment)
		hand += coverage(std::hypot(x - 262 - 2 * moment, (y - 62) * 0.8) - 15) / moments;
	layer.over(skin, hand);
	const double glass = std::max(std::abs(x - 288) - 14, std::abs(y - 140) - 22);
	layer.over(linear_of(200, 205, 210), 0.45 * coverage(glass));
	layer.over(linear_of(225, 225, 225), coverage(std::abs(glass) - 0.8));
	layer.over(linear_of(210, 210, 210), smoke_at(x, y));
	return layer;
}

// The mean over a pixel.
Layer pixel_at(uint32_t x, uint32_t y)
{
	constexpr int side = 2;
	Layer pixel;
	for (int part = 0; part < side * side; ++part) {
		const Layer one = layers_at(x + (part % side + 0.5) / side, y + (double(part / side) + 0.5) / side);
		for (size_t channel = 0; channel < 3; ++channel)
			pixel.color[channel] += one.color[channel] * one.alpha / (side * side);
		pixel.alpha += one.alpha / (side * side);
	}
	for (double &channel : pixel.color)
		channel = pixel.alpha > 0 ? channel / pixel.alpha : 0;
	return pixel;
}

double screen_light(const KeySceneRecipe &recipe, uint32_t x, uint32_t y)
{
	const double light = 1.1 - recipe.unevenness * std::hypot(x / 320.0 - 0.4, y / 180.0 - 0.4);
	const double shadow = std::exp(-std::pow((x - 235.0) / 26, 2) - std::pow((y - 110.0) / 60, 2));
	return (recipe.unevenness > 0 ? light : 1) * (1 - recipe.shadow * shadow);
}

uint8_t level(double linear, double noise)
{
	return static_cast<uint8_t>(
		std::lround(std::clamp(255 * to_encoded(std::clamp(linear, 0.0, 1.0)) + noise, 0.0, 255.0)));
}

std::vector<unsigned char> compressed(const Picture &picture, int quality, int across, int down)
{
	jpeg_compress_struct jpeg = {};
	jpeg_error_mgr errors = {};
	jpeg.err = jpeg_std_error(&errors);
	jpeg_create_compress(&jpeg);
	unsigned char *bytes = nullptr;
	unsigned long size = 0;
	jpeg_mem_dest(&jpeg, &bytes, &size);
	jpeg.image_width = picture.width;
	jpeg.image_height = picture.height;
	jpeg.input_components = 3;
	jpeg.in_color_space = JCS_RGB;
	jpeg_set_defaults(&jpeg);
	jpeg_set_quality(&jpeg, quality, TRUE);
	jpeg.comp_info[0].h_samp_factor = across;
	jpeg.comp_info[0].v_samp_factor = down;
	jpeg_start_compress(&jpeg, TRUE);
	std::vector<JSAMPLE> row(size_t(picture.width) * 3);
	while (jpeg.next_scanline < jpeg.image_height) {
		const uint8_t *pixels = picture.rgba.data() + size_t(jpeg.next_scanline) * picture.width * 4;
		for (size_t x = 0; x < picture.width; ++x)
			std::copy_n(pixels + x * 4, 3, row.data() + x * 3);
		JSAMPROW line = row.data();
		jpeg_write_scanlines(&jpeg, &line, 1);
	}
	jpeg_finish_compress(&jpeg);
	jpeg_destroy_compress(&jpeg);
	std::vector<unsigned char> result(bytes, bytes + size);
	std::free(bytes);
	return result;
}

// What is left of a picture behind a camera's encoder.
Picture through_jpeg(const Picture &picture, int quality, int across, int down)
{
	const std::vector<unsigned char> bytes = compressed(picture, quality, across, down);
	jpeg_decompress_struct jpeg = {};
	jpeg_error_mgr errors = {};
	jpeg.err = jpeg_std_error(&errors);
	jpeg_create_decompress(&jpeg);
	jpeg_mem_src(&jpeg, bytes.data(), static_cast<unsigned long>(bytes.size()));
	jpeg_read_header(&jpeg, TRUE);
	jpeg_start_decompress(&jpeg);
	Picture result = picture;
	std::vector<JSAMPLE> row(size_t(picture.width) * 3);
	while (jpeg.output_scanline < jpeg.output_height) {
		uint8_t *pixels = result.rgba.data() + size_t(jpeg.output_scanline) * picture.width * 4;
		JSAMPROW line = row.data();
		jpeg_read_scanlines(&jpeg, &line, 1);
		for (size_t x = 0; x < picture.width; ++x)
			std::copy_n(row.data() + x * 3, 3, pixels + x * 4);
	}
	jpeg_finish_decompress(&jpeg);
	jpeg_destroy_decompress(&jpeg);
	return result;
}

Picture through_codec(const Picture &picture, KeyCodec codec)
{
	switch (codec) {
	case KeyCodec::Jpeg422:
		return through_jpeg(picture, 75, 2, 1);
	case KeyCodec::Jpeg420:
		return through_jpeg(picture, 60, 2, 2);
	case KeyCodec::None:
		break;
	}
	return picture;
}

} // namespace

const std::vector<KeySceneRecipe> &key_scene_recipes()
{
	constexpr Rgba green = {40, 176, 70, 255};
	static const std::vector<KeySceneRecipe> recipes = {
		{"even", 0, green, 0, 0, 0, 0, KeyCodec::None},
		{"uneven_spill", 0, green, 0.5, 0.35, 0.06, 0, KeyCodec::None},
		{"noise_4", 0, green, 0.5, 0.35, 0.06, 4, KeyCodec::None},
		{"noise_12", 0, green, 0.5, 0.35, 0.06, 12, KeyCodec::None},
		{"mjpeg_422", 0, green, 0.5, 0.35, 0.06, 3, KeyCodec::Jpeg422},
		{"coded_420", 0, green, 0.5, 0.35, 0.06, 3, KeyCodec::Jpeg420},
		{"pale", 0, {95, 165, 100, 255}, 0.3, 0.2, 0.06, 2, KeyCodec::None},
		{"dark", 0, {20, 95, 45, 255}, 0.5, 0.35, 0.06, 2, KeyCodec::None},
		{"blue", 1, {40, 75, 190, 255}, 0.5, 0.35, 0.06, 2, KeyCodec::None},
	};
	return recipes;
}

KeyScene make_key_scene(const KeySceneRecipe &recipe, uint32_t seed)
{
	KeyScene scene = {Picture(width, height), Picture(width, height)};
	std::minstd_rand random(seed);
	const auto noise = [&] {
		double sum = -6; // twelve uniform numbers are as good as a bell
		for (int part = 0; part < 12; ++part)
			sum += static_cast<double>(random()) / std::minstd_rand::max();
		return sum * recipe.noise;
	};
	const Color screen = linear_of(recipe.screen[0], recipe.screen[1], recipe.screen[2]);
	for (uint32_t y = 0; y < height; ++y) {
		for (uint32_t x = 0; x < width; ++x) {
			const Layer layer = pixel_at(x, y);
			const double light = screen_light(recipe, x, y);
			Rgba camera = {0, 0, 0, 255};
			Rgba person = {0, 0, 0, static_cast<uint8_t>(std::lround(255 * layer.alpha))};
			for (size_t channel = 0; channel < 3; ++channel) {
				const double lit = layer.color[channel] + recipe.spill * screen[channel];
				const double mixed = lit * layer.alpha + light * screen[channel] * (1 - layer.alpha);
				camera[channel] = level(mixed, noise());
				person[channel] = level(layer.color[channel], 0);
			}
			scene.camera.set(x, y, camera);
			scene.person.set(x, y, person);
		}
	}
	scene.camera = through_codec(scene.camera, recipe.codec);
	return scene;
}

KeyQuality judge_key(const Picture &result, const Picture &truth)
{
	constexpr std::array<std::array<double, 3>, 3> backgrounds = {{{20, 20, 20}, {235, 235, 235}, {150, 60, 170}}};
	double alpha = 0;
	double composite = 0;
	for (size_t byte = 0; byte < result.rgba.size(); byte += 4) {
		const double given = result.rgba[byte + 3] / 255.0;
		const double wanted = truth.rgba[byte + 3] / 255.0;
		alpha += std::pow(255 * (given - wanted), 2);
		for (const auto &behind : backgrounds) {
			for (size_t channel = 0; channel < 3; ++channel) {
				const double there =
					result.rgba[byte + channel] * given + behind[channel] * (1 - given);
				const double should =
					truth.rgba[byte + channel] * wanted + behind[channel] * (1 - wanted);
				composite += std::pow(there - should, 2) / 9;
			}
		}
	}
	const double pixels = double(truth.width) * truth.height;
	return {std::sqrt(alpha / pixels), std::sqrt(composite / pixels)};
}

} // namespace kalvio::test
