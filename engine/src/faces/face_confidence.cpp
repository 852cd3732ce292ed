// SPDX-License-Identifier: GPL-2.0-or-later
#include "faces/face_confidence.h"

#include "faces/face_mesh.h"
#include "faces/face_regions.h"
#include "faces/head_pose.h"
#include "smoothstep.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

namespace {

// Cosines of the angle between the face and the camera.
struct TurnRange {
	float full; // and above: full confidence
	float none; // and below: none
};

// In the order of FaceGroup. The far jaw wanders from about 25 degrees on.
constexpr TurnRange turn_ranges[face_group_count] = {
	{0.819F, 0.423F},                   // 35 to 65 degrees
	{0.819F, 0.423F}, {0.766F, 0.342F}, // 40 to 70
	{0.819F, 0.423F}, {0.906F, 0.574F}, // 25 to 55
};

constexpr float full_change_seconds = 0.25F;
// How long the usual look takes to follow: of a part that looks as usual, and of one that does not.
constexpr float learning_seconds = 2;
constexpr float relearning_seconds = 20;
// The first looks are averaged.
constexpr float settled_updates = 12;
// How much of a part's contrast to skin may be missing, and noise, before it counts as covered, in ratios to the skin.
constexpr float contrast_from = 0.4F;
constexpr float contrast_to = 0.8F;
constexpr float difference_from = 0.05F;
constexpr float difference_to = 0.08F;
// Almost black skin gives ratios of noise.
constexpr float color_floor = 0.02F;
constexpr float largest_ratio = 4;
// How far the outline's colors are taken from within it: on the line itself lies the background.
constexpr float outline_inset = 0.15F;

template <typename... Lists>
std::vector<int> joined(const Lists &...lists)
{
	std::vector<int> all;
	(all.insert(all.end(), lists.begin(), lists.end()), ...);
	return all;
}

// Where a point of the frame lies in the square.
Point place_in(const CropSquare &square, Point point)
{
	const Point offset = (point - square.center) * (1 / square.side);
	return {square.right.x * offset.x + square.right.y * offset.y + 0.5F,
		square.right.x * offset.y - square.right.y * offset.x + 0.5F};
}

} // namespace

FaceConfidence::FaceConfidence()
{
	using namespace regions;
	looks_[size_t(FaceGroup::Eyes)].points = joined(left_eye, right_eye, left_lid_fold, right_lid_fold);
	looks_[size_t(FaceGroup::Brows)].points =
		joined(left_brow_lower, left_brow_upper, right_brow_lower, right_brow_upper);
	looks_[size_t(FaceGroup::Nose)].points = joined(nose_bridge, nose_wings);
	looks_[size_t(FaceGroup::Lips)].points = joined(lips_outer, lips_inner);
	looks_[size_t(FaceGroup::Outline)].points = joined(jaw);
	for (Look &look : looks_) {
		look.usual.resize(look.points.size());
		look.seen.resize(look.points.size());
	}
	for (std::vector<float> &channel : skin_)
		channel.resize(regions::skin.size());
	reset();
}

void FaceConfidence::reset()
{
	for (Look &look : looks_) {
		look.updates = 0;
		look.usual_difference = 0;
	}
	groups_ = {};
	strange_ = false;
}

// The median: it stays the skin's while less than half of it is covered.
FaceConfidence::Color FaceConfidence::skin_color(const FaceMesh &mesh, const CropSquare &square,
						 const FacePoints &points)
{
	for (size_t index = 0; index < regions::skin.size(); ++index) {
		const Color color = mesh.color_at(place_in(square, points[size_t(regions::skin[index])].flat()));
		for (size_t channel = 0; channel < color.size(); ++channel)
			skin_[channel][index] = color[channel];
	}
	Color median;
	for (size_t channel = 0; channel < median.size(); ++channel) {
		const auto middle_place = skin_[channel].begin() + std::ptrdiff_t(skin_[channel].size() / 2);
		std::nth_element(skin_[channel].begin(), middle_place, skin_[channel].end());
		median[channel] = *middle_place;
	}
	return median;
}

namespace {

// Root mean square over all points and channels.
template <typename Difference>
float root_mean_square(size_t count, Difference difference)
{
	float sum = 0;
	for (size_t index = 0; index < count; ++index) {
		for (size_t channel = 0; channel < 3; ++channel) {
			const float value = difference(index, channel);
			sum += value * value;
		}
	}
	return std::sqrt(sum / static_cast<float>(3 * count));
}

} // namespace

// 1 while the part looks as usual, 0 when its contrast to the skin is gone or something else is there.
float FaceConfidence::uncovered(const Look &look)
{
	if (look.updates == 0)
		return 1;
	const size_t count = look.points.size();
	const float difference = root_mean_square(count, [&](size_t index, size_t channel) {
		return look.seen[index][channel] - look.usual[index][channel];
	});
	const float contrast =
		root_mean_square(count, [&](size_t index, size_t channel) { return look.usual[index][channel] - 1; });
	const float from = std::max(contrast_from * contrast + difference_from, 2 * look.usual_difference);
	const float to = std::max(contrast_to * contrast + difference_to, from + difference_to);
	return 1 - ramp(from, to, difference);
}

void FaceConfidence::learn(Look &look, float seen_01, float seconds)
{
	float share = std::min(1.0F, seconds / (seen_01 > 0.5F ? learning_seconds : relearning_seconds));
	if (look.updates < settled_updates)
		share = std::max(share, 1 / (look.updates + 1));
	const float difference = root_mean_square(look.points.size(), [&](size_t index, size_t channel) {
		return look.seen[index][channel] - look.usual[index][channel];
	});
	look.usual_difference =
		look.updates == 0 ? 0 : look.usual_difference + share * (difference - look.usual_difference);
	for (size_t index = 0; index < look.points.size(); ++index) {
		for (size_t channel = 0; channel < 3; ++channel)
			look.usual[index][channel] += share * (look.seen[index][channel] - look.usual[index][channel]);
	}
	look.updates = std::min(look.updates + 1, settled_updates);
}

void FaceConfidence::update(const FaceMesh &mesh, const CropSquare &square, const FacePoints &points,
			    const HeadPose &pose, float seconds)
{
	const Color skin = skin_color(mesh, square, points);
	const Point center = regions::face_center(points);
	const float largest_change = seconds / full_change_seconds;
	int strange_groups = 0;
	for (size_t group = 0; group < looks_.size(); ++group) {
		Look &look = looks_[group];
		const float inset = group == size_t(FaceGroup::Outline) ? outline_inset : 0.0F;
		for (size_t index = 0; index < look.points.size(); ++index) {
			const Point point = points[size_t(look.points[index])].flat();
			const Color color = mesh.color_at(place_in(square, point + (center - point) * inset));
			for (size_t channel = 0; channel < color.size(); ++channel)
				look.seen[index][channel] = std::min(
					(color[channel] + color_floor) / (skin[channel] + color_floor), largest_ratio);
		}
		const float visible = uncovered(look);
		learn(look, visible, seconds);
		strange_groups += visible < 0.3F;
		const TurnRange &range = turn_ranges[group];
		const float facing = pose.scale > 0 ? ramp(range.none, range.full, pose.towards_camera()) : 0.0F;
		const float target = std::min(visible, facing);
		groups_[group] += std::clamp(target - groups_[group], -largest_change, largest_change);
	}
	strange_ = strange_groups >= 3;
}

} // namespace kalvio::engine
