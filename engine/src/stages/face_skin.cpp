// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/face_skin.h"

#include "faces/face_regions.h"
#include "smoothstep.h"
#include "stages/skin_map.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kalvio::engine {

namespace {

constexpr float skin_learning_seconds = 0.5F;
constexpr float fading_seconds = 1.0F;

// Cells of a face that lie further from its middle hue are eyes, hair or a mask.
constexpr float own_hue_reach = 0.3F; // octaves
constexpr int least_skin_cells = 12;

// Bounds of what a face's hues may spread, in octaves: a flat picture's noise, and a beard.
constexpr float least_deviation[2] = {0.05F, 0.09F};
constexpr float largest_deviation[2] = {0.11F, 0.22F};
// Blemishes and flushed cheeks are skin, too.
constexpr float subject_redder = 1.6F;

// Distances from the face's middle hue, in its deviations.
struct Reach {
	float certain;
	float none;
};
constexpr Reach outside_reach = {1.8F, 3.2F};
constexpr Reach inside_reach = {3.0F, 5.0F};

// Octaves of luma below and above the face's usual range.
constexpr float luma_deviations = 1.6F;
constexpr float subject_shadow_from = 0.5F;
constexpr float subject_shadow_to = 1.3F;

// How much more than its share of the surroundings a color has to be the face's own.
constexpr float surroundings_weight = 2.0F;
constexpr float own_from = 0.30F;
constexpr float own_to = 0.55F;

// The body that belongs to a face, in sizes from its center: what lies within is not counted as surroundings.
constexpr float body_beside = 2.6F;
constexpr float body_above = 2.4F;
// Hands reach so far.
constexpr float reach_beside_from = 4.5F;
constexpr float reach_beside_to = 6.0F;
constexpr float reach_above_from = 2.4F;
constexpr float reach_above_to = 3.2F;

constexpr float feature_radius = 0.36F; // around eyes and mouth, in sizes
constexpr float measured_oval = 0.82F;  // of the oval: its edge may be hair or background

size_t bin_of(const CellColor &color)
{
	// -0.45..0.55 and -0.3..1.7 octaves.
	const auto index = [](float value, float first, float bins_per_octave) {
		return static_cast<size_t>(std::clamp((value - first) * bins_per_octave, 0.0F, 31.0F));
	};
	return index(color.sum, -0.45F, 32) * 32 + index(color.difference, -0.3F, 16);
}

// Binomial along both axes, twice, so that noise and the edges of bins do not matter.
void blur(std::array<float, 1024> &histogram)
{
	for (int round = 0; round < 2; ++round) {
		for (const size_t step : {size_t{1}, size_t{32}}) {
			const std::array<float, 1024> sharp = histogram;
			for (size_t bin = 0; bin < histogram.size(); ++bin) {
				const size_t place = bin / step % 32;
				histogram[bin] = 0.5F * sharp[bin] + 0.25F * (sharp[place > 0 ? bin - step : bin] +
									      sharp[place < 31 ? bin + step : bin]);
			}
		}
	}
}

void move_towards(float &value, float target, float share)
{
	value += share * (target - value);
}

} // namespace

void FaceSkin::reset()
{
	for (Subject &subject : subjects_) {
		subject.number = 0;
		subject.weight = 0;
	}
	surroundings_known_ = false;
}

void FaceSkin::place(Subject &subject, const TrackedFace &face, float cell_pixels) const
{
	const float scale = 1 / cell_pixels;
	const auto cell = [&](Point pixel) {
		return pixel * scale;
	};
	subject.center = cell(regions::face_center(face.points));
	subject.right = direction(face.points[regions::left_eye_outer_corner].flat(),
				  face.points[regions::right_eye_outer_corner].flat());
	subject.size = face.size * scale;
	for (size_t index = 0; index < subject.oval.size(); ++index)
		subject.oval[index] = cell(face.points[size_t(regions::oval[index])].flat());
	subject.features = {cell(face.points[regions::left_iris_center].flat()),
			    cell(face.points[regions::right_iris_center].flat()),
			    cell(regions::mouth_middle(face.points))};
}

// Where the middle of row `y` enters and leaves the oval; nothing where it does not.
FaceSkin::Span FaceSkin::span_at(const Subject &subject, int y)
{
	Span span = {INFINITY, -INFINITY};
	const float height = static_cast<float>(y) + 0.5F;
	Point from = subject.oval.back();
	for (const Point to : subject.oval) {
		if ((from.y > height) != (to.y > height)) {
			const float x = from.x + (to.x - from.x) * (height - from.y) / (to.y - from.y);
			span = {std::min(span.first, x), std::max(span.end, x)};
		}
		from = to;
	}
	return span;
}

// Learns the face's colors from the inner part of its oval. False where too little of it is in the frame.
bool FaceSkin::measure(Subject &subject, const CellGrid &grid, float seconds)
{
	// The parts of the face are gone through twice: first for the middle, then for the spread around it.
	const auto each = [&](auto &&take) {
		const auto [low, high] = std::minmax_element(subject.oval.begin(), subject.oval.end(),
							     [](Point a, Point b) { return a.y < b.y; });
		const auto bound = [&](float value) {
			return std::clamp(static_cast<int>(std::clamp(value, -1.0F, 1e6F)), 0, grid.rows - 1);
		};
		for (int y = bound(low->y); y <= bound(high->y); ++y) {
			const Span span = span_at(subject, y);
			const float middle_x = (span.first + span.end) / 2;
			const float half = (span.end - span.first) / 2 * measured_oval;
			if (!(half > 0))
				continue;
			const int first =
				std::clamp(static_cast<int>(std::max(middle_x - half, 0.0F)), 0, grid.columns);
			const int end =
				std::clamp(static_cast<int>(std::max(middle_x + half, 0.0F)) + 1, 0, grid.columns);
			for (int x = first; x < end; ++x) {
				const Point place = {static_cast<float>(x) + 0.5F, static_cast<float>(y) + 0.5F};
				bool skin = true;
				for (const Point feature : subject.features)
					skin = skin && distance(place, feature) > feature_radius * subject.size;
				if (skin)
					take(cell_color(grid.row(y) + size_t(x) * 4));
			}
		}
	};

	// A peak of the colors is safer than their mean, which hair and glasses pull away.
	Histogram found = {};
	each([&](const CellColor &color) { found[bin_of(color)] += 1; });
	Histogram smooth = found;
	blur(smooth);
	const auto peak_bin = static_cast<size_t>(std::max_element(smooth.begin(), smooth.end()) - smooth.begin());
	float count = 0;
	float sums[3] = {0, 0, 0};
	float squares[3] = {0, 0, 0};
	const float peak[2] = {(static_cast<float>(peak_bin / bins) + 0.5F) / 32 - 0.45F,
			       (static_cast<float>(peak_bin % bins) + 0.5F) / 16 - 0.3F};
	each([&](const CellColor &color) {
		if (std::abs(color.sum - peak[0]) > own_hue_reach ||
		    std::abs(color.difference - peak[1]) > own_hue_reach)
			return;
		const float values[3] = {color.sum, color.difference, color.luma};
		for (size_t axis = 0; axis < 3; ++axis) {
			sums[axis] += values[axis];
			squares[axis] += values[axis] * values[axis];
		}
		count += 1;
	});
	if (count < least_skin_cells)
		return false;

	const float share = subject.learnt ? seconds / (seconds + skin_learning_seconds) : 1.0F;
	const auto deviation = [&](size_t axis) {
		const float mean = sums[axis] / count;
		return std::sqrt(std::max(squares[axis] / count - mean * mean, 0.0F));
	};
	for (size_t axis = 0; axis < 2; ++axis) {
		move_towards(subject.hue[axis], sums[axis] / count, share);
		move_towards(subject.hue_deviation[axis],
			     std::clamp(deviation(axis), least_deviation[axis], largest_deviation[axis]), share);
	}
	move_towards(subject.luma, sums[2] / count, share);
	move_towards(subject.luma_deviation, deviation(2), share);
	for (size_t bin = 0; bin < found.size(); ++bin) {
		const float part = smooth[bin] / count;
		if (subject.learnt)
			move_towards(subject.colors[bin], part, share);
		else
			subject.colors[bin] = part;
	}
	subject.learnt = true;
	return true;
}

// The colors of all that belongs to nobody.
void FaceSkin::count_surroundings(const CellGrid &grid, float seconds)
{
	Histogram found = {};
	float count = 0;
	for (int y = 0; y < grid.rows; y += 2) {
		for (int x = 0; x < grid.columns; x += 2) {
			const Point place = {static_cast<float>(x) + 0.5F, static_cast<float>(y) + 0.5F};
			bool own = false;
			for (const Subject &subject : subjects_) {
				if (subject.number == 0)
					continue;
				const Point offset = place - subject.center;
				const float along = offset.x * subject.right.x + offset.y * subject.right.y;
				const float down = offset.y * subject.right.x - offset.x * subject.right.y;
				own = own || (std::abs(along) < body_beside * subject.size &&
					      down > -body_above * subject.size);
			}
			if (own)
				continue;
			found[bin_of(cell_color(grid.row(y) + size_t(x) * 4))] += 1;
			count += 1;
		}
	}
	blur(found);
	const float scale = count > 0 ? 1 / count : 0.0F;
	const float share = surroundings_known_ ? seconds / (seconds + skin_learning_seconds) : 1.0F;
	for (size_t bin = 0; bin < found.size(); ++bin) {
		if (!surroundings_known_)
			surroundings_[bin] = 0;
		move_towards(surroundings_[bin], found[bin] * scale, share);
	}
	surroundings_known_ = true;
}

void FaceSkin::compare(Subject &subject) const
{
	for (size_t bin = 0; bin < subject.ownness.size(); ++bin) {
		const float own = subject.colors[bin];
		const float all = own + surroundings_weight * surroundings_[bin];
		subject.ownness[bin] = all > 1e-6F ? smoothstep(own_from, own_to, own / all) : 1.0F;
	}
}

void FaceSkin::follow(std::span<const TrackedFace> faces, const CellGrid &grid, float seconds)
{
	// Other faces than ever before are another scene.
	const bool goes_on = std::any_of(faces.begin(), faces.end(), [&](const TrackedFace &face) {
		return std::any_of(subjects_.begin(), subjects_.end(),
				   [&](const Subject &known) { return known.number == face.number; });
	});
	if (!faces.empty() && !goes_on)
		reset();
	for (Subject &subject : subjects_) {
		subject.seen = false;
		subject.weight = std::max(subject.weight - seconds / fading_seconds, 0.0F);
	}
	for (const TrackedFace &face : faces) {
		auto subject = std::find_if(subjects_.begin(), subjects_.end(),
					    [&](const Subject &known) { return known.number == face.number; });
		if (subject == subjects_.end()) {
			// The one that has faded most makes place.
			subject = std::min_element(
				subjects_.begin(), subjects_.end(), [](const Subject &left, const Subject &right) {
					return std::pair(left.seen, left.weight) < std::pair(right.seen, right.weight);
				});
			subject->number = face.number;
			subject->weight = 0;
			subject->learnt = false;
		}
		subject->seen = true;
		place(*subject, face, grid.cell_pixels);
		if (measure(*subject, grid, seconds))
			subject->weight = std::max(subject->weight, face.presence);
	}
	for (Subject &subject : subjects_) {
		if (subject.weight <= 0 && !subject.seen)
			subject.number = 0;
	}
	count_surroundings(grid, seconds);
	for (Subject &subject : subjects_) {
		if (subject.number != 0 && subject.learnt)
			compare(subject);
	}
}

// How surely a cell is skin of this face.
float FaceSkin::likeness(const Subject &subject, const float *cell, Point place, const Span &span)
{
	const Point offset = place - subject.center;
	const float along = std::abs(offset.x * subject.right.x + offset.y * subject.right.y) / subject.size;
	const float above = (offset.x * subject.right.y - offset.y * subject.right.x) / subject.size;
	const float near = (1 - smoothstep(reach_beside_from, reach_beside_to, along)) *
			   (1 - smoothstep(reach_above_from, reach_above_to, above));
	if (near <= 0)
		return 0;

	const CellColor color = cell_color(cell);
	float offsets[2] = {color.sum - subject.hue[0], color.difference - subject.hue[1]};
	if (offsets[0] > 0)
		offsets[0] /= subject_redder;
	for (size_t axis = 0; axis < 2; ++axis)
		offsets[axis] /= subject.hue_deviation[axis];
	const float unlike = std::sqrt(offsets[0] * offsets[0] + offsets[1] * offsets[1]);
	if (unlike >= inside_reach.none)
		return 0;
	const float darker = subject.luma - luma_deviations * subject.luma_deviation - color.luma;
	const float lit = 1 - smoothstep(subject_shadow_from, subject_shadow_to, darker);
	const float outside = near * lit * (1 - smoothstep(outside_reach.certain, outside_reach.none, unlike)) *
			      subject.ownness[bin_of(color)];
	const float edge = 0.12F * subject.size;
	const float depth = std::min(place.x - span.first, span.end - place.x);
	const float inside = depth > 0 ? lit * smoothstep(0, edge, depth) *
						 (1 - smoothstep(inside_reach.certain, inside_reach.none, unlike))
				       : 0.0F;
	return subject.weight * std::max(outside, inside);
}

void FaceSkin::map(const CellGrid &grid, int y, float *out) const
{
	std::array<Span, max_tracked_faces> spans;
	for (size_t index = 0; index < spans.size(); ++index)
		spans[index] = span_at(subjects_[index], y);
	const float *cell = grid.row(y);
	for (int x = 0; x < grid.columns; ++x, cell += 4, out += 4) {
		const Point place = {static_cast<float>(x) + 0.5F, static_cast<float>(y) + 0.5F};
		float skin = 0;
		for (size_t index = 0; index < spans.size(); ++index) {
			const Subject &subject = subjects_[index];
			if (subject.number != 0 && subject.learnt && subject.weight > 0)
				skin = std::max(skin, likeness(subject, cell, place, spans[index]));
		}
		const float luma = luma_of_cell(cell) / 255.0F;
		out[0] = skin;
		out[1] = luma;
		out[2] = skin * luma;
		out[3] = luma * luma;
	}
}

} // namespace kalvio::engine
