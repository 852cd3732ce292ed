// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_confidence.h"
#include "faces/face_geometry.h"

#include <span>

namespace kalvio::engine {

// A point of a face that takes part in a move.
struct MovedPoint {
	int point;       // of the picture's left side or of the middle
	float share = 1; // of the move; 0 keeps what is there in its place
};

enum class MoveSides {
	Each, // both sides move on their own, as mirror images
	Whole // the points of both sides are one part with one center
};

// What one setting does at 1, in the axes of the face: x outwards, away from its middle line, y down the face, in face
// sizes (regions::face_size). At -1 it does the opposite. `shift`, `to_middle` move each point by its share; the points
// between follow their neighbors. `scale` and `turn` move the part as a whole about the mean of the points with a
// share.
struct ReshapeMove {
	int key;                            // kl_reshape
	FaceGroup group;                    // whose confidence it fades with
	MoveSides sides = MoveSides::Whole; // of scale and turn
	float radius;                       // how far beyond its points it reaches
	std::span<const MovedPoint> points;
	Point shift = {};
	float to_middle = 0; // fraction of the way to the middle between a point and its mirror image
	Point scale = {};    // change of length along both axes
	float turn = 0;      // radians; above 0 the outer end goes up
};

// A setting may have several moves, which add up. In the order of the keys.
std::span<const ReshapeMove> reshape_moves();

} // namespace kalvio::engine
