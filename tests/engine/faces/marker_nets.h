// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "engine_fixture.h"
#include "faces/face_nets.h"
#include "faces/face_tracker.h"
#include "nets/net_library.h"

#include <atomic>
#include <vector>

// Faces for tests of the face code without real nets: marks of pure colors in a picture, and nets that look for those
// marks in what they are given. Whatever the views, crops and turns do to the picture, they do to the marks.
namespace kalvio::engine::testing {

// A face: a red disc for the eye at the left, a green one at the right, a blue one between the corners of the mouth.
struct MarkedFace {
	Point center; // between the eyes
	float eye_distance = 60;
	Point right = {1, 0}; // a unit vector: from the left eye to the right one
	bool mouth = true;    // without: the detector does not find the face, the mesh does

	Point at(float along, float down) const; // in eye distances from the center
	Point left_eye() const { return at(-0.5F, 0); }
	Point right_eye() const { return at(0.5F, 0); }
	Point mouth_center() const { return at(0, 1.1F); }
};

Picture marked_picture(int width, int height, const std::vector<MarkedFace> &faces);
Frame frame_of(const Picture &picture, Picture &output);

// How the nets behave beyond what the picture shows.
struct MarkerNetPlan {
	std::atomic<bool> flag_always =
		false;                      // the mesh is sure of itself, and puts its points somewhere, without a face
	std::atomic<float> flag_logit = 8;  // of a mesh on a face
	std::atomic<float> score_logit = 3; // of the detector: 0.95
	std::atomic<float> mesh_pull = 0;  // part of the way from the face to the middle of the crop that the mesh lies
	std::atomic<float> mesh_depth = 1; // how much too deep the mesh is
	std::atomic<bool> not_a_number = false;        // all outputs are none
	std::atomic<bool> finds_without_mouth = false; // the detector, too
	std::atomic<int> detector_runs = 0;
	std::atomic<int> mesh_runs = 0;
};

// `plan` outlives the nets.
FaceNets marker_nets(MarkerNetPlan &plan);

// A head for such faces: the mesh that the nets give, in centimetres, with eight points that tell a pose.
HeadGeometry marker_head();

// The mesh's point in eye distances from the middle of the eyes, z too.
Point3 marker_point(int point);

} // namespace kalvio::engine::testing
