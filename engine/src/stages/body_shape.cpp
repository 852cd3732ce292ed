// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/body_shape.h"

#include "faces/face_regions.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

namespace {

constexpr float least_size_with_body = 8; // pixels

// In face sizes.
constexpr float reach_to_a_side = 4.2F;
constexpr float axis_reach = 1.2F; // of the torso's middle from the face
// The edges follow the outermost of the rows so far away, so that the field is as smooth as the smoothest outline: a
// hand that ends beside a leg makes no step.
constexpr float edge_envelope = 0.8F;
constexpr float edge_smoothing = 0.8F;
constexpr float axis_smoothing = 1.5F;
constexpr float least_figure = 2.5F; // from the eyes downwards; less is a head without a body
constexpr float below_the_frame = 1;

// Rows that the matte may miss within a figure.
constexpr int most_missing_rows = 2;

// A whole figure ends so far above the frame's lower edge, and so far below the eyes. People who sit are shorter.
constexpr float margin_to_become_whole = 0.5F;
constexpr float margin_to_stay_whole = 0.3F;
constexpr float least_to_become_whole = 21;
constexpr float least_to_stay_whole = 19.5F;
constexpr float most_of_a_figure = 36;
constexpr float seconds_until_changed = 0.3F;
constexpr float whole_fade_s = 0.5F;
constexpr float shown_fade_s = 0.3F;

// Time constants, and the changes per face size from which on a quantity is followed faster.
struct Pace {
	float still_s;
	float gain; // of what exceeds `still_change`
	float still_change;
};
constexpr Pace edge_pace = {0.15F, 2, 0.1F};
constexpr Pace axis_pace = {0.4F, 1.5F, 0.3F};
constexpr Pace eyes_pace = {0.2F, 2, 0.15F};
constexpr Pace end_pace = {0.4F, 0, 0};
constexpr Pace size_pace = {0.4F, 4, 0.1F};

void approach(float &value, float seen, const Pace &pace, float size, float seconds)
{
	const float change = seen - value;
	const float still = std::min(seconds / pace.still_s, 1.0F);
	value += change * std::clamp(pace.gain * (std::fabs(change) / size - pace.still_change), still, 1.0F);
}

float step_towards(float value, bool up, float step)
{
	return up ? std::min(value + step, 1.0F) : std::max(value - step, 0.0F);
}

// Where the matte crosses the threshold between two cells of a row, of which `inner` is above it; in pixels.
float crossing(const float *row, int outer, int inner, float threshold, float cell)
{
	const float rise = row[inner] - row[outer];
	const float part = rise > 0 ? (row[inner] - threshold) / rise : 0;
	const auto from = static_cast<float>(inner);
	return (from + (static_cast<float>(outer - inner)) * part + 0.5F) * cell;
}

// The largest of `value`, times `sign`, of the rows up to `radius` away.
template <typename Rows, typename Value>
void spread(Rows &rows, int first, int end, int radius, float sign, Value value)
{
	std::array<float, SteadyMatte::rows> seen;
	for (int y = first; y < end; ++y)
		seen[size_t(y)] = sign * rows[size_t(y)].*value;
	for (int y = first; y < end; ++y) {
		const auto from = seen.begin() + std::max(y - radius, first);
		const auto to = seen.begin() + std::min(y + radius + 1, end);
		rows[size_t(y)].*value = sign * *std::max_element(from, to);
	}
}

// The mean of `value` over the rows up to `radius` away, twice.
template <typename Rows, typename Value>
void smooth(Rows &rows, int first, int end, int radius, Value value)
{
	std::array<float, SteadyMatte::rows + 1> sums;
	for (int pass = 0; pass < 2 && radius > 0; ++pass) {
		sums[0] = 0;
		for (int y = first; y < end; ++y)
			sums[size_t(y - first) + 1] = sums[size_t(y - first)] + rows[size_t(y)].*value;
		for (int y = first; y < end; ++y) {
			// The same number of rows on both sides.
			const int held = std::min({radius, y - first, end - 1 - y});
			const int low = y - held - first;
			const int high = y + held + 1 - first;
			rows[size_t(y)].*value =
				(sums[size_t(high)] - sums[size_t(low)]) / static_cast<float>(high - low);
		}
	}
}

} // namespace

// Fills the rows of `sight_` from its first one on, and says where they end.
void BodyShape::follow_runs(const CoarseMatte &matte, float threshold, float axis, int first_column, int end_column)
{
	const float cell = static_cast<float>(width_) / static_cast<float>(matte.columns);
	const float row_height = static_cast<float>(height_) / static_cast<float>(matte.rows);
	std::array<bool, SteadyMatte::columns> above{};
	const int start = std::clamp(static_cast<int>(axis / cell), first_column, end_column - 1);
	above[size_t(start)] = true;
	const float face_x = axis;
	int missing = 0;
	int last = sight_.first_row - 1;
	for (int y = sight_.first_row; y < matte.rows && missing <= most_missing_rows; ++y) {
		const float *row = matte.row(y);
		std::array<bool, SteadyMatte::columns> own{};
		BodyFigure::Row &found = sight_.rows[size_t(y)];
		bool any = false;
		int core_first = -1;
		int core_end = -1;
		for (int x = first_column; x < end_column; ++x) {
			if (row[x] < threshold)
				continue;
			const int run = x;
			bool touches = false;
			for (; x < end_column && row[x] >= threshold; ++x)
				touches = touches || above[size_t(x)];
			if (!touches)
				continue;
			std::fill(own.begin() + run, own.begin() + x, true);
			if (!any)
				found.left = run > first_column ? crossing(row, run - 1, run, threshold, cell)
								: static_cast<float>(run) * cell;
			found.right = x < end_column ? crossing(row, x, x - 1, threshold, cell)
						     : static_cast<float>(x) * cell;
			any = true;
			const auto middle = static_cast<int>(axis / cell);
			if (run <= middle && middle < x) {
				core_first = run;
				core_end = x;
			}
		}
		if (!any) {
			++missing;
			continue;
		}
		if (core_first >= 0) {
			const float core = static_cast<float>(core_first + core_end) * 0.5F * cell;
			const float reach = axis_reach * sight_.size;
			axis = std::clamp(core, face_x - reach, face_x + reach);
		}
		found.axis = std::clamp(axis, found.left, found.right);
		for (int gap = last + 1; gap < y && gap > sight_.first_row; ++gap)
			sight_.rows[size_t(gap)] = sight_.rows[size_t(gap) - 1];
		if (last < sight_.first_row)
			std::fill(sight_.rows.begin() + sight_.first_row, sight_.rows.begin() + y, found);
		above = own;
		missing = 0;
		last = y;
	}
	sight_.found = last >= sight_.first_row;
	if (!sight_.found)
		return;
	sight_.is_cut_off = last >= matte.rows - 2;
	sight_.end_y = static_cast<float>(last + 1) * row_height;
	std::fill(sight_.rows.begin() + last + 1, sight_.rows.end(), sight_.rows[size_t(last)]);
}

void BodyShape::smooth_rows(const CoarseMatte &matte)
{
	const float per_size = sight_.size * static_cast<float>(matte.rows) / static_cast<float>(height_);
	const auto radius = [per_size](float sizes) {
		return static_cast<int>(std::lround(sizes * per_size));
	};
	const int first = sight_.first_row;
	spread(sight_.rows, first, matte.rows, radius(edge_envelope), -1, &BodyFigure::Row::left);
	spread(sight_.rows, first, matte.rows, radius(edge_envelope), 1, &BodyFigure::Row::right);
	smooth(sight_.rows, first, matte.rows, radius(edge_smoothing), &BodyFigure::Row::left);
	smooth(sight_.rows, first, matte.rows, radius(edge_smoothing), &BodyFigure::Row::right);
	smooth(sight_.rows, first, matte.rows, radius(axis_smoothing), &BodyFigure::Row::axis);
}

void BodyShape::look(const TrackedFace &face, std::span<const TrackedFace> faces, const CoarseMatte &matte,
		     float threshold)
{
	const Point eyes = regions::eyes_middle(face.points);
	sight_.found = false;
	sight_.size = face.size;
	sight_.eyes_y = eyes.y;
	const float row_height = static_cast<float>(height_) / static_cast<float>(matte.rows);
	const auto chin_row = static_cast<int>(std::floor((eyes.y + body_heights::chin * face.size) / row_height));
	if (face.size < least_size_with_body || chin_row >= matte.rows)
		return;
	sight_.first_row = std::max(chin_row, 0);
	const float chin_x = face.points[regions::chin].x;
	float left = chin_x - reach_to_a_side * face.size;
	float right = chin_x + reach_to_a_side * face.size;
	for (const TrackedFace &other : faces) {
		const float between = (regions::eyes_middle(other.points).x + eyes.x) / 2;
		if (between > eyes.x)
			right = std::min(right, between);
		else if (between < eyes.x)
			left = std::max(left, between);
	}
	const float cell = static_cast<float>(width_) / static_cast<float>(matte.columns);
	const int first_column = std::clamp(static_cast<int>(left / cell), 0, matte.columns - 1);
	const int end_column = std::clamp(static_cast<int>(right / cell) + 1, first_column + 1, matte.columns);
	follow_runs(matte, threshold, chin_x, first_column, end_column);
	if (!sight_.found)
		return;
	if (sight_.is_cut_off)
		sight_.end_y = std::max(static_cast<float>(height_) + below_the_frame * face.size,
					eyes.y + body_heights::feet * face.size);
	sight_.found = sight_.end_y - eyes.y >= least_figure * face.size;
	smooth_rows(matte);
}

void BodyShape::follow_whole(const Sight &sight, int height, float seconds, Memory &memory)
{
	const float margin = (static_cast<float>(height) - sight.end_y) / sight.size;
	const float length = (sight.end_y - sight.eyes_y) / sight.size;
	const float least_margin = memory.is_whole ? margin_to_stay_whole : margin_to_become_whole;
	const float least_length = memory.is_whole ? least_to_stay_whole : least_to_become_whole;
	const bool seems_whole = sight.found && !sight.is_cut_off && margin >= least_margin && length >= least_length &&
				 length <= most_of_a_figure && sight.eyes_y > sight.size;
	memory.contrary_s = seems_whole != memory.is_whole ? memory.contrary_s + seconds : 0;
	if (memory.contrary_s >= seconds_until_changed) {
		memory.is_whole = seems_whole;
		memory.contrary_s = 0;
	}
	memory.whole = step_towards(memory.whole, memory.is_whole && seems_whole, seconds / whole_fade_s);
}

// Brings what is remembered of the face's figure to what was seen.
void BodyShape::follow(const TrackedFace &face, float seconds)
{
	int index = 0;
	while (index < count_ && figures_[size_t(index)].face_number != face.number)
		++index;
	BodyFigure &figure = figures_[size_t(index)];
	Memory &memory = memories_[size_t(index)];
	if (index == count_) {
		if (!sight_.found || count_ == max_tracked_faces)
			return;
		++count_;
		figure.face_number = face.number;
		memory = {.shown = 1};
		follow_whole(sight_, height_, seconds_until_changed, memory);
		memory.whole = memory.is_whole ? 1.0F : 0.0F;
		figure.size = sight_.size;
		figure.eyes_y = sight_.eyes_y;
		figure.end_y = sight_.end_y;
		figure.first_row = sight_.first_row;
		figure.rows = sight_.rows;
	} else {
		memory.shown = step_towards(memory.shown, sight_.found, seconds / shown_fade_s);
		follow_whole(sight_, height_, seconds, memory);
	}
	figure.shown = std::min(memory.shown, face.presence);
	figure.whole = figure.shown * memory.whole * memory.whole * (3 - 2 * memory.whole);
	if (!sight_.found)
		return;
	const float size = sight_.size;
	approach(figure.size, size, size_pace, size, seconds);
	approach(figure.eyes_y, sight_.eyes_y, eyes_pace, size, seconds);
	approach(figure.end_y, sight_.end_y, end_pace, size, seconds);
	// Rows above were not followed: they begin with what is seen.
	for (int y = sight_.first_row; y < std::min(figure.first_row, SteadyMatte::rows); ++y)
		figure.rows[size_t(y)] = sight_.rows[size_t(y)];
	for (int y = figure.first_row; y < SteadyMatte::rows; ++y) {
		BodyFigure::Row &row = figure.rows[size_t(y)];
		const BodyFigure::Row &seen = sight_.rows[size_t(std::max(y, sight_.first_row))];
		approach(row.left, seen.left, edge_pace, size, seconds);
		approach(row.right, seen.right, edge_pace, size, seconds);
		approach(row.axis, seen.axis, axis_pace, size, seconds);
		row.axis = std::clamp(row.axis, row.left, row.right);
	}
	figure.first_row = sight_.first_row;
}

void BodyShape::update(const CoarseMatte &matte, float presence, int width, int height,
		       std::span<const TrackedFace> faces, float seconds)
{
	if (width != width_ || height != height_)
		restart();
	width_ = width;
	height_ = height;
	// A figure goes with its face.
	for (int index = 0; index < count_;) {
		const auto is_own = [&](const TrackedFace &face) {
			return face.number == figures_[size_t(index)].face_number;
		};
		if (std::ranges::any_of(faces, is_own)) {
			++index;
			continue;
		}
		--count_;
		std::swap(figures_[size_t(index)], figures_[size_t(count_)]);
		std::swap(memories_[size_t(index)], memories_[size_t(count_)]);
	}
	for (const TrackedFace &face : faces) {
		sight_.found = false;
		if (presence > 0)
			look(face, faces, matte, 0.5F * presence);
		follow(face, seconds);
	}
}

} // namespace kalvio::engine
