// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/reshape_field.h"

#include "faces/face_regions.h"
#include "faces/mirrored_point.h"
#include "pool.h"
#include "stages/reshape_moves.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kalvio::engine {

namespace {

// Wendland's function with two continuous derivatives in up to three dimensions.
float wendland(float t)
{
	const float rest = 1 - t;
	const float squared = rest * rest;
	return squared * squared * (4 * t + 1);
}

// How far a place follows its neighbors, whose weights together are `weight`: smooth, wholly from 1 on.
float reach(float weight)
{
	return weight >= 1 ? 1 : 2 * weight / (1 + weight * weight);
}

// The first and the end of the nodes between two frame coordinates along an axis.
std::array<int, 2> nodes_between(float from, float to, int first, int cell_shift, int count)
{
	const auto cell = static_cast<float>(1 << cell_shift);
	const float origin = static_cast<float>(first) + 0.5F;
	const int low = static_cast<int>(std::ceil((from - origin) / cell));
	const int high = static_cast<int>(std::floor((to - origin) / cell)) + 1;
	return {std::clamp(low, 0, count), std::clamp(high, 0, count)};
}

} // namespace

bool ReshapeField::is_needed(const Settings &settings)
{
	return needs_bodies(settings) ||
	       std::ranges::any_of(settings.face_reshape, [](float amount) { return amount != 0; });
}

bool ReshapeField::needs_bodies(const Settings &settings)
{
	return std::ranges::any_of(settings.body_reshape, [](float amount) { return amount != 0; });
}

void ReshapeField::add_part(const Part &part, Rows rows)
{
	// Of the nodes between two frame coordinates, those in the given rows.
	const auto rows_between = [&](float from, float to) {
		const auto [first, end] = nodes_between(from, to, field_.y, field_.cell_shift, field_.rows);
		return Rows{std::max(first, rows.first), std::min(end, rows.end)};
	};
	const auto [first_column, end_column] = nodes_between(part.low.x - part.radius, part.high.x + part.radius,
							      field_.x, field_.cell_shift, field_.columns);
	const auto [first_row, end_row] = rows_between(part.low.y - part.radius, part.high.y + part.radius);
	for (int row = first_row; row < end_row; ++row) {
		const auto from = static_cast<ptrdiff_t>(field_.index(first_column, row));
		const int count = std::max(end_column - first_column, 0);
		std::fill_n(sums_.weights.begin() + from, count, 0.0F);
		std::fill_n(sums_.shares.begin() + from, count, 0.0F);
		std::fill_n(sums_.across.begin() + from, count, 0.0F);
		std::fill_n(sums_.down.begin() + from, count, 0.0F);
	}
	const float per_radius = 1 / part.radius;
	for (size_t number = part.first_handle; number < part.end_handle; ++number) {
		const Handle &handle = handles_[number];
		const auto [top, bottom] = rows_between(handle.place.y - part.radius, handle.place.y + part.radius);
		for (int row = top; row < bottom; ++row) {
			const float dy = (field_.node_y(row) - handle.place.y) * per_radius;
			const float half = std::sqrt(std::max(1 - dy * dy, 0.0F)) * part.radius;
			const auto [left, right] = nodes_between(handle.place.x - half, handle.place.x + half, field_.x,
								 field_.cell_shift, field_.columns);
			for (int column = left; column < right; ++column) {
				const float dx = (field_.node_x(column) - handle.place.x) * per_radius;
				const float weight = wendland(std::min(std::sqrt(dx * dx + dy * dy), 1.0F));
				const size_t index = field_.index(column, row);
				sums_.weights[index] += weight;
				sums_.shares[index] += weight * handle.share;
				sums_.across[index] += weight * handle.shift.x;
				sums_.down[index] += weight * handle.shift.y;
			}
		}
	}
	for (int row = first_row; row < end_row; ++row) {
		for (int column = first_column; column < end_column; ++column) {
			const size_t index = field_.index(column, row);
			const float weight = sums_.weights[index];
			if (weight <= 0)
				continue;
			const float follow = reach(weight) / weight;
			field_.across[index] += follow * sums_.across[index];
			field_.down[index] += follow * sums_.down[index];
			if (!part.is_affine)
				continue;
			const Point offset = Point{field_.node_x(column), field_.node_y(row)} - part.center;
			const float share = follow * sums_.shares[index];
			field_.across[index] += share * (part.right.x * offset.x + part.down.x * offset.y);
			field_.down[index] += share * (part.right.y * offset.x + part.down.y * offset.y);
		}
	}
}

// The squared distance of each node from the oval: 0 within it, `band` squared where it is farther away than that.
void ReshapeField::measure_distances(const PlacedField &placed, float band, Rows rows)
{
	const FacePoints &points = placed.face->points;
	constexpr size_t count = std::size(regions::oval);
	const auto corner = [&](size_t index) {
		return points[size_t(regions::oval[index % count])].flat();
	};
	std::fill(distances_.begin() + static_cast<ptrdiff_t>(field_.index(0, rows.first)),
		  distances_.begin() + static_cast<ptrdiff_t>(field_.index(0, rows.end)), band * band);
	for (size_t index = 0; index < count; ++index) {
		const Point from = corner(index);
		const Point along = corner(index + 1) - from;
		const Point to = from + along;
		const float squared = along.x * along.x + along.y * along.y;
		const float share = squared > 0 ? 1 / squared : 0;
		const auto [first_column, end_column] =
			nodes_between(std::min(from.x, to.x) - band, std::max(from.x, to.x) + band, field_.x,
				      field_.cell_shift, field_.columns);
		const auto [first_row, end_row] =
			nodes_between(std::min(from.y, to.y) - band, std::max(from.y, to.y) + band, field_.y,
				      field_.cell_shift, field_.rows);
		for (int row = std::max(first_row, rows.first); row < std::min(end_row, rows.end); ++row) {
			for (int column = first_column; column < end_column; ++column) {
				const Point offset = Point{field_.node_x(column), field_.node_y(row)} - from;
				const float part =
					std::clamp((offset.x * along.x + offset.y * along.y) * share, 0.0F, 1.0F);
				const Point away = offset - along * part;
				float &distance = distances_[field_.index(column, row)];
				distance = std::min(distance, away.x * away.x + away.y * away.y);
			}
		}
	}
	// Within: by the even-odd rule.
	for (int row = rows.first; row < rows.end; ++row) {
		const float y = field_.node_y(row);
		std::array<float, count> crossings;
		size_t crossed = 0;
		for (size_t index = 0; index < count; ++index) {
			const Point from = corner(index);
			const Point to = corner(index + 1);
			if ((from.y <= y) != (to.y <= y))
				crossings[crossed++] = from.x + (to.x - from.x) * (y - from.y) / (to.y - from.y);
		}
		std::sort(crossings.begin(), crossings.begin() + static_cast<ptrdiff_t>(crossed));
		for (size_t pair = 0; pair + 1 < crossed; pair += 2) {
			const auto [first, end] = nodes_between(crossings[pair], crossings[pair + 1], field_.x,
								field_.cell_shift, field_.columns);
			for (int column = first; column < end; ++column)
				distances_[field_.index(column, row)] = 0;
		}
	}
}

void ReshapeField::fade_outside(const PlacedField &placed, int width, int height, Rows rows)
{
	const float band = face_band_in_sizes * placed.size;
	measure_distances(placed, band, rows);
	const auto from_edge = [band](float place, int size) {
		const float inset = std::min(place - 0.5F, static_cast<float>(size) - 0.5F - place);
		return std::clamp(inset / band, 0.0F, 1.0F);
	};
	for (int row = rows.first; row < rows.end; ++row) {
		const float edge_y = from_edge(field_.node_y(row), height);
		for (int column = 0; column < field_.columns; ++column) {
			const size_t index = field_.index(column, row);
			const float t = std::min(std::sqrt(distances_[index]) / band, 1.0F);
			const float inside = 1 - t * t * (3 - 2 * t);
			field_.across[index] *= inside * from_edge(field_.node_x(column), width);
			field_.down[index] *= inside * edge_y;
		}
	}
}

// -1: the left side alone, 1: the right one, 0: both as one part.
void ReshapeField::collect_side(const PlacedField &placed, const ReshapeMove &move, float amount, int side)
{
	const FacePoints &points = placed.face->points;
	const auto in_face = [&](float x, float y) {
		return placed.right * x + placed.down * y;
	};
	float shares = 0;
	constexpr float far = std::numeric_limits<float>::max();
	Part part = {};
	part.first_handle = handles_.size();
	part.low = {far, far};
	part.high = {-far, -far};
	part.radius = move.radius * placed.size;
	const auto add_point = [&](int point, int other, float outwards, float share) {
		const Point place = points[size_t(point)].flat();
		const Point opposite = points[size_t(other)].flat();
		const Point shift = in_face(move.shift.x * outwards * placed.width, move.shift.y * placed.size) +
				    (opposite - place) * (0.5F * move.to_middle);
		handles_.push_back({place, shift * (share * amount), share});
		part.center = part.center + place * std::abs(share);
		shares += std::abs(share);
		part.low = {std::min(part.low.x, place.x), std::min(part.low.y, place.y)};
		part.high = {std::max(part.high.x, place.x), std::max(part.high.y, place.y)};
	};
	for (const MovedPoint &moved : move.points) {
		const int other = mirrored_point(moved.point);
		if (other == moved.point)
			add_point(other, other, 0, moved.share);
		else if (side <= 0)
			add_point(moved.point, other, -1, moved.share);
		if (other != moved.point && side >= 0)
			add_point(other, moved.point, 1, moved.share);
	}
	part.end_handle = handles_.size();
	part.center = part.center * (1 / shares);
	const float turn = move.turn * amount * static_cast<float>(-side);
	part.is_affine = move.scale.x != 0 || move.scale.y != 0 || turn != 0;
	// In the face's axes {scale x, -turn; turn, scale y}.
	const Point along = in_face(move.scale.x * amount, turn);
	const Point away = in_face(-turn, move.scale.y * amount);
	part.right = along * placed.right.x + away * placed.down.x;
	part.down = along * placed.right.y + away * placed.down.y;
	parts_.push_back(part);
}

void ReshapeField::collect_parts(const PlacedField &placed, const std::array<float, KL_RESHAPE_COUNT> &amounts)
{
	handles_.clear();
	parts_.clear();
	for (const ReshapeMove &move : reshape_moves()) {
		const float amount = shown_amount(move, *placed.face, amounts);
		if (amount == 0)
			continue;
		if (move.sides == MoveSides::Each) {
			collect_side(placed, move, amount, -1);
			collect_side(placed, move, amount, 1);
		} else {
			collect_side(placed, move, amount, 0);
		}
	}
}

void ReshapeField::add_face(const PlacedField &placed, const std::array<float, KL_RESHAPE_COUNT> &amounts, int width,
			    int height, Pool &pool, DisplacementGrid &grid)
{
	const int cell = 1 << grid.cell_shift;
	const int columns = (placed.box.right - placed.box.left + cell - 1) / cell + 1;
	const int rows = (placed.box.bottom - placed.box.top + cell - 1) / cell + 1;
	field_.reset(placed.box.left, placed.box.top, grid.cell_shift, columns, rows);
	for (std::vector<float> *plane : {&sums_.weights, &sums_.shares, &sums_.across, &sums_.down, &distances_})
		plane->resize(size_t(columns) * size_t(rows));
	collect_parts(placed, amounts);
	constexpr int rows_per_band = 8;
	pool.run((rows + rows_per_band - 1) / rows_per_band, [&](int band, int /*slot*/) {
		const Rows own = {band * rows_per_band, std::min((band + 1) * rows_per_band, rows)};
		for (const Part &part : parts_)
			add_part(part, own);
		fade_outside(placed, width, height, own);
	});
	const float share = unfolded_share(field_, least_area);
	const int first_column = (field_.x - grid.x) >> grid.cell_shift;
	const int first_row = (field_.y - grid.y) >> grid.cell_shift;
	for (int row = 0; row < rows; ++row) {
		for (int column = 0; column < columns; ++column) {
			const size_t to = grid.index(first_column + column, first_row + row);
			grid.across[to] += share * field_.across[field_.index(column, row)];
			grid.down[to] += share * field_.down[field_.index(column, row)];
		}
	}
}

void ReshapeField::finish(Region &region)
{
	DisplacementGrid &grid = region.grid;
	const float share = unfolded_share(grid, least_area);
	const size_t count = grid.across.size();
	region.nodes.resize(count);
	region.spans.resize(size_t(grid.rows - 1));
	// Output pixels are read against the displacement.
	const auto fixed = [share](float pixels) {
		return static_cast<int32_t>(std::floor(-pixels * share * 65536.0F + 0.5F));
	};
	int32_t largest = 0;
	for (size_t index = 0; index < count; ++index) {
		kernels::WarpNode &node = region.nodes[index];
		node = {fixed(grid.across[index]), fixed(grid.down[index])};
		largest = std::max({largest, std::abs(node.x), std::abs(node.y)});
	}
	region.reach = (largest >> 16) + 1;
	const auto is_at_rest = [&](int column, int row) {
		const kernels::WarpNode &node = region.nodes[grid.index(column, row)];
		return node.x == 0 && node.y == 0;
	};
	for (int row = 0; row + 1 < grid.rows; ++row) {
		int first = grid.columns - 1;
		int end = 0;
		for (int column = 0; column < grid.columns; ++column) {
			if (is_at_rest(column, row) && is_at_rest(column, row + 1))
				continue;
			first = std::min(first, std::max(column - 1, 0));
			end = std::min(column + 1, grid.columns - 1);
		}
		region.spans[size_t(row)] = {std::min(first, end), end};
	}
}

void ReshapeField::build(int width, int height, const std::array<float, KL_RESHAPE_COUNT> &amounts,
			 std::span<const TrackedFace> faces, Pool &pool, const BodyRequest &bodies)
{
	std::array<PlacedField, max_tracked_faces> places;
	const int count = place_fields(width, height, amounts, faces, bodies, places);
	const std::span<PlacedField> placed(places.data(), size_t(count));
	std::array<FieldBox, max_tracked_faces> boxes;
	join_overlapping(placed, boxes);
	region_count_ = 0;
	for (int index = 0; index < count; ++index) {
		const FieldBox &box = boxes[size_t(index)];
		if (box.is_empty())
			continue;
		int shift = kernels::max_warp_cell_shift;
		for (const PlacedField &one : placed) {
			if (one.region == index)
				shift = std::min(shift, one.cell_shift);
		}
		const int cell = 1 << shift;
		Region &region = regions_[size_t(region_count_++)];
		region.grid.reset(box.left, box.top, shift, (box.right - box.left + cell - 1) / cell + 1,
				  (box.bottom - box.top + cell - 1) / cell + 1);
		for (const PlacedField &one : placed) {
			if (one.region != index)
				continue;
			if (one.face != nullptr)
				add_face(one, amounts, width, height, pool, region.grid);
			if (one.figure != nullptr)
				add_body_moves(*one.figure, bodies.amounts, width, height, region.grid);
		}
		finish(region);
	}
}

} // namespace kalvio::engine
