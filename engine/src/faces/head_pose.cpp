// SPDX-License-Identifier: GPL-2.0-or-later
#include "faces/head_pose.h"

#include "nets/net_library.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

namespace {

using Matrix3 = std::array<std::array<float, 3>, 3>;
using Matrix4 = std::array<std::array<float, 4>, 4>;
using Quaternion = std::array<float, 4>;

// A face's point in the head's directions: y up, z towards the camera.
Point3 in_head_axes(const Point3 &point)
{
	return {point.x, -point.y, -point.z};
}

// One rotation of the cyclic Jacobi method: makes matrix[p][q] zero and turns the columns of `vectors` along.
void annul(Matrix4 &matrix, Matrix4 &vectors, size_t p, size_t q)
{
	const float off = matrix[p][q];
	if (off == 0)
		return;
	const float theta = (matrix[q][q] - matrix[p][p]) / (2 * off);
	const float tangent = (theta < 0 ? -1.0F : 1.0F) / (std::abs(theta) + std::sqrt(theta * theta + 1));
	const float cosine = 1 / std::sqrt(tangent * tangent + 1);
	const float sine = tangent * cosine;
	for (size_t row = 0; row < 4; ++row) {
		const float left = matrix[row][p];
		const float right = matrix[row][q];
		matrix[row][p] = cosine * left - sine * right;
		matrix[row][q] = sine * left + cosine * right;
		const float first = vectors[row][p];
		const float second = vectors[row][q];
		vectors[row][p] = cosine * first - sine * second;
		vectors[row][q] = sine * first + cosine * second;
	}
	for (size_t column = 0; column < 4; ++column) {
		const float upper = matrix[p][column];
		const float lower = matrix[q][column];
		matrix[p][column] = cosine * upper - sine * lower;
		matrix[q][column] = sine * upper + cosine * lower;
	}
}

// The eigenvector of the largest eigenvalue of a symmetric matrix.
Quaternion main_eigenvector(Matrix4 matrix)
{
	Matrix4 vectors = {{{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}}};
	constexpr int sweeps = 8; // three to five are enough
	for (int sweep = 0; sweep < sweeps; ++sweep) {
		for (size_t p = 0; p < 3; ++p) {
			for (size_t q = p + 1; q < 4; ++q)
				annul(matrix, vectors, p, q);
		}
	}
	size_t best = 0;
	for (size_t index = 1; index < 4; ++index) {
		if (matrix[index][index] > matrix[best][best])
			best = index;
	}
	return {vectors[0][best], vectors[1][best], vectors[2][best], vectors[3][best]};
}

// Horn's matrix of the sums of products m[i][j] = sum of (head i) * (face j).
Matrix4 quaternion_form(const Matrix3 &m)
{
	return {{{m[0][0] + m[1][1] + m[2][2], m[1][2] - m[2][1], m[2][0] - m[0][2], m[0][1] - m[1][0]},
		 {m[1][2] - m[2][1], m[0][0] - m[1][1] - m[2][2], m[0][1] + m[1][0], m[2][0] + m[0][2]},
		 {m[2][0] - m[0][2], m[0][1] + m[1][0], m[1][1] - m[0][0] - m[2][2], m[1][2] + m[2][1]},
		 {m[0][1] - m[1][0], m[2][0] + m[0][2], m[1][2] + m[2][1], m[2][2] - m[0][0] - m[1][1]}}};
}

Matrix3 rotation_of(const Quaternion &unit)
{
	const auto [w, x, y, z] = unit;
	return {{{w * w + x * x - y * y - z * z, 2 * (x * y - w * z), 2 * (x * z + w * y)},
		 {2 * (x * y + w * z), w * w - x * x + y * y - z * z, 2 * (y * z - w * x)},
		 {2 * (x * z - w * y), 2 * (y * z + w * x), w * w - x * x - y * y + z * z}}};
}

Point3 rotated(const Matrix3 &rotation, const Point3 &point)
{
	const auto row = [&](size_t index) {
		return rotation[index][0] * point.x + rotation[index][1] * point.y + rotation[index][2] * point.z;
	};
	return {row(0), row(1), row(2)};
}

} // namespace

float HeadPose::yaw() const
{
	return std::atan2(-rotation[2][0], rotation[2][2]);
}

float HeadPose::pitch() const
{
	return std::asin(std::clamp(rotation[2][1], -1.0F, 1.0F));
}

float HeadPose::roll() const
{
	return std::atan2(-rotation[0][1], rotation[1][1]);
}

PoseEstimator::PoseEstimator(const HeadGeometry &head)
{
	float total = 0;
	for (const HeadGeometry::PoseWeight &weight : head.pose_weights) {
		if (weight.point >= head.vertices.size() || weight.point >= face_point_count || !(weight.weight > 0))
			continue;
		const HeadGeometry::Vertex &vertex = head.vertices[weight.point];
		anchors_.push_back({weight.point, weight.weight, {vertex.x, vertex.y, vertex.z}});
		total += weight.weight;
	}
	for (Anchor &anchor : anchors_) {
		anchor.weight /= total;
		center_ = center_ + anchor.place * anchor.weight;
	}
	for (Anchor &anchor : anchors_) {
		anchor.place = anchor.place - center_;
		spread_ += anchor.weight * dot(anchor.place, anchor.place);
	}
}

bool PoseEstimator::estimate(const FacePoints &points, HeadPose &pose) const
{
	Point3 center;
	for (const Anchor &anchor : anchors_)
		center = center + in_head_axes(points[size_t(anchor.point)]) * anchor.weight;
	Matrix3 products = {};
	for (const Anchor &anchor : anchors_) {
		const Point3 place = in_head_axes(points[size_t(anchor.point)]) - center;
		const float head[] = {anchor.place.x, anchor.place.y, anchor.place.z};
		const float face[] = {place.x, place.y, place.z};
		for (size_t row = 0; row < 3; ++row) {
			for (size_t column = 0; column < 3; ++column)
				products[row][column] += anchor.weight * head[row] * face[column];
		}
	}
	const Quaternion quaternion = main_eigenvector(quaternion_form(products));
	const Matrix3 rotation = rotation_of(quaternion);
	float along = 0; // of the turned head and the face
	for (size_t row = 0; row < 3; ++row) {
		for (size_t column = 0; column < 3; ++column)
			along += rotation[row][column] * products[column][row];
	}
	const float scale = spread_ > 0 ? along / spread_ : 0;
	if (!(scale > 0) || !std::isfinite(scale))
		return false;
	pose = {rotation, scale, center - rotated(rotation, center_) * scale};
	return true;
}

float PoseEstimator::misfit(const FacePoints &points, const HeadPose &pose) const
{
	float sum = 0;
	for (const Anchor &anchor : anchors_) {
		const Point3 place = pose.translation + rotated(pose.rotation, center_ + anchor.place) * pose.scale;
		const Point3 offset = in_head_axes(points[size_t(anchor.point)]) - place;
		sum += anchor.weight * dot(offset, offset);
	}
	return std::sqrt(sum);
}

} // namespace kalvio::engine
