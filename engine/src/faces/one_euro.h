// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_geometry.h"

#include <array>

namespace kalvio::engine {

// The One Euro filter (Casiez, Roussel and Vogel, "1 Euro Filter: A Simple Speed-based Low-pass Filter for Noisy Input
// in Interactive Systems", 2012) on each point of a face: a low-pass whose cut-off frequency grows with the point's own
// speed, so that a still face stands still and a moving one does not lag behind.
class FaceSmoother {
public:
	static constexpr float cutoff_hz = 0.9F;
	// Added to the cut-off for each face size a second that a point moves.
	static constexpr float cutoff_per_speed = 20;
	static constexpr float speed_cutoff_hz = 1;

	// The next points are taken as they are.
	void reset() { started_ = false; }
	// Takes in what was measured `seconds` (above 0) after the last call on a face of `size` pixels (above 0).
	void update(const FacePoints &measured, float seconds, float size);

	const FacePoints &points() const { return points_; }

private:
	FacePoints points_ = {};
	FacePoints speeds_ = {}; // sizes a second
	bool started_ = false;
};

} // namespace kalvio::engine
