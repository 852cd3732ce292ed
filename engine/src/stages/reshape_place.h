// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_tracker.h"
#include "kalvio_engine.h"
#include "stages/body_moves.h"
#include "stages/reshape_moves.h"

#include <array>
#include <span>

namespace kalvio::engine {

// Outside of a face's oval its field fades within this part of the face's size.
inline constexpr float face_band_in_sizes = 0.25F;

// A rectangle of the frame, in pixels.
struct FieldBox {
	int left = 0;
	int top = 0;
	int right = 0;
	int bottom = 0;

	bool is_empty() const { return right <= left || bottom <= top; }
	bool overlaps(const FieldBox &other) const;
	void include(const FieldBox &other);
};

// Where the displacement field of a face lies: the face with its axes, or its figure, or both.
struct PlacedField {
	const TrackedFace *face = nullptr;  // whose own shape is changed
	const BodyFigure *figure = nullptr; // that is changed
	Point right;                        // unit vector from the left eye to the right one
	Point down;                         // unit vector down the face
	float size = 0;                     // of the face, in pixels
	float width = 0;                    // what `size` becomes across the face as it is turned
	FieldBox box;                       // of the face
	FieldBox figure_box;
	int cell_shift = 0; // of its grid: see DisplacementGrid
	int region = 0;

	FieldBox whole_box() const;
};

// What of a move shows on a face: its amount as far as its part of the face is relied on.
float shown_amount(const ReshapeMove &move, const TrackedFace &face,
		   const std::array<float, KL_RESHAPE_COUNT> &amounts);

// The fields of the faces that something is done to, in a frame of this size. Returns how many.
int place_fields(int width, int height, const std::array<float, KL_RESHAPE_COUNT> &amounts,
		 std::span<const TrackedFace> faces, const BodyRequest &bodies,
		 std::array<PlacedField, max_tracked_faces> &placed);

// Fields whose boxes overlap share a region, and so do the regions that overlap then. `boxes`, as many as fields,
// become those of the regions; those that were joined to others are empty.
void join_overlapping(std::span<PlacedField> placed, std::span<FieldBox> boxes);

} // namespace kalvio::engine
