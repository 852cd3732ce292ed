// SPDX-License-Identifier: GPL-2.0-or-later
#include "faces/face_mesh.h"

#include "faces/face_detector.h"
#include "faces/face_regions.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kalvio::engine {

namespace {

// The refined outputs have no depth. The irises lie about as deep as the lids around them.
template <size_t Count>
float mean_depth(const FacePoints &points, const std::array<int, Count> &outline)
{
	float sum = 0;
	for (const int point : outline)
		sum += points[size_t(point)].z;
	return sum / static_cast<float>(Count);
}

void set_iris_depth(FacePoints &points)
{
	const float left = mean_depth(points, regions::left_eye);
	const float right = mean_depth(points, regions::right_eye);
	for (const int point : regions::left_iris)
		points[size_t(point)].z = left;
	for (const int point : regions::right_iris)
		points[size_t(point)].z = right;
}

bool all_finite(const FacePoints &points)
{
	float sum = 0;
	for (const Point3 &point : points)
		sum += std::abs(point.x) + std::abs(point.y) + std::abs(point.z);
	return std::isfinite(sum);
}

} // namespace

FaceMesh::FaceMesh(std::unique_ptr<RunnableNet> net, RefinedIndices refined)
	: net_(std::move(net)), refined_(std::move(refined))
{
}

void FaceMesh::take_points(const CropSquare &square, FacePoints &points) const
{
	const std::span<const float> surface = net_->output(0);
	for (size_t point = 0; point < face_surface_point_count; ++point)
		points[point] = {surface[point * 3], surface[point * 3 + 1], surface[point * 3 + 2]};
	for (size_t output = 0; output < refined_.size(); ++output) {
		const std::span<const float> values = net_->output(static_cast<int>(output) + 1);
		const size_t count = std::min(refined_[output].size(), values.size() / 2);
		for (size_t index = 0; index < count; ++index) {
			const size_t point = refined_[output][index];
			if (point >= points.size())
				continue;
			points[point].x = values[index * 2];
			points[point].y = values[index * 2 + 1];
		}
	}
	set_iris_depth(points);
	constexpr float unit = 1.0F / input_side;
	for (Point3 &point : points) {
		const Point place = square.to_frame(point.flat() * unit);
		point = {place.x, place.y, point.z * unit * square.side};
	}
}

float FaceMesh::fit(const Frame &frame, const CropSquare &square, FacePoints &points)
{
	sampler_.sample(frame, square, input_side, CropBorder::Repeated, {1.0F / 255.0F, 0}, net_->input());
	net_->run();
	take_points(square, points);
	return all_finite(points) ? logistic(net_->output(flag_output)[0]) : 0;
}

std::array<float, 3> FaceMesh::color_at(Point place) const
{
	const std::span<const float> crop = net_->input();
	const auto index = [](float coordinate) {
		return static_cast<int>(std::clamp(coordinate * input_side, 1.0F, input_side - 2.0F));
	};
	const int column = index(place.x);
	const int row = index(place.y);
	std::array<float, 3> sum = {0, 0, 0};
	for (int y = row - 1; y <= row + 1; ++y) {
		const float *pixel = crop.data() + (size_t(y) * input_side + size_t(column - 1)) * 3;
		for (int x = 0; x < 3; ++x, pixel += 3) {
			for (size_t channel = 0; channel < 3; ++channel)
				sum[channel] += pixel[channel];
		}
	}
	for (float &value : sum)
		value *= 1.0F / 9;
	return sum;
}

CropSquare FaceMesh::next_square(const FacePoints &points)
{
	const Point right = direction(points[regions::left_eye_outer_corner].flat(),
				      points[regions::right_eye_outer_corner].flat());
	const Point down = {-right.y, right.x};
	Point low = {INFINITY, INFINITY};
	Point high = {-INFINITY, -INFINITY};
	for (size_t index = 0; index < face_surface_point_count; ++index) {
		const Point point = points[index].flat();
		const float along = point.x * right.x + point.y * right.y;
		const float across = point.x * down.x + point.y * down.y;
		low = {std::min(low.x, along), std::min(low.y, across)};
		high = {std::max(high.x, along), std::max(high.y, across)};
	}
	constexpr float enlargement = 1.5F;
	const Point center = middle(low, high);
	return {right * center.x + down * center.y, enlargement * std::max(high.x - low.x, high.y - low.y), right};
}

} // namespace kalvio::engine
