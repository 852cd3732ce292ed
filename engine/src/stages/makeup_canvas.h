// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "aligned.h"
#include "faces/face_geometry.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

// Where a makeup item lies, drawn from lines: how far each cell of a small grid is covered, 0..1.
namespace kalvio::engine {

// The smooth line through `points` (a Catmull-Rom spline: Catmull and Rom, "A class of local interpolating splines",
// 1974), in `steps` pieces per gap. Writes (points - 1) * steps + 1 points, or points * steps where it is closed.
// Returns how many.
int smooth_line(std::span<const Point> points, int steps, bool closed, Point *out);

// A number that differs from `index` to `index` without a pattern and is the same in every frame, 0..1: for lashes and
// hairs that are not all alike (the finalizer of MurmurHash3, Appleby).
inline float fixed_variation(int index)
{
	uint32_t bits = static_cast<uint32_t>(index) + 0x9E3779B9U;
	bits = (bits ^ (bits >> 16)) * 0x85EBCA6BU;
	bits = (bits ^ (bits >> 13)) * 0xC2B2AE35U;
	bits ^= bits >> 16;
	return static_cast<float>(bits >> 16) / 65535.0F;
}

// Cells of `pitch` x `pitch` pixels, the first with its corner at (`left`, `top`) of the frame.
struct MakeupGrid {
	int left = 0;
	int top = 0;
	int columns = 0;
	int rows = 0;
	int pitch = 1;

	bool empty() const { return columns <= 0 || rows <= 0; }
	size_t cells() const { return size_t(columns) * size_t(rows); }
	// The place of a pixel of the frame, in cells.
	Point place(Point pixel) const
	{
		const float scale = 1 / static_cast<float>(pitch);
		return {(pixel.x - static_cast<float>(left)) * scale, (pixel.y - static_cast<float>(top)) * scale};
	}
	// The middle of a cell in the frame.
	Point middle(int column, int row) const
	{
		const auto half = static_cast<float>(pitch) / 2;
		return {static_cast<float>(left + column * pitch) + half, static_cast<float>(top + row * pitch) + half};
	}
};

// How many numbers to take memory for where `count` are needed: a face that comes a little closer needs no more.
inline size_t with_reserve(size_t count)
{
	return std::bit_ceil(count);
}

// A mask on a grid. Allocates only where a larger grid is set than ever before.
class MakeupMask {
public:
	// An empty mask.
	void set(const MakeupGrid &grid);
	// Adds a closed outline in pixels of the frame, in either direction, by the exact area that it covers of each
	// cell. What lies beyond the grid is cut off. `finish` ends the drawing.
	void add_outline(std::span<const Point> pixels);
	// Makes what was added the covered shares; where outlines overlap, 1 at most.
	void finish();
	// A mean over 2 * radius + 1 cells in both directions, twice, which comes near a Gaussian. `radius_pixels` of
	// the frame, rounded to cells.
	void blur(float radius_pixels);

	float *row(int y) { return cells_.data() + size_t(y) * size_t(grid_.columns); }
	const float *row(int y) const { return cells_.data() + size_t(y) * size_t(grid_.columns); }

private:
	void add_edge(Point from, Point to, float sign);
	void add_part(int y, float x0, float x1, float height);
	void blur_rows(int radius);
	void blur_columns(int radius);

	MakeupGrid grid_;
	Aligned<float> cells_;
	Aligned<float> scratch_;
};

} // namespace kalvio::engine
