// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_geometry.h"
#include "frame.h"

namespace kalvio::engine {

class FaceDetector;
class FaceMesh;
class PoseEstimator;

// Whether what a mesh lies on is a face. The mesh is sure of itself on cats and on the backs of heads, the detector on
// balls with spots. What none but a face has is a high score of the detector together with a mesh that stays where it
// is when its crop moves, and that has the shape of a head.

// What a mesh found, in pixels of the frame.
struct MeshFace {
	const FacePoints &points;
	CropSquare square; // the next one (FaceMesh::next_square)
	float size;        // regions::face_size of `points`
	Point center;      // regions::face_center of them
};

// Faces nearer to each other than this, in sizes, are the same. Two heads side by side are 2 apart and more.
inline constexpr float same_face_distance = 0.8F;

// How sure the detector is of this face within the mesh's own square, 0..1; 0 where it finds none whose eyes, nose and
// mouth lie near the mesh's.
float detector_score(FaceDetector &detector, const Frame &frame, const MeshFace &face);

// The detector's score less twice the unsteadiness of the mesh, and less its distance from the average head in its
// pose, both in sizes of the face. Unsteadiness is the mean distance between the points and those of another fit, in a
// square that is moved, turned and scaled, to one side or the other. Faces reach 0.62 and more, other things 0.58.
// `mesh` forgets its last fit.
float plausibility(FaceMesh &mesh, const PoseEstimator &poses, const Frame &frame, const MeshFace &face, float score,
		   bool to_other_side);

// Whether the detector likes the square turned over better than the `score` that it gave it upright: the mesh lies
// upright on an upside-down face and is sure of itself.
bool is_turned_over(FaceDetector &detector, const Frame &frame, const MeshFace &face, float score);

} // namespace kalvio::engine
