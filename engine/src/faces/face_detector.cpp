// SPDX-License-Identifier: GPL-2.0-or-later
#include "faces/face_detector.h"

#include "faces/face_regions.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kalvio::engine {

namespace {

// The anchors lie at the centers of a grid's cells, row by row; some grids have several boxes a cell.
struct AnchorGrid {
	int cells; // a side
	int boxes; // of each cell
};
constexpr AnchorGrid anchor_grids[] = {{16, 2}, {8, 6}};

constexpr float largest_logit = 100;

// Where the boxes' anchors lie, in places of the square.
const std::array<Point, FaceDetector::box_count> &anchors()
{
	static const auto made = [] {
		std::array<Point, FaceDetector::box_count> points;
		size_t number = 0;
		for (const AnchorGrid &grid : anchor_grids) {
			const float cell = 1 / static_cast<float>(grid.cells);
			for (int index = 0; index < grid.cells * grid.cells * grid.boxes; ++index) {
				const int place = index / grid.boxes;
				points[number++] = {(static_cast<float>(place % grid.cells) + 0.5F) * cell,
						    (static_cast<float>(place / grid.cells) + 0.5F) * cell};
			}
		}
		return points;
	}();
	return made;
}

} // namespace

float logistic(float logit)
{
	const float bounded = std::clamp(logit, -largest_logit, largest_logit);
	return std::nearbyint(65536.0F / (1 + std::exp(-bounded))) / 65536.0F;
}

float FaceDetection::size() const
{
	return regions::size_from(distance(keys[LeftEye], keys[RightEye]),
				  distance(middle(keys[LeftEye], keys[RightEye]), keys[Mouth]));
}

Point FaceDetection::face_center() const
{
	return middle(middle(keys[LeftEye], keys[RightEye]), keys[Mouth]);
}

CropSquare FaceDetection::mesh_square() const
{
	constexpr float enlargement = 1.5F; // the mesh's net wants so much around the face
	return {center, side * enlargement, direction(keys[LeftEye], keys[RightEye])};
}

FaceDetector::FaceDetector(std::unique_ptr<RunnableNet> net) : net_(std::move(net)) {}

// The boxes that may be faces, as candidates, the surest first.
int FaceDetector::decode()
{
	const std::span<const float> boxes = net_->output(0);
	const std::span<const float> logits = net_->output(1);
	constexpr float unit = 1.0F / input_side;
	int count = 0;
	for (int number = 0; number < box_count; ++number) {
		if (!(logits[size_t(number)] >= 0)) // the logit of least_score; also what is no number
			continue;
		const float *values = boxes.data() + size_t(number) * box_values;
		const Point anchor = anchors()[size_t(number)];
		Candidate &candidate = candidates_[size_t(count)];
		candidate.score = logistic(logits[size_t(number)]);
		candidate.number = number;
		candidate.center = anchor + Point{values[0], values[1]} * unit;
		candidate.width = values[2] * unit;
		candidate.height = values[3] * unit;
		bool sound = candidate.width > 0 && candidate.height > 0 && candidate.width < 4 && candidate.height < 4;
		for (size_t key = 0; key < candidate.keys.size(); ++key) {
			candidate.keys[key] = anchor + Point{values[4 + 2 * key], values[5 + 2 * key]} * unit;
			sound = sound && std::abs(candidate.keys[key].x) < 4 && std::abs(candidate.keys[key].y) < 4;
		}
		if (sound && std::abs(candidate.center.x) < 4 && std::abs(candidate.center.y) < 4)
			++count;
	}
	std::sort(candidates_.begin(), candidates_.begin() + count, [](const Candidate &left, const Candidate &right) {
		return left.score != right.score ? left.score > right.score : left.number < right.number;
	});
	return count;
}

float FaceDetector::overlap(const Candidate &left, const Candidate &right)
{
	const auto shared = [](float a, float a_side, float b, float b_side) {
		return std::max(0.0F,
				std::min(a + a_side / 2, b + b_side / 2) - std::max(a - a_side / 2, b - b_side / 2));
	};
	const float both = shared(left.center.x, left.width, right.center.x, right.width) *
			   shared(left.center.y, left.height, right.center.y, right.height);
	return both / (left.width * left.height + right.width * right.height - both);
}

// Non-maximum suppression that keeps of each group its weighted mean. A candidate that was merged gets the score 0.
void FaceDetector::merge(int candidates, const CropSquare &square)
{
	detection_count_ = 0;
	for (int first = 0; first < candidates && detection_count_ < max_detections; ++first) {
		const Candidate best = candidates_[size_t(first)];
		if (best.score <= 0)
			continue;
		Candidate sum = {};
		for (int other = first; other < candidates; ++other) {
			Candidate &candidate = candidates_[size_t(other)];
			if (candidate.score <= 0 || overlap(best, candidate) <= same_face_overlap)
				continue;
			const float weight = std::exchange(candidate.score, 0.0F);
			sum.score += weight;
			sum.center = sum.center + candidate.center * weight;
			sum.width += candidate.width * weight;
			sum.height += candidate.height * weight;
			for (size_t key = 0; key < sum.keys.size(); ++key)
				sum.keys[key] = sum.keys[key] + candidate.keys[key] * weight;
		}
		if (sum.score <= 0) // a box so flat that it does not overlap itself
			continue;
		FaceDetection &detection = detections_[size_t(detection_count_++)];
		const float share = 1 / sum.score;
		detection.score = best.score;
		detection.center = square.to_frame(sum.center * share);
		detection.side = std::max(sum.width, sum.height) * share * square.side;
		for (size_t key = 0; key < sum.keys.size(); ++key)
			detection.keys[key] = square.to_frame(sum.keys[key] * share);
	}
}

std::span<const FaceDetection> FaceDetector::find(const Frame &frame, const CropSquare &square)
{
	sampler_.sample(frame, square, input_side, CropBorder::Black, {2.0F / 255.0F, -1}, net_->input());
	net_->run();
	merge(decode(), square);
	return {detections_.data(), size_t(detection_count_)};
}

} // namespace kalvio::engine
