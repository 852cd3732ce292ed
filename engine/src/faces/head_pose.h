// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_geometry.h"

#include <array>
#include <span>
#include <vector>

namespace kalvio::engine {

struct HeadGeometry;

// How a head lies in the frame: a point of the average head, in centimetres, x to the right, y up, z towards the
// camera, comes to  translation + scale * rotation * point  in pixels, with the same axes (y up, z towards the camera:
// a face point's own y and z, negated).
struct HeadPose {
	std::array<std::array<float, 3>, 3> rotation = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
	float scale = 0; // pixels a centimetre; 0: no pose is known
	Point3 translation;

	// 1 for a face that looks into the camera, 0 for a profile, below 0 for one that looks away.
	float towards_camera() const { return rotation[2][2]; }
	// In radians; first the yaw, then the pitch, then the roll make the rotation. Yaw is positive where the face
	// looks to the picture's right, pitch where it looks down, roll where its crown leans to the picture's left.
	float yaw() const;
	float pitch() const;
	float roll() const;
};

// The points from which a pose is told, each with its place on the average head.
class PoseEstimator {
public:
	// Points and vertices that do not exist are left out.
	explicit PoseEstimator(const HeadGeometry &head);

	// The weighted least-squares similarity (Kabsch, "A solution for the best rotation to relate two sets of
	// vectors", 1976, found by the quaternion of Horn, 1987). False where the points tell none.
	bool estimate(const FacePoints &points, HeadPose &pose) const;
	// How far the points lie from the average head in this pose, weighted root mean square, in pixels.
	float misfit(const FacePoints &points, const HeadPose &pose) const;

private:
	struct Anchor {
		int point;
		float weight; // all weights together are 1
		Point3 place; // from the weighted center
	};

	std::vector<Anchor> anchors_;
	Point3 center_;    // of the anchors
	float spread_ = 0; // their weighted mean squared distance from it
};

} // namespace kalvio::engine
