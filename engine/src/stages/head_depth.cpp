// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/head_depth.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

namespace {

// Twice the area of the triangle, positive where `place` lies to the right of the way from `from` to `to`, y down.
float side_of(const Point3 &from, const Point3 &to, float x, float y)
{
	return (to.x - from.x) * (y - from.y) - (to.y - from.y) * (x - from.x);
}

} // namespace

void HeadDepth::draw(const FacePoints &points, std::span<const std::array<uint16_t, 3>> triangles, const PixelBox &box)
{
	box_ = box.is_empty() ? PixelBox{} : box;
	depth_.assign(size_t(box_.width()) * size_t(box_.height()), nothing);
	for (const std::array<uint16_t, 3> &triangle : triangles) {
		if (std::ranges::all_of(triangle, [&](uint16_t point) { return point < points.size(); }))
			draw_triangle(points[triangle[0]], points[triangle[1]], points[triangle[2]]);
	}
}

// Pixels whose centers lie in the triangle, whichever way round it is, get its depth where it is nearer.
void HeadDepth::draw_triangle(const Point3 &a, const Point3 &b, const Point3 &c)
{
	const float area = side_of(a, b, c.x, c.y);
	if (!(std::abs(area) > 1e-6F))
		return;
	const auto [low_x, high_x] = std::minmax({a.x, b.x, c.x});
	const auto [low_y, high_y] = std::minmax({a.y, b.y, c.y});
	const auto inside = [](float place, int low, int high) {
		return static_cast<int>(std::clamp(place, static_cast<float>(low), static_cast<float>(high)));
	};
	const int left = inside(std::floor(low_x), box_.left, box_.right);
	const int right = inside(std::ceil(high_x), box_.left, box_.right);
	const int top = inside(std::floor(low_y), box_.top, box_.bottom);
	const int bottom = inside(std::ceil(high_y), box_.top, box_.bottom);
	for (int y = top; y < bottom; ++y) {
		float *row = depth_.data() + size_t(y - box_.top) * size_t(box_.width());
		for (int x = left; x < right; ++x) {
			const float center_x = static_cast<float>(x) + 0.5F;
			const float center_y = static_cast<float>(y) + 0.5F;
			const float of_a = side_of(b, c, center_x, center_y) / area;
			const float of_b = side_of(c, a, center_x, center_y) / area;
			const float of_c = 1 - of_a - of_b;
			if (of_a >= 0 && of_b >= 0 && of_c >= 0) {
				float &depth = row[x - box_.left];
				depth = std::max(depth, -(of_a * a.z + of_b * b.z + of_c * c.z));
			}
		}
	}
}

} // namespace kalvio::engine
