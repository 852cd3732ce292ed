// SPDX-License-Identifier: GPL-2.0-or-later
#include "skin_chart.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>

namespace kalvio::engine::testing {

namespace {

using Light = std::array<double, 3>; // linear red, green, blue

struct Lab {
	double lightness;
	double a;
	double b;
};

// From the lightest skin to the darkest, CIE Lab under daylight.
constexpr Lab tones[skin_tone_count] = {
	{76, 6, 11},      {71, 8.5, 15},    {66, 10, 16.5}, {62, 11.5, 18}, {57, 12.5, 19.5},
	{51, 13.5, 20.5}, {45, 13.5, 18.5}, {39, 12.5, 16}, {33, 11, 13.5}, {27, 8.5, 9.5},
};

// What a camera leaves of warm and of cold light when its white balance is half right.
constexpr Light lights[skin_light_count] = {{1.20, 1.0, 0.72}, {1, 1, 1}, {0.86, 1.0, 1.26}};

constexpr std::array<std::array<int, 3>, skin_background_count + 3> backgrounds = {{
	{222, 205, 180}, // beige wall
	{205, 170, 128}, // light wood
	{140, 92, 60},   // dark wood
	{238, 236, 232}, // white wall
	{128, 128, 130}, // gray wall
	{86, 128, 92},   // green wall
	{150, 76, 58},   // bricks
	{40, 176, 70},
	{34, 72, 196},
	{196, 32, 40},
}};

constexpr std::array<std::array<int, 3>, 4> hair_colors = {{{166, 130, 84}, {92, 58, 36}, {52, 36, 28}, {26, 22, 21}}};
constexpr std::array<std::array<int, 3>, 4> shirt_colors = {
	{{40, 58, 96}, {232, 232, 230}, {92, 104, 70}, {128, 40, 44}}};

double to_linear(double encoded)
{
	return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
}

double to_encoded(double linear)
{
	return linear <= 0.0031308 ? linear * 12.92 : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
}

// The level of a linear value; from a table, as a chart takes fifty million of them.
double level_of(double linear)
{
	constexpr size_t steps = 4096;
	static const std::vector<double> table = [] {
		std::vector<double> levels;
		for (size_t step = 0; step <= steps + 1; ++step)
			levels.push_back(255 * to_encoded(static_cast<double>(step) / steps));
		return levels;
	}();
	const double place = std::clamp(linear, 0.0, 1.0) * steps;
	const auto step = static_cast<size_t>(place);
	return table[step] + (place - static_cast<double>(step)) * (table[step + 1] - table[step]);
}

Light linear_of(const std::array<int, 3> &color)
{
	return {to_linear(color[0] / 255.0), to_linear(color[1] / 255.0), to_linear(color[2] / 255.0)};
}

Light linear_of_lab(const Lab &color)
{
	const auto inverse = [](double t) {
		return t > 6.0 / 29 ? t * t * t : 3 * std::pow(6.0 / 29, 2) * (t - 4.0 / 29);
	};
	const double middle = (color.lightness + 16) / 116;
	const double x = 0.95047 * inverse(middle + color.a / 500);
	const double y = inverse(middle);
	const double z = 1.08883 * inverse(middle - color.b / 200);
	const Light linear = {3.2406 * x - 1.5372 * y - 0.4986 * z, -0.9689 * x + 1.8758 * y + 0.0415 * z,
			      0.0557 * x - 0.2040 * y + 1.0570 * z};
	return {std::max(linear[0], 0.0), std::max(linear[1], 0.0), std::max(linear[2], 0.0)};
}

// Below 0 within the ellipse.
double ellipse(double u, double v, double u0, double v0, double half_width, double half_height)
{
	return std::hypot((u - u0) / half_width, (v - v0) / half_height) - 1;
}

struct Sample {
	Light color;
	double shade; // of the light that arrives
	Region region;
};

struct Person {
	Light skin;
	Light hair;
	Light shirt;
	Light wall;
	bool grain; // of the wall
};

// What is seen at (u, v): the origin in the middle, v from -1 to 1 downwards. Painter's order, back to front.
Sample sample_at(const Person &person, double u, double v)
{
	Sample sample = {person.wall, 1, Region::Other};
	if (person.grain)
		sample.shade = 0.94 + 0.10 * std::sin(v * 23 + 2.2 * std::sin(u * 3)) * std::sin(v * 61 + u * 2);
	const double strand = 0.82 + 0.3 * std::sin(u * 170 + 9 * v);
	if (ellipse(u, v, 0, -0.18, 0.44, 0.60) < 0 || (std::abs(u) < 0.42 && v > -0.2 && v < 0.45))
		sample = {person.hair, strand * (0.9 - 0.5 * u), Region::Other};
	if (std::abs(u) < 0.16 && v > 0 && v < 0.75)
		sample = {person.skin, 0.52 - 0.6 * u, Region::Skin};
	if (ellipse(u, v, 0, 1.1, 0.95, 0.55) < 0 && ellipse(u, v, 0, 0.52, 0.17, 0.16) > 0)
		sample = {person.shirt, 0.85 - 0.35 * u, Region::Other};
	if (ellipse(u, v, 0, -0.08, 0.32, 0.46) >= 0)
		return sample;

	// The face is a ball that is lit from the upper left.
	const double x = u / 0.36;
	const double y = (v + 0.08) / 0.52;
	const double z = std::sqrt(std::max(0.0, 1 - x * x - y * y));
	const double lit = 0.34 + 0.86 * std::max(0.0, -0.42 * x - 0.38 * y + 0.82 * z);
	sample = {person.skin, lit, Region::Skin};
	if (v < -0.40 + 0.12 * std::abs(u)) // a fringe
		return {person.hair, strand * lit, Region::Other};
	const double side = std::abs(u);
	if (ellipse(side, v, 0.13, -0.24, 0.085, 0.022) < 0)
		return {person.hair, 0.8 * lit, Region::Other};
	if (ellipse(side, v, 0.13, -0.14, 0.065, 0.034) < 0) {
		const bool iris = std::hypot(side - 0.13, v + 0.14) < 0.03;
		static const Light brown = linear_of({48, 34, 28});
		static const Light white = linear_of({226, 222, 218});
		return {iris ? brown : white, lit, Region::Other};
	}
	if (ellipse(u, v, 0, 0.18, 0.12, 0.045) < 0) {
		for (size_t channel = 0; channel < 3; ++channel)
			sample.color[channel] *= channel == 0 ? 0.72 : 0.42;
		sample.region = Region::Unclear;
	}
	return sample;
}

// Outlines belong to nobody: the map works on cells of four pixels.
void widen_outlines(std::vector<Region> &regions, int width, int height)
{
	constexpr int reach = 5;
	const std::vector<Region> sharp = regions;
	const auto at = [&](int x, int y) {
		return sharp[size_t(std::clamp(y, 0, height - 1)) * size_t(width) +
			     size_t(std::clamp(x, 0, width - 1))];
	};
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < width; ++x) {
			Region &region = regions[size_t(y) * size_t(width) + size_t(x)];
			for (int step = -reach; step <= reach; ++step) {
				if (at(x + step, y) != at(x, y) || at(x, y + step) != at(x, y))
					region = Region::Unclear;
			}
		}
	}
}

} // namespace

const std::array<const char *, skin_light_count> skin_light_names = {"warm", "neutral", "cool"};
const std::array<const char *, skin_background_count> skin_background_names = {
	"beige wall", "light wood", "dark wood", "white wall", "gray wall", "green wall", "bricks"};

int typology_angle(int tone)
{
	constexpr double degrees = 180 / std::numbers::pi;
	return static_cast<int>(std::lround(std::atan2(tones[tone].lightness - 50, tones[tone].b) * degrees));
}

SkinScene make_skin_scene(int tone, int light, int background, const Pose &pose)
{
	constexpr int width = 384;
	constexpr int height = 216;
	Person person;
	person.skin = linear_of_lab(tones[tone]);
	for (double &channel : person.skin)
		channel *= 1.25; // lit skin is brighter than the instrument's reading of it
	person.hair = linear_of(hair_colors[size_t(std::clamp(tone / 2, 0, 3))]);
	person.shirt = linear_of(shirt_colors[size_t(tone % 4)]);
	person.wall = linear_of(backgrounds[size_t(background)]);
	person.grain = background == 1 || background == 2 || background == 6;

	SkinScene scene = {Picture(width, height), std::vector<Region>(size_t(width) * size_t(height))};
	const Picture noise = noise_picture(width, height, static_cast<uint32_t>(tone * 100 + light * 10 + background));
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < width; ++x) {
			const double u = (x + 0.5 - width / 2.0) / (height / 2.0);
			const double v = (y + 0.5 - height / 2.0) / (height / 2.0);
			Sample sample = sample_at(person, (u - pose.right) / pose.scale, (v - pose.down) / pose.scale);
			sample.shade *= 1.0 - 0.1 * u - 0.08 * v; // the room's light falls off
			scene.regions[size_t(y) * size_t(width) + size_t(x)] = sample.region;
			uint8_t *pixel = scene.picture.pixel(x, y);
			for (size_t channel = 0; channel < 3; ++channel) {
				const double linear = sample.color[channel] * sample.shade * lights[light][channel];
				const double level = level_of(linear) + (noise.pixel(x, y)[channel] - 127.5) / 30;
				pixel[channel] = static_cast<uint8_t>(std::lround(std::clamp(level, 0.0, 255.0)));
			}
			pixel[3] = 255;
		}
	}
	widen_outlines(scene.regions, width, height);
	return scene;
}

SkinScore score_skin_map(kl_engine *engine, const SkinScene &scene)
{
	const Picture &input = scene.picture;
	const auto whitened = [&](bool skin_only) {
		Picture output(input.width, input.height);
		kl_set_whitening(engine, 1);
		kl_set_whitening_style(engine, 4); // darkens: white has room for it, too
		kl_set_beauty_skin_only(engine, skin_only);
		EXPECT_EQ(kl_process_rgba(engine, input.bytes.data(), input.width, input.height, input.stride,
					  output.bytes.data(), KL_PIXEL_FORMAT_RGBA, 0),
			  KL_OK);
		return output;
	};
	// A frame of another size ends what the engine knows of the last scene.
	const Picture nothing(1, 1);
	Picture ignored(1, 1);
	kl_set_whitening(engine, 1);
	kl_set_beauty_skin_only(engine, true);
	EXPECT_EQ(kl_process_rgba(engine, nothing.bytes.data(), 1, 1, 4, ignored.bytes.data(), KL_PIXEL_FORMAT_RGBA, 0),
		  KL_OK);
	const Picture everywhere = whitened(false);
	const Picture on_skin = whitened(true);

	double taken = 0;
	double rightly = 0;
	double skin = 0;
	for (size_t index = 0; index < scene.regions.size(); ++index) {
		if (scene.regions[index] == Region::Unclear)
			continue;
		int whole = 0;
		int part = 0;
		for (size_t channel = 0; channel < 3; ++channel) {
			whole += std::abs(everywhere.bytes[index * 4 + channel] - input.bytes[index * 4 + channel]);
			part += std::abs(on_skin.bytes[index * 4 + channel] - input.bytes[index * 4 + channel]);
		}
		if (whole < 6)
			continue; // almost black or white: nothing to tell
		const double mask = std::min(1.0, double(part) / whole);
		taken += mask;
		if (scene.regions[index] == Region::Skin) {
			rightly += mask;
			skin += 1;
		}
	}
	return {taken > 0 ? rightly / taken : 0, skin > 0 ? rightly / skin : 0};
}

} // namespace kalvio::engine::testing
