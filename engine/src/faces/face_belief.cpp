// SPDX-License-Identifier: GPL-2.0-or-later
#include "faces/face_belief.h"

#include "faces/face_detector.h"
#include "faces/face_mesh.h"
#include "faces/face_regions.h"
#include "faces/head_pose.h"

#include <algorithm>
#include <iterator>
#include <span>

namespace kalvio::engine {

namespace {

// Mean distance of eyes, nose and mouth, in sizes of the face.
constexpr float largest_key_distance = 0.35F;

constexpr float unsteadiness_weight = 2;
constexpr float least_probe_flag = 0.5F;

// How far the square moves, in parts of its side, how much it grows, and the tangent of half its turn.
constexpr Point probe_shift = {0.045F, 0.025F};
constexpr float probe_growth = 0.1F;
constexpr float probe_half_turn = 0.075F; // 9 degrees in all

CropSquare probe_square(const CropSquare &square, bool to_other_side)
{
	const float sign = to_other_side ? -1.0F : 1.0F;
	const Point down = {-square.right.y, square.right.x};
	CropSquare probe;
	probe.center = square.center + (square.right * probe_shift.x + down * probe_shift.y) * (sign * square.side);
	probe.side = square.side * (1 + sign * probe_growth);
	// A rotation without sine and cosine, which differ between math libraries.
	const float tangent = sign * probe_half_turn;
	const float scale = 1 / (1 + tangent * tangent);
	probe.right = square.right * ((1 - tangent * tangent) * scale) + down * (2 * tangent * scale);
	return probe;
}

float unsteadiness(FaceMesh &mesh, const Frame &frame, const MeshFace &face, bool to_other_side)
{
	FacePoints points;
	if (!(mesh.fit(frame, probe_square(face.square, to_other_side), points) >= least_probe_flag))
		return 1;
	float sum = 0;
	for (size_t point = 0; point < face_surface_point_count; ++point)
		sum += distance(points[point].flat(), face.points[point].flat());
	return sum / (face_surface_point_count * face.size);
}

float misfit(const PoseEstimator &poses, const MeshFace &face)
{
	HeadPose pose;
	return poses.estimate(face.points, pose) ? poses.misfit(face.points, pose) / face.size : 1.0F;
}

} // namespace

float detector_score(FaceDetector &detector, const Frame &frame, const MeshFace &face)
{
	const Point points[] = {
		face.points[regions::left_iris_center].flat(), face.points[regions::right_iris_center].flat(),
		face.points[regions::nose_tip].flat(),
		middle(face.points[regions::upper_inner_lip].flat(), face.points[regions::lower_inner_lip].flat())};
	constexpr size_t count = std::size(points); // the keys of a detection begin with the same four
	float best = 0;
	for (const FaceDetection &detection : detector.find(frame, face.square)) {
		float sum = 0;
		for (size_t key = 0; key < count; ++key)
			sum += distance(detection.keys[key], points[key]);
		if (sum / count < largest_key_distance * face.size)
			best = std::max(best, detection.score);
	}
	return best;
}

float plausibility(FaceMesh &mesh, const PoseEstimator &poses, const Frame &frame, const MeshFace &face, float score,
		   bool to_other_side)
{
	return score - unsteadiness_weight * unsteadiness(mesh, frame, face, to_other_side) - misfit(poses, face);
}

bool is_turned_over(FaceDetector &detector, const Frame &frame, const MeshFace &face, float score)
{
	CropSquare over = face.square;
	over.right = over.right * -1;
	return std::ranges::any_of(detector.find(frame, over), [&](const FaceDetection &detection) {
		return detection.score > score &&
		       distance(detection.face_center(), face.center) < same_face_distance * face.size;
	});
}

} // namespace kalvio::engine
