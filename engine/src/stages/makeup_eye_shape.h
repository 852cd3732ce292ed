// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_geometry.h"

#include <array>

namespace kalvio::engine {

// One eye with its brow in a frame, all lines from the outer to the inner side, and in its own coordinates: `along`
// from 0 at the inner corner to 1 at the outer one, `height` in pixels across that, towards the brow.
struct EyeShape {
	static constexpr int lid_points = 9;
	static constexpr int brow_points = 5;
	static constexpr int steps = 4; // of a smooth line per gap
	static constexpr int line_points = (lid_points - 1) * steps + 1;
	using LidLine = std::array<Point, line_points>;

	EyeShape(const FacePoints &points, float face_size, bool left);

	float along(Point place) const;
	float height(Point place) const;
	// Heights of the two lids and of the fold at a place along the eye, continued beyond the corners.
	float upper_height(float along) const { return read(upper_heights, along); }
	float lower_height(float along) const { return read(lower_heights, along); }
	float fold_height(float along) const { return read(fold_heights, along); }

	// The eye's outline: the upper lid, then back along the lower one.
	static constexpr int outline_points = 2 * (lid_points - 1) * steps;
	std::array<Point, outline_points> outline() const;

	LidLine upper;
	LidLine lower;
	LidLine fold;
	std::array<Point, brow_points> brow_lower;
	std::array<Point, brow_points> brow_upper;
	Point inner;
	Point outer;
	Point out; // unit vector from the inner corner to the outer one
	Point up;  // unit vector across it, towards the brow
	float width;
	float size;     // the face's
	float openness; // distance of the lids in widths
	float seen;     // 0..1: falls to 0 where the head's turn hides the eye
	Point iris;
	float iris_radius;

private:
	static constexpr int samples = 64;
	static constexpr float first_along = -0.4F;
	static constexpr float last_along = 1.8F;
	using Heights = std::array<float, samples>;

	void sample(const LidLine &line, Heights &heights) const;
	void extend_fold();
	static float read(const Heights &heights, float along);

	Heights upper_heights;
	Heights lower_heights;
	Heights fold_heights;
};

} // namespace kalvio::engine
