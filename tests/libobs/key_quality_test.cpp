// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/libobs_fixture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <random>

// Our key beside the host's own chroma key filter, on the same picture in the same host: a made person in front of a
// green screen, of whom each pixel's true alpha and colour are known.
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
	Color color;
	double alpha;
};

struct Scene {
	Picture camera = Picture(width, height); // the person, the screen, spill and noise
	Picture person = Picture(width, height); // the truth: straight alpha, no spill
};

double coverage(double distance)
{
	return std::clamp(0.5 - distance, 0.0, 1.0);
}

// A head with hair whose strands end in front of the screen, one more pixel wide than not, and shoulders.
Layer person_at(double x, double y)
{
	constexpr double middle = 160;
	Layer layer = {linear_of(70, 48, 34), 0};
	layer.alpha = coverage((std::hypot((x - middle) / 44, (y - 62) / 52) - 1) * 44);
	for (int strand = 0; strand < 60; ++strand) {
		const double angle = 3.4 + 2.6 * strand / 60 + 0.4 * std::sin(strand * 7.0);
		const double length = 52 + 16 * std::abs(std::sin(strand * 3.7));
		const double dx = x - middle;
		const double dy = y - 62;
		const double along = dx * std::cos(angle) + dy * std::sin(angle);
		const double bend = 4 * std::sin(along / 19 + strand);
		const double across = std::abs(-dx * std::sin(angle) + dy * std::cos(angle) - bend);
		if (along > 36 && along < length)
			layer.alpha = std::max(layer.alpha, 0.85 * coverage(across - 0.1 - 0.5 * (1 - along / length)));
	}
	const double shirt = coverage((std::hypot((x - middle) / 96, (y - 200) / 74) - 1) * 70);
	const auto over = [&layer](const Color &color, double alpha) {
		for (size_t channel = 0; channel < 3; ++channel)
			layer.color[channel] += (color[channel] - layer.color[channel]) * alpha;
		layer.alpha += (1 - layer.alpha) * alpha;
	};
	over(linear_of(206, 204, 200), shirt);
	const double light = 1.05 - 0.35 * (x - middle + 34) / 68;
	const Color skin = linear_of(222, 172, 146);
	over({skin[0] * light, skin[1] * light, skin[2] * light},
	     coverage((std::hypot((x - middle) / 31, (y - 70) / 41) - 1) * 31));
	return layer;
}

uint8_t level(double linear, double noise)
{
	return static_cast<uint8_t>(
		std::lround(std::clamp(255 * to_encoded(std::clamp(linear, 0.0, 1.0)) + noise, 0.0, 255.0)));
}

Scene make_scene(double noise_deviation)
{
	Scene scene;
	std::minstd_rand random(5);
	const auto noise = [&] {
		double sum = -6; // twelve uniform numbers are as good as a bell
		for (int part = 0; part < 12; ++part)
			sum += static_cast<double>(random()) / std::minstd_rand::max();
		return sum * noise_deviation;
	};
	for (uint32_t y = 0; y < height; ++y) {
		for (uint32_t x = 0; x < width; ++x) {
			const Layer layer = person_at(x + 0.5, y + 0.5);
			// The screen's light falls off; the person's shadow lies on it to the right.
			double light = 1.1 - 0.5 * std::hypot(x / 320.0 - 0.4, y / 180.0 - 0.4);
			light *= 1 - 0.35 * std::exp(-std::pow((x - 235.0) / 26, 2) - std::pow((y - 110.0) / 60, 2));
			const Color screen = linear_of(40, 176, 70);
			const double spill = 0.05 * std::exp(-std::pow((x - 160.0) / 60, 2)) + 0.03;
			Rgba camera = {0, 0, 0, 255};
			Rgba person = {0, 0, 0, static_cast<uint8_t>(std::lround(255 * layer.alpha))};
			for (size_t channel = 0; channel < 3; ++channel) {
				const double lit = layer.color[channel] + spill * screen[channel];
				const double mixed = lit * layer.alpha + light * screen[channel] * (1 - layer.alpha);
				camera[channel] = level(mixed, noise());
				person[channel] = level(layer.color[channel], 0);
			}
			scene.camera.set(x, y, camera);
			scene.person.set(x, y, person);
		}
	}
	return scene;
}

struct Quality {
	double alpha; // root mean square error, in levels
	double color; // the same of the picture put over dark and over bright, all channels
};

Quality judge(const Picture &result, const Picture &truth)
{
	double alpha = 0;
	double color = 0;
	for (size_t byte = 0; byte < result.rgba.size(); byte += 4) {
		const double given = result.rgba[byte + 3] / 255.0;
		const double wanted = truth.rgba[byte + 3] / 255.0;
		alpha += std::pow(255 * (given - wanted), 2);
		for (const double behind : {20.0, 235.0}) {
			for (size_t channel = 0; channel < 3; ++channel) {
				const double there = result.rgba[byte + channel] * given + behind * (1 - given);
				const double should = truth.rgba[byte + channel] * wanted + behind * (1 - wanted);
				color += std::pow(there - should, 2) / 6;
			}
		}
	}
	const double pixels = double(width) * height;
	return {std::sqrt(alpha / pixels), std::sqrt(color / pixels)};
}

struct KeySettings {
	double similarity;
	double smoothness;
	double spill;
};

class KeyQuality : public LibobsTest {
protected:
	void SetUp() override
	{
		LibobsTest::SetUp();
		LibobsSession::load_host_module("obs-filters");
	}

	Picture filtered(const Picture &camera, const char *filter_id, obs_data_t *settings)
	{
		OBSSourceAutoRelease source = create_picture_source("camera", camera);
		OBSSourceAutoRelease filter = obs_source_create_private(filter_id, "key", settings);
		EXPECT_NE(filter, nullptr);
		obs_source_filter_add(source, filter);
		wait_for_tick();
		Picture result = render(source);
		obs_source_filter_remove(source, filter);
		release_and_wait(filter);
		release_and_wait(source);
		return result;
	}

	Quality of_host(const Scene &scene, const KeySettings &key)
	{
		OBSDataAutoRelease settings = obs_data_create();
		obs_data_set_string(settings, "key_color_type", "green");
		obs_data_set_int(settings, "similarity", std::lround(1000 * key.similarity));
		obs_data_set_int(settings, "smoothness", std::lround(1000 * key.smoothness));
		obs_data_set_int(settings, "spill", std::lround(1000 * key.spill));
		return judge(filtered(scene.camera, "chroma_key_filter_v2", settings), scene.person);
	}

	Quality of_ours(const Scene &scene, const KeySettings &key)
	{
		OBSDataAutoRelease settings = obs_data_create();
		obs_data_set_int(settings, "chroma", 1);
		obs_data_set_double(settings, "chroma_similarity", key.similarity);
		obs_data_set_double(settings, "chroma_smoothness", key.smoothness);
		obs_data_set_double(settings, "chroma_desaturation", key.spill);
		return judge(filtered(scene.camera, "kalvio_filter", settings), scene.person);
	}
};

// The least error of each kind that any of the settings reaches.
template <typename Judge>
Quality best_of(const Judge &quality_of)
{
	Quality best = {256, 256};
	for (const double similarity : {0.3, 0.4, 0.45}) {
		for (const double smoothness : {0.08, 0.2}) {
			for (const double spill : {0.1, 1.0}) {
				const Quality quality = quality_of(KeySettings{similarity, smoothness, spill});
				best.alpha = std::min(best.alpha, quality.alpha);
				best.color = std::min(best.color, quality.color);
			}
		}
	}
	return best;
}

TEST_F(KeyQuality, IsBetterThanTheHostsKey_EachAtItsBestSettings)
{
	const Scene scene = make_scene(0);
	const Quality host = best_of([&](const KeySettings &key) { return of_host(scene, key); });
	const Quality ours = best_of([&](const KeySettings &key) { return of_ours(scene, key); });
	EXPECT_LT(ours.alpha, 0.8 * host.alpha) << host.alpha;
	EXPECT_LT(ours.color, 0.8 * host.color) << host.color;
}

TEST_F(KeyQuality, IsBetterThanTheHostsKeyInStrongNoise_EachAtItsBestSettings)
{
	const Scene scene = make_scene(12);
	const Quality host = best_of([&](const KeySettings &key) { return of_host(scene, key); });
	const Quality ours = best_of([&](const KeySettings &key) { return of_ours(scene, key); });
	EXPECT_LT(ours.alpha, host.alpha);
	EXPECT_LT(ours.color, host.color);
}

TEST_F(KeyQuality, IsBetterThanTheHostsKey_AtItsInitialSettings)
{
	const Scene scene = make_scene(3);
	const KeySettings initial = {0.4, 0.08, 0.1};
	const Quality host = of_host(scene, initial);
	const Quality ours = of_ours(scene, initial);
	EXPECT_LT(ours.alpha, host.alpha);
	EXPECT_LT(ours.color, host.color);
}

} // namespace

} // namespace kalvio::test
