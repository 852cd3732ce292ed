// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_geometry.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace kalvio::engine {

// A part of the frame, in pixels, the ends excluded.
struct PixelBox {
	int left = 0, top = 0, right = 0, bottom = 0;

	int width() const { return right - left; }
	int height() const { return bottom - top; }
	bool is_empty() const { return right <= left || bottom <= top; }
	bool contains(int x, int y) const { return x >= left && x < right && y >= top && y < bottom; }
};

// How near to the camera a face is, pixel by pixel: what it hides of things that are drawn around it.
class HeadDepth {
public:
	static constexpr float nothing = -std::numeric_limits<float>::infinity();

	// Draws the surface of a face within `box`. `triangles` are numbers of its points. Memory grows to the largest
	// box.
	void draw(const FacePoints &points, std::span<const std::array<uint16_t, 3>> triangles, const PixelBox &box);

	// Towards the camera, in pixels: a face point's z, negated. `nothing` beside the face and outside the box.
	float at(int x, int y) const
	{
		if (!box_.contains(x, y))
			return nothing;
		return depth_[size_t(y - box_.top) * size_t(box_.width()) + size_t(x - box_.left)];
	}

private:
	void draw_triangle(const Point3 &a, const Point3 &b, const Point3 &c);

	PixelBox box_;
	std::vector<float> depth_;
};

} // namespace kalvio::engine
