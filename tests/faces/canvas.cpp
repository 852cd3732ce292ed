// SPDX-License-Identifier: GPL-2.0-or-later
#include "canvas.h"

#include <algorithm>

namespace kalvio::engine::testing {

namespace {

uint32_t hashed(int x, int y, uint32_t seed)
{
	uint32_t hash =
		static_cast<uint32_t>(x) * 0x9E3779B1U ^ static_cast<uint32_t>(y) * 0x85EBCA77U ^ seed * 0xC2B2AE3DU;
	hash = (hash ^ (hash >> 15)) * 0x2C1B3C6DU;
	hash = (hash ^ (hash >> 12)) * 0x297A2D39U;
	return hash ^ (hash >> 15);
}

float segment_distance(Point place, Point from, Point to)
{
	const Point way = to - from;
	const Point offset = place - from;
	const float squared = way.x * way.x + way.y * way.y;
	const float along = squared > 0 ? std::clamp((offset.x * way.x + offset.y * way.y) / squared, 0.0F, 1.0F) : 0;
	return distance(place, from + way * along);
}

struct Box {
	Point low = {INFINITY, INFINITY};
	Point high = {-INFINITY, -INFINITY};
};

Box box_of(const std::vector<Point> &points, float margin)
{
	Box box;
	for (const Point point : points) {
		box.low = {std::min(box.low.x, point.x - margin), std::min(box.low.y, point.y - margin)};
		box.high = {std::max(box.high.x, point.x + margin), std::max(box.high.y, point.y + margin)};
	}
	return box;
}

// Edges of shapes are as wide as a sample.
float cover(float distance_outside)
{
	return std::clamp(0.5F - distance_outside * Canvas::oversampling, 0.0F, 1.0F);
}

// The level of a linear value, from a table. Above 0.85 it rolls off as cameras do.
float level_of(float light)
{
	constexpr int steps = 4096;
	constexpr float range = 4;
	static const std::vector<float> table = [] {
		std::vector<float> levels;
		for (int step = 0; step <= steps + 1; ++step) {
			float value = std::pow(static_cast<float>(step) * range / steps, 1 / 2.2F);
			if (value > 0.85F)
				value = 0.85F + 0.15F * (1 - std::exp(-(value - 0.85F) / 0.15F));
			levels.push_back(255 * value);
		}
		return levels;
	}();
	const float place = std::clamp(light / range, 0.0F, 1.0F) * steps;
	const int step = static_cast<int>(place);
	const float part = place - static_cast<float>(step);
	return table[size_t(step)] + part * (table[size_t(step) + 1] - table[size_t(step)]);
}

// Three passes of a box come close to a Gaussian.
void blur(std::vector<Color> &light, int width, int height, float deviation)
{
	const int radius = static_cast<int>(std::lround((std::sqrt(4 * deviation * deviation + 1) - 1) / 2));
	if (radius < 1)
		return;
	std::vector<Color> line;
	const auto pass = [&](int lines, int length, size_t line_step, size_t step) {
		line.resize(size_t(length));
		for (int index = 0; index < lines; ++index) {
			Color *start = light.data() + size_t(index) * line_step;
			for (int place = 0; place < length; ++place)
				line[size_t(place)] = start[size_t(place) * step];
			for (int place = 0; place < length; ++place) {
				Color sum;
				for (int offset = -radius; offset <= radius; ++offset)
					sum = sum + line[size_t(std::clamp(place + offset, 0, length - 1))];
				start[size_t(place) * step] = sum * (1 / static_cast<float>(2 * radius + 1));
			}
		}
	};
	for (int round = 0; round < 3; ++round) {
		pass(height, width, size_t(width), 1);
		pass(width, height, 1, size_t(width));
	}
}

} // namespace

// The four bytes of one number, added up.
float Random::normal()
{
	const auto number = static_cast<uint32_t>(engine_());
	const uint32_t sum = (number & 255U) + (number >> 8 & 255U) + (number >> 16 & 255U) + (number >> 24);
	constexpr float deviation = 147.8F; // of the sum of four bytes
	return (static_cast<float>(sum) - 510) / deviation;
}

float value_noise(float x, float y, uint32_t seed)
{
	const float left = std::floor(x);
	const float top = std::floor(y);
	const int column = static_cast<int>(left);
	const int row = static_cast<int>(top);
	const auto corner = [&](int dx, int dy) {
		return static_cast<float>(hashed(column + dx, row + dy, seed) & 0xFFFFU) / 32767.5F - 1;
	};
	const float across = smooth_step(0, 1, x - left);
	const float down = smooth_step(0, 1, y - top);
	const float upper = corner(0, 0) + across * (corner(1, 0) - corner(0, 0));
	const float lower = corner(0, 1) + across * (corner(1, 1) - corner(0, 1));
	return upper + down * (lower - upper);
}

float line_distance(Point place, const std::vector<Point> &line)
{
	float best = INFINITY;
	for (size_t index = 0; index + 1 < line.size(); ++index)
		best = std::min(best, segment_distance(place, line[index], line[index + 1]));
	return best;
}

float outline_distance(Point place, const std::vector<Point> &outline)
{
	float best = INFINITY;
	bool inside = false;
	for (size_t index = 0; index < outline.size(); ++index) {
		const Point from = outline[index];
		const Point to = outline[(index + 1) % outline.size()];
		best = std::min(best, segment_distance(place, from, to));
		if ((from.y > place.y) != (to.y > place.y) &&
		    place.x < from.x + (to.x - from.x) * (place.y - from.y) / (to.y - from.y))
			inside = !inside;
	}
	return inside ? -best : best;
}

Canvas::Canvas(int width, int height)
	: width_(width), height_(height), columns_(width * oversampling), rows_(height * oversampling),
	  light_(size_t(columns_) * size_t(rows_))
{
}

void Canvas::ellipse(Point center, Point radius, float angle, const Color &color, float opacity)
{
	const float reach = std::max(radius.x, radius.y) + 1;
	const Point axis = {std::cos(angle), std::sin(angle)};
	each(center - Point{reach, reach}, center + Point{reach, reach}, [&](Point place, Color &light) {
		const Point offset = place - center;
		const Point own = {(offset.x * axis.x + offset.y * axis.y) / radius.x,
				   (offset.y * axis.x - offset.x * axis.y) / radius.y};
		light = mix(light, color, opacity * cover((length(own) - 1) * std::min(radius.x, radius.y)));
	});
}

void Canvas::polygon(const std::vector<Point> &outline, const Color &color, float opacity)
{
	const Box box = box_of(outline, 1);
	each(box.low, box.high, [&](Point place, Color &light) {
		light = mix(light, color, opacity * cover(outline_distance(place, outline)));
	});
}

void Canvas::stroke(const std::vector<Point> &line, float thickness, const Color &color, float opacity)
{
	const Box box = box_of(line, thickness + 1);
	each(box.low, box.high, [&](Point place, Color &light) {
		light = mix(light, color, opacity * cover(line_distance(place, line) - thickness / 2));
	});
}

void Canvas::solid_share(std::vector<float> &share) const
{
	share.assign(size_t(width_) * size_t(height_), 0);
	constexpr float sample = 1.0F / (oversampling * oversampling);
	for (int y = 0; y < rows_; ++y) {
		for (int x = 0; x < columns_; ++x) {
			if (depth_[size_t(y) * size_t(columns_) + size_t(x)] > -INFINITY)
				share[size_t(y / oversampling) * size_t(width_) + size_t(x / oversampling)] += sample;
		}
	}
}

void Canvas::develop(const CameraLook &look, uint32_t noise_seed, Image &image) const
{
	std::vector<Color> light(size_t(width_) * size_t(height_));
	constexpr float share = 1.0F / (oversampling * oversampling);
	for (int y = 0; y < rows_; ++y) {
		for (int x = 0; x < columns_; ++x) {
			Color &pixel = light[size_t(y / oversampling) * size_t(width_) + size_t(x / oversampling)];
			pixel = pixel + light_[size_t(y) * size_t(columns_) + size_t(x)] * share;
		}
	}
	blur(light, width_, height_, look.blur_pixels);
	image.resize(width_, height_);
	Random noise(noise_seed * 2654435761U + 17);
	uint8_t *out = image.pixels.data();
	const Color gain = look.white * look.exposure;
	for (const Color &value : light) {
		const Color seen = value * gain;
		const float common = look.noise_levels > 0 ? 0.6F * noise.normal() : 0;
		for (const float channel : {seen.r, seen.g, seen.b}) {
			const float own = look.noise_levels > 0 ? 0.8F * noise.normal() : 0;
			const float level = level_of(channel) + look.noise_levels * (common + own);
			*out++ = static_cast<uint8_t>(std::clamp(std::lround(level), 0L, 255L));
		}
		*out++ = 255;
	}
}

} // namespace kalvio::engine::testing
