// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/reshape_place.h"

#include "faces/face_regions.h"
#include "kernels/warp_kernels.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kalvio::engine {

namespace {

// Boxes are aligned to the largest cell, so that the grids of all faces lie on one lattice.
constexpr int box_alignment = 1 << kernels::max_warp_cell_shift;
// A face must be at least so many cells large.
constexpr float cells_in_size = 24;
constexpr float least_face_size = 8; // pixels
// What is done to a body is smoother.
constexpr float cells_in_size_beside_faces = 8;

// The largest cells of at most so many pixels that the grids are made of.
int cell_shift_for(float pixels)
{
	int shift = 1;
	while (shift < kernels::max_warp_cell_shift && static_cast<float>(2 << shift) <= pixels)
		++shift;
	return shift;
}

int align_down(float value)
{
	return static_cast<int>(std::floor(value / box_alignment)) * box_alignment;
}

void place_face(const TrackedFace &face, int width, int height, PlacedField &placed)
{
	placed.face = &face;
	placed.right = direction(face.points[regions::left_eye_outer_corner].flat(),
				 face.points[regions::right_eye_outer_corner].flat());
	placed.down = {-placed.right.y, placed.right.x};
	placed.size = face.size;
	const auto &rotation = face.pose.rotation;
	const float turned = std::sqrt(rotation[0][0] * rotation[0][0] + rotation[1][0] * rotation[1][0]);
	placed.width = face.size * std::clamp(turned, 0.4F, 1.0F);
	placed.cell_shift = cell_shift_for(face.size / cells_in_size);

	constexpr float far = std::numeric_limits<float>::max();
	Point low = {far, far};
	Point high = {-far, -far};
	for (const int point : regions::oval) {
		const Point place = face.points[size_t(point)].flat();
		low = {std::min(low.x, place.x), std::min(low.y, place.y)};
		high = {std::max(high.x, place.x), std::max(high.y, place.y)};
	}
	// A cell more, so that the outermost nodes are at rest and their pixels' neighbors lie within.
	const float margin = face_band_in_sizes * face.size + static_cast<float>(2 << placed.cell_shift);
	placed.box = {std::max(align_down(low.x - margin), 0), std::max(align_down(low.y - margin), 0),
		      std::min(align_down(high.x + margin) + box_alignment, width),
		      std::min(align_down(high.y + margin) + box_alignment, height)};
	if (placed.box.is_empty())
		placed.face = nullptr;
}

void place_figure(const BodyFigure &figure, int width, int height, PlacedField &placed)
{
	const int shift = cell_shift_for(figure.size / cells_in_size_beside_faces);
	placed.cell_shift = placed.face != nullptr ? std::min(placed.cell_shift, shift) : shift;
	const BodyExtent extent = body_extent(figure, width, height);
	const auto margin = static_cast<float>(2 << shift);
	placed.figure_box = {std::max(align_down(extent.left - margin), 0),
			     std::max(align_down(extent.top - margin), 0),
			     std::min(align_down(extent.right + margin) + box_alignment, width),
			     std::min(align_down(extent.bottom + margin) + box_alignment, height)};
	if (!placed.figure_box.is_empty())
		placed.figure = &figure;
}

} // namespace

bool FieldBox::overlaps(const FieldBox &other) const
{
	return left < other.right && other.left < right && top < other.bottom && other.top < bottom;
}

void FieldBox::include(const FieldBox &other)
{
	left = std::min(left, other.left);
	top = std::min(top, other.top);
	right = std::max(right, other.right);
	bottom = std::max(bottom, other.bottom);
}

FieldBox PlacedField::whole_box() const
{
	FieldBox whole = box.is_empty() ? figure_box : box;
	if (!figure_box.is_empty())
		whole.include(figure_box);
	return whole;
}

float shown_amount(const ReshapeMove &move, const TrackedFace &face, const std::array<float, KL_RESHAPE_COUNT> &amounts)
{
	return amounts[size_t(move.key)] * face.confidence[size_t(move.group)];
}

int place_fields(int width, int height, const std::array<float, KL_RESHAPE_COUNT> &amounts,
		 std::span<const TrackedFace> faces, const BodyRequest &bodies,
		 std::array<PlacedField, max_tracked_faces> &placed)
{
	int count = 0;
	for (const TrackedFace &face : faces) {
		const auto shows = [&](const ReshapeMove &move) {
			return shown_amount(move, face, amounts) != 0;
		};
		PlacedField next;
		if (face.size >= least_face_size && std::ranges::any_of(reshape_moves(), shows))
			place_face(face, width, height, next);
		const auto figure = std::ranges::find(bodies.figures, face.number, &BodyFigure::face_number);
		if (figure != bodies.figures.end() && moves_body(*figure, bodies.amounts))
			place_figure(*figure, width, height, next);
		if (next.face != nullptr || next.figure != nullptr)
			placed[size_t(count++)] = next;
	}
	return count;
}

void join_overlapping(std::span<PlacedField> placed, std::span<FieldBox> boxes)
{
	for (size_t index = 0; index < placed.size(); ++index) {
		boxes[index] = placed[index].whole_box();
		placed[index].region = static_cast<int>(index);
	}
	const auto join = [&](size_t kept, size_t joined) {
		boxes[kept].include(boxes[joined]);
		for (PlacedField &one : placed) {
			if (one.region == static_cast<int>(joined))
				one.region = static_cast<int>(kept);
		}
		boxes[joined] = {};
	};
	for (bool joined = true; joined;) {
		joined = false;
		for (size_t first = 0; first < placed.size(); ++first) {
			for (size_t second = first + 1; second < placed.size(); ++second) {
				if (boxes[first].overlaps(boxes[second])) {
					join(first, second);
					joined = true;
				}
			}
		}
	}
}

} // namespace kalvio::engine
