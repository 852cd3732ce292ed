// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/makeup_eye_shape.h"

#include "faces/face_regions.h"
#include "smoothstep.h"
#include "stages/makeup_canvas.h"

#include <algorithm>

namespace kalvio::engine {

namespace {

// All lines from the outer to the inner side, those of the lids with both corners.
struct EyeNumbers {
	std::array<int, EyeShape::lid_points> upper;
	std::array<int, EyeShape::lid_points> lower;
	std::array<int, EyeShape::lid_points> fold;
	std::array<int, EyeShape::brow_points> brow_lower;
	std::array<int, EyeShape::brow_points> brow_upper;
	std::array<int, 5> iris;
};

constexpr EyeNumbers left_numbers = {{33, 246, 161, 160, 159, 158, 157, 173, 133},
				     {33, 7, 163, 144, 145, 153, 154, 155, 133},
				     regions::left_lid_fold,
				     regions::left_brow_lower,
				     regions::left_brow_upper,
				     regions::left_iris};
constexpr EyeNumbers right_numbers = {{263, 466, 388, 387, 386, 385, 384, 398, 362},
				      {263, 249, 390, 373, 374, 380, 381, 382, 362},
				      {359, 467, 260, 259, 257, 258, 286, 414, 463},
				      {276, 283, 282, 295, 285},
				      {300, 293, 334, 296, 336},
				      regions::right_iris};

constexpr float wing_slope = 0.30F; // of the upper lid's line beyond the outer corner
constexpr float least_fold = 0.13F; // height of the lid below its fold, in widths
constexpr float hidden_width = 0.10F;
constexpr float seen_width = 0.22F;

template <size_t Count>
std::array<Point, Count> places(const FacePoints &points, const std::array<int, Count> &numbers)
{
	std::array<Point, Count> line;
	for (size_t index = 0; index < Count; ++index)
		line[index] = points[size_t(numbers[index])].flat();
	return line;
}

} // namespace

EyeShape::EyeShape(const FacePoints &points, float face_size, bool left) : size(face_size)
{
	const EyeNumbers &numbers = left ? left_numbers : right_numbers;
	smooth_line(places(points, numbers.upper), steps, false, upper.data());
	smooth_line(places(points, numbers.lower), steps, false, lower.data());
	smooth_line(places(points, numbers.fold), steps, false, fold.data());
	brow_lower = places(points, numbers.brow_lower);
	brow_upper = places(points, numbers.brow_upper);
	outer = upper.front();
	inner = upper.back();
	out = direction(inner, outer);
	up = left ? Point{-out.y, out.x} : Point{out.y, -out.x};
	width = std::max(distance(inner, outer), 1.0F);
	const auto middle_point = size_t(line_points / 2);
	openness = std::max(height(upper[middle_point]) - height(lower[middle_point]), 0.0F) / width;
	seen = smoothstep(hidden_width, seen_width, width / size);
	iris = points[size_t(numbers.iris[0])].flat();
	iris_radius = 0;
	for (size_t rim = 1; rim < numbers.iris.size(); ++rim)
		iris_radius += distance(iris, points[size_t(numbers.iris[rim])].flat()) / 4;
	sample(upper, upper_heights);
	sample(lower, lower_heights);
	sample(fold, fold_heights);
	extend_fold();
}

float EyeShape::along(Point place) const
{
	const Point way = place - inner;
	return (way.x * out.x + way.y * out.y) / width;
}

float EyeShape::height(Point place) const
{
	const Point way = place - inner;
	return way.x * up.x + way.y * up.y;
}

std::array<Point, EyeShape::outline_points> EyeShape::outline() const
{
	std::array<Point, outline_points> line;
	std::copy_n(upper.begin(), line_points, line.begin());
	std::copy(lower.rbegin() + 1, lower.rend() - 1, line.begin() + line_points);
	return line;
}

// A line that goes from the outer end to the inner one, as heights at equal distances along the eye. Beyond the outer
// end it rises, beyond the inner one it goes on level.
void EyeShape::sample(const LidLine &line, Heights &heights) const
{
	size_t gap = line.size() - 1; // from line[gap] towards the outer end
	for (int index = 0; index < samples; ++index) {
		const float place =
			first_along + (last_along - first_along) * static_cast<float>(index) / (samples - 1);
		while (gap > 0 && along(line[gap - 1]) < place)
			--gap;
		const float end = along(line.front());
		if (gap == line.size() - 1 && place < along(line.back())) {
			heights[size_t(index)] = height(line.back());
		} else if (gap == 0 || place >= end) {
			heights[size_t(index)] = height(line.front()) + (place - end) * width * wing_slope;
		} else {
			const float from = along(line[gap]);
			const float to = along(line[gap - 1]);
			const float part = std::clamp((place - from) / std::max(to - from, 1e-4F), 0.0F, 1.0F);
			heights[size_t(index)] = height(line[gap]) + part * (height(line[gap - 1]) - height(line[gap]));
		}
	}
}

// The fold meets the lid at the corners; makeup goes on there at some distance, like the skin above the fold.
void EyeShape::extend_fold()
{
	for (size_t index = 0; index < size_t(samples); ++index)
		fold_heights[index] = std::max(fold_heights[index], upper_heights[index] + least_fold * width);
}

float EyeShape::read(const Heights &heights, float along)
{
	const float place = std::clamp((along - first_along) * ((samples - 1) / (last_along - first_along)), 0.0F,
				       static_cast<float>(samples - 1) - 0.001F);
	const auto index = static_cast<size_t>(place);
	return heights[index] + (heights[index + 1] - heights[index]) * (place - static_cast<float>(index));
}

} // namespace kalvio::engine
