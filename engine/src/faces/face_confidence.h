// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_geometry.h"

#include <array>
#include <cstdint>
#include <vector>

namespace kalvio::engine {

class FaceMesh;
struct HeadPose;

enum class FaceGroup { Eyes, Brows, Nose, Lips, Outline };
inline constexpr int face_group_count = 5;

// How far each part of a face can be relied on: 0..1, in the order of FaceGroup.
using GroupConfidence = std::array<float, face_group_count>;

// Judges the parts of one face. The mesh lies its points over whatever covers a face, so cover is told by color: each
// part's colors, taken as ratios to the face's skin so that light does not matter, are compared with what they usually
// are. That is learnt slowly, and hardly while a part is covered. A part that is covered from the beginning is taken
// for its usual look. Turning away lowers the confidence, too: the points of the far side are guessed.
class FaceConfidence {
public:
	FaceConfidence();

	// Forgets the face.
	void reset();
	// Takes in what `mesh` saw in its last fit, `seconds` (above 0) after the last call. `square` is that fit's,
	// `points` what it found.
	void update(const FaceMesh &mesh, const CropSquare &square, const FacePoints &points, const HeadPose &pose,
		    float seconds);

	// Moves by no more than all of it in a quarter of a second.
	const GroupConfidence &groups() const { return groups_; }
	// Most of the face looked unlike itself in the last update: another face, or none.
	bool looks_strange() const { return strange_; }

private:
	using Color = std::array<float, 3>;

	// The look of one part, a color for each of its points.
	struct Look {
		std::vector<int> points;
		std::vector<Color> usual;
		std::vector<Color> seen;
		float usual_difference = 0;
		float updates = 0; // since the face was taken, up to settled_updates
	};

	Color skin_color(const FaceMesh &mesh, const CropSquare &square, const FacePoints &points);
	static float uncovered(const Look &look);
	static void learn(Look &look, float seen_01, float seconds);

	std::array<Look, face_group_count> looks_;
	std::array<std::vector<float>, 3> skin_;
	GroupConfidence groups_ = {};
	bool strange_ = false;
};

} // namespace kalvio::engine
