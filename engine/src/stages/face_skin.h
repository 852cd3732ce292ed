// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_tracker.h"

#include <array>
#include <span>
#include <vector>

namespace kalvio::engine {

// Means of 4 x 4 pixels as SkinModel takes them.
struct CellGrid {
	const float *cells;
	int row_floats; // from one row to the next
	int columns;
	int rows;
	float cell_pixels;

	const float *row(int y) const { return cells + size_t(y) * size_t(row_floats); }
};

// Where skin is, told by the faces of the frame: each face's own colors, whatever its tone and the light, say what its
// neck and hands look like. Within the oval of a face a color may be further from them than outside; outside it must
// not be one that the rest of the picture is full of, such as a wall of the same hue. Without faces nothing is skin.
// What is learnt follows with half a second's delay, so that the map is steady; a face that is lost fades away.
class FaceSkin {
public:
	// Takes in the faces of the next frame, `seconds` after the last one. Allocates nothing.
	void follow(std::span<const TrackedFace> faces, const CellGrid &grid, float seconds);
	// Forgets all faces.
	void reset();
	// For each cell of row `y` {skin 0..1, luma 0..1, skin * luma, luma * luma}.
	void map(const CellGrid &grid, int y, float *out) const;

private:
	static constexpr size_t bins = 32; // along each of the two axes of hue
	using Histogram = std::array<float, bins * bins>;

	// What is known of one face. Places are in cells.
	struct Subject {
		int number = 0;   // of the tracked face; 0: none
		float weight = 0; // 0..1
		bool seen = false;
		Point center;
		Point right;
		float size = 0;
		std::array<Point, 36> oval;
		std::array<Point, 3> features; // eyes and mouth: no skin is learnt from there

		bool learnt = false;
		float hue[2] = {0, 0}; // the axes of CellColor, in octaves
		float hue_deviation[2] = {0, 0};
		float luma = 0;
		float luma_deviation = 0;
		Histogram colors;  // shares of the face's cells
		Histogram ownness; // how far a color is the face's and not the rest of the picture's, 0..1
	};

	// The part of a row that lies within an oval.
	struct Span {
		float first;
		float end;
	};

	void place(Subject &subject, const TrackedFace &face, float cell_pixels) const;
	static bool measure(Subject &subject, const CellGrid &grid, float seconds);
	void count_surroundings(const CellGrid &grid, float seconds);
	void compare(Subject &subject) const;
	static Span span_at(const Subject &subject, int y);
	static float likeness(const Subject &subject, const float *cell, Point place, const Span &span);

	std::array<Subject, max_tracked_faces> subjects_;
	Histogram surroundings_; // shares of the cells that belong to nobody
	bool surroundings_known_ = false;
};

} // namespace kalvio::engine
