// SPDX-License-Identifier: GPL-2.0-or-later
#include "art_texture.h"

#include "mixed_bits.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>

namespace kalvio::engine {

namespace {

constexpr double radians_per_degree = std::numbers::pi / 180;

// 0..1, evenly spread, the same on every system.
double art_random(uint64_t number, uint64_t purpose)
{
	return static_cast<double>(mixed_bits(number, purpose) >> 11) / 9007199254740992.0;
}

double lattice_value(int64_t x, int64_t y, uint64_t seed)
{
	return art_random(static_cast<uint64_t>(x) * 0x9E3779B1ULL ^ static_cast<uint64_t>(y) * 0x85EBCA77C2B2AE3DULL,
			  seed);
}

double smooth_value(double x, double y, uint64_t seed)
{
	const double left = std::floor(x);
	const double top = std::floor(y);
	const auto eased = [](double part) {
		return part * part * (3 - 2 * part);
	};
	const double across = eased(x - left);
	const double along = eased(y - top);
	const auto column = static_cast<int64_t>(left);
	const auto row = static_cast<int64_t>(top);
	const double above = std::lerp(lattice_value(column, row, seed), lattice_value(column + 1, row, seed), across);
	const double below =
		std::lerp(lattice_value(column, row + 1, seed), lattice_value(column + 1, row + 1, seed), across);
	return std::lerp(above, below, along);
}

bool is_inside(const std::vector<Polygon> &polygons, PathPoint point)
{
	int winding = 0;
	for (const Polygon &polygon : polygons) {
		for (size_t index = 0; index < polygon.size(); ++index) {
			const PathPoint &from = polygon[index];
			const PathPoint &to = polygon[(index + 1) % polygon.size()];
			if ((from.y <= point.y) == (to.y <= point.y))
				continue;
			if (from.x + (point.y - from.y) / (to.y - from.y) * (to.x - from.x) > point.x)
				winding += from.y <= point.y ? 1 : -1;
		}
	}
	return winding != 0;
}

double way_at(const std::vector<HairWay> &ways, PathPoint point)
{
	double x = 0;
	double y = 0;
	for (const HairWay &way : ways) {
		const double dx = point.x - way.place.x;
		const double dy = point.y - way.place.y;
		const double weight = 1 / (dx * dx + dy * dy + 1);
		x += weight * std::cos(way.degrees * radians_per_degree);
		y += weight * std::sin(way.degrees * radians_per_degree);
	}
	return std::atan2(y, x);
}

// A curve of this length that starts towards `angle` and turns by `bend` on its way, as wide as `width` at its root.
Polygon strand(PathPoint root, double angle, double bend, double length, double width)
{
	constexpr int pieces = 8;
	Polygon left;
	Polygon right;
	PathPoint point = root;
	for (int piece = 0; piece <= pieces; ++piece) {
		const double part = static_cast<double>(piece) / pieces;
		const double way = angle + bend * part;
		const double half = width / 2 * std::sqrt(1 - part);
		left.push_back({point.x + std::sin(way) * half, point.y - std::cos(way) * half});
		right.push_back({point.x - std::sin(way) * half, point.y + std::cos(way) * half});
		point.x += std::cos(way) * length / pieces;
		point.y += std::sin(way) * length / pieces;
	}
	left.insert(left.end(), right.rbegin(), right.rend());
	return left;
}

} // namespace

double noise_at(double x, double y, uint64_t seed)
{
	double sum = 0;
	double weight = 0.5;
	double size = 1;
	for (uint64_t octave = 0; octave < 4; ++octave) {
		sum += weight * smooth_value(x * size, y * size, seed * 4 + octave);
		weight *= 0.5;
		size *= 2;
	}
	return sum / 0.9375;
}

std::vector<Hair> hairs_in(const std::vector<Polygon> &polygons, const HairStyle &style)
{
	if (style.count < 0)
		throw std::runtime_error("fewer hairs than none");
	PathPoint low = {1e9, 1e9};
	PathPoint high = {-1e9, -1e9};
	for (const Polygon &polygon : polygons) {
		for (const PathPoint &point : polygon) {
			low = {std::min(low.x, point.x), std::min(low.y, point.y)};
			high = {std::max(high.x, point.x), std::max(high.y, point.y)};
		}
	}
	std::vector<Hair> hairs;
	constexpr int tries_per_hair = 1000;
	for (uint64_t number = 0; hairs.size() < static_cast<size_t>(style.count); ++number) {
		if (number > static_cast<uint64_t>(style.count) * tries_per_hair)
			throw std::runtime_error("hairs in a shape without an area");
		const auto random = [&](uint64_t purpose) {
			return art_random(number, style.seed * 8 + purpose);
		};
		const auto either = [&](uint64_t purpose) {
			return 2 * random(purpose) - 1;
		};
		const PathPoint root = {std::lerp(low.x, high.x, random(0)), std::lerp(low.y, high.y, random(1))};
		if (!is_inside(polygons, root))
			continue;
		const double angle = way_at(style.ways, root) + either(2) * style.spread * radians_per_degree;
		const double length = std::lerp(style.shortest, style.longest, random(3));
		hairs.push_back(
			{root, 1 + either(4) * style.vary,
			 strand(root, angle, either(5) * style.bend * radians_per_degree, length, style.width)});
	}
	return hairs;
}

} // namespace kalvio::engine
