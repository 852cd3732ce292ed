// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_geometry.h"
#include "image.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

// What made pictures are painted with: linear light, shapes with soft edges, triangles with a depth, a camera's noise.
namespace kalvio::engine::testing {

struct Color {
	float r = 0;
	float g = 0;
	float b = 0;
};

inline Color operator*(const Color &color, float factor)
{
	return {color.r * factor, color.g * factor, color.b * factor};
}

inline Color operator*(const Color &left, const Color &right)
{
	return {left.r * right.r, left.g * right.g, left.b * right.b};
}

inline Color operator+(const Color &left, const Color &right)
{
	return {left.r + right.r, left.g + right.g, left.b + right.b};
}

inline Color mix(const Color &from, const Color &to, float share)
{
	return from * (1 - share) + to * share;
}

inline float smooth_step(float from, float to, float value)
{
	const float place = std::fmin(std::fmax((value - from) / (to - from), 0.0F), 1.0F);
	return place * place * (3 - 2 * place);
}

// Numbers that are the same everywhere.
class Random {
public:
	explicit Random(uint32_t seed) : engine_(seed) {}

	float uniform(float low, float high)
	{
		return low + (high - low) * (static_cast<float>(engine_() >> 8) / 16777216.0F);
	}
	int below(int count) { return static_cast<int>(engine_() % static_cast<uint32_t>(count)); }
	bool chance(float share) { return uniform(0, 1) < share; }
	float sign() { return chance(0.5F) ? 1.0F : -1.0F; }
	// Nearly normal, with the deviation 1.
	float normal();

private:
	std::mt19937 engine_;
};

// Value noise of about -1..1 with one cell a unit.
float value_noise(float x, float y, uint32_t seed);

// How far a place lies outside a closed outline; below 0 inside.
float outline_distance(Point place, const std::vector<Point> &outline);
float line_distance(Point place, const std::vector<Point> &line);

// What the camera does to the light.
struct CameraLook {
	float exposure = 1;
	Color white = {1, 1, 1};
	float noise_levels = 0; // standard deviation
	float blur_pixels = 0;  // standard deviation
};

// Linear light at twice the picture's size, so that edges come out smooth. Coordinates are the picture's pixels.
class Canvas {
public:
	static constexpr int oversampling = 2;

	Canvas(int width, int height);

	int width() const { return width_; }
	int height() const { return height_; }

	// Calls paint(place, color) for every sample within the box; `color` may be changed.
	template <typename Paint>
	void each(Point low, Point high, const Paint &paint)
	{
		const auto bound = [](float value, int end) {
			return static_cast<int>(std::fmin(std::fmax(value, 0.0F), static_cast<float>(end)));
		};
		const int right = bound(std::ceil(high.x * oversampling), columns_);
		const int bottom = bound(std::ceil(high.y * oversampling), rows_);
		for (int y = bound(low.y * oversampling, rows_); y < bottom; ++y) {
			for (int x = bound(low.x * oversampling, columns_); x < right; ++x)
				paint(Point{(static_cast<float>(x) + 0.5F) / oversampling,
					    (static_cast<float>(y) + 0.5F) / oversampling},
				      light_[size_t(y) * size_t(columns_) + size_t(x)]);
		}
	}
	template <typename Paint>
	void each(const Paint &paint)
	{
		each({0, 0}, {static_cast<float>(width_), static_cast<float>(height_)}, paint);
	}

	// `angle` in radians.
	void ellipse(Point center, Point radius, float angle, const Color &color, float opacity = 1);
	void polygon(const std::vector<Point> &outline, const Color &color, float opacity = 1);
	void stroke(const std::vector<Point> &line, float thickness, const Color &color, float opacity = 1);

	// What the corners of triangles pass to the paint.
	using CornerValues = std::array<float, 7>;
	// A triangle's corner: where, how near (larger is nearer), and what is passed to the paint.
	struct Corner {
		Point place;
		float nearness = 0;
		CornerValues values{};
	};
	// Forgets the depths.
	void begin_solids() { depth_.assign(light_.size(), -INFINITY); }
	// paint(values) gives the color of the samples that are in front.
	template <typename Paint>
	void triangle(const Corner &a, const Corner &b, const Corner &c, const Paint &paint);

	// How much of each pixel is solid since `begin_solids`, 0..1.
	void solid_share(std::vector<float> &share) const;

	// As a camera sees it.
	void develop(const CameraLook &look, uint32_t noise_seed, Image &image) const;

private:
	int width_;
	int height_;
	int columns_;
	int rows_;
	std::vector<Color> light_;
	std::vector<float> depth_;
};

template <typename Paint>
void Canvas::triangle(const Corner &a, const Corner &b, const Corner &c, const Paint &paint)
{
	const auto cross = [](Point p, Point q, Point r) {
		return (q.x - p.x) * (r.y - p.y) - (q.y - p.y) * (r.x - p.x);
	};
	const float area = cross(a.place, b.place, c.place);
	if (std::abs(area) < 1e-9F)
		return;
	const auto first = [](float low, int end) {
		return static_cast<int>(
			std::fmin(std::fmax(std::ceil(low * oversampling - 0.5F), 0.0F), static_cast<float>(end)));
	};
	const auto lowest = [](float p, float q, float r) {
		return std::fmin(p, std::fmin(q, r));
	};
	const auto highest = [](float p, float q, float r) {
		return std::fmax(p, std::fmax(q, r));
	};
	const int left = first(lowest(a.place.x, b.place.x, c.place.x), columns_);
	const int right = first(highest(a.place.x, b.place.x, c.place.x) + 1.0F / oversampling, columns_);
	const int top = first(lowest(a.place.y, b.place.y, c.place.y), rows_);
	const int bottom = first(highest(a.place.y, b.place.y, c.place.y) + 1.0F / oversampling, rows_);
	for (int y = top; y < bottom; ++y) {
		for (int x = left; x < right; ++x) {
			const Point place = {(static_cast<float>(x) + 0.5F) / oversampling,
					     (static_cast<float>(y) + 0.5F) / oversampling};
			const float wa = cross(b.place, c.place, place) / area;
			const float wb = cross(c.place, a.place, place) / area;
			const float wc = 1 - wa - wb;
			if (wa < -1e-4F || wb < -1e-4F || wc < -1e-4F)
				continue;
			const size_t index = size_t(y) * size_t(columns_) + size_t(x);
			const float nearness = wa * a.nearness + wb * b.nearness + wc * c.nearness;
			if (nearness <= depth_[index])
				continue;
			depth_[index] = nearness;
			CornerValues values;
			for (size_t value = 0; value < values.size(); ++value)
				values[value] = wa * a.values[value] + wb * b.values[value] + wc * c.values[value];
			light_[index] = paint(values);
		}
	}
}

} // namespace kalvio::engine::testing
