// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/body_moves.h"

#include "smoothstep.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

namespace {

// What each setting does at 1.
constexpr float slim_squeeze = 0.08F; // of the distance from the torso's middle
constexpr float shoulder_squeeze = 0.07F;
constexpr float waist_squeeze = 0.085F;
constexpr float leg_squeeze = 0.07F;
constexpr float arm_squeeze = 0.055F;      // of the same distance, but only the outer part is compressed
constexpr float bust_growth = 0.25F;       // of lengths at the center
constexpr float torso_growth = 0.06F;      // of the way from the shoulders to the hips
constexpr float leg_rise = 0.04F;          // of the legs, by which the hips rise
constexpr float leg_fall = 0.03F;          // of the legs, by which the feet go down
constexpr float lower_leg_share = 0.04F;   // of the lower legs, by which the knees rise and the feet go down
constexpr float knees_on_legs = 0.44F;     // how far down the legs
constexpr float hips_to_feet = 0.57F;      // the legs' part of the way from the eyes to the feet
constexpr float most_of_the_margin = 0.4F; // the feet go down by no more of what is free below them

// Where the arms lie, as part of the distance between the middle and the edge.
constexpr float arms_from = 0.45F;

// In face sizes.
constexpr float bust_radius = 1.7F;
constexpr float bust_from_axis = 1.3F;
constexpr float most_bust_from_axis = 0.45F; // of the silhouette's half width
constexpr float end_fade = 0.5F;

// A figure's heights, in face sizes below the eyes.
struct Heights {
	explicit Heights(const BodyFigure &figure, int height)
		: end((figure.end_y - figure.eyes_y) / figure.size),
		  frame_end((static_cast<float>(height) - figure.eyes_y) / figure.size), hips(end * (1 - hips_to_feet)),
		  knees(hips + knees_on_legs * (end - hips))
	{
	}

	float end;
	float frame_end;
	float hips; // of a whole figure
	float knees;
};

float amount_of(const BodyAmounts &amounts, int key)
{
	return std::max(amounts[size_t(key)], 0.0F);
}

// How far each setting acts at a height: 0..1.
struct Profile {
	float slim;
	float shoulders;
	float waist;
	float arms;
	float legs;
};

Profile profile_at(float height, const Heights &heights)
{
	using namespace body_heights;
	const float until_end = smoothstep(heights.end + end_fade, heights.end - end_fade, height);
	return {smoothstep(chin + 0.3F, shoulders + 0.5F, height) * until_end,
		smoothstep(chin + 0.2F, shoulders - 0.1F, height) * smoothstep(chest + 1.2F, shoulders + 1, height) *
			until_end,
		smoothstep(chest + 0.3F, waist - 0.6F, height) * smoothstep(hips + 0.6F, waist + 0.6F, height) *
			until_end,
		smoothstep(shoulders - 0.4F, shoulders + 1, height) * smoothstep(hips + 2, hips, height) * until_end,
		smoothstep(heights.hips + 0.8F, heights.hips + 3, height) * until_end};
}

// Several squeezes together stay below the most that is allowed, and one alone is what it is.
float joined(float first, float second)
{
	return first + second - first * second / most_body_squeeze;
}

// What a row of the figure does.
struct RowMove {
	float squeeze = 0;
	float arms = 0;
	float down = 0; // pixels
};

float torso_down(float height, const Heights &heights, float amount)
{
	using namespace body_heights;
	// Where something hides the hips, the torso ends there, and what hides it stays in its place.
	const float lowest = std::min(hips, shoulders + 0.6F * (heights.end - shoulders));
	const float way = torso_growth * amount * (lowest - shoulders);
	return way * ramp(shoulders, lowest, height) * smoothstep(heights.end, lowest, height);
}

float legs_down(float height, const Heights &heights, float long_amount, float stretch_amount)
{
	using namespace body_heights;
	const float legs = heights.end - heights.hips;
	const float lower_legs = heights.end - heights.knees;
	const float hips_up = leg_rise * legs * long_amount;
	const float knees_up = lower_leg_share * lower_legs * stretch_amount;
	const float margin = heights.frame_end - heights.end;
	const float feet_down = std::min(leg_fall * legs * long_amount + lower_leg_share * lower_legs * stretch_amount,
					 most_of_the_margin * margin);
	const float reach = std::min(margin, 2 * body_band_in_sizes);
	const float to_hips = ramp(shoulders, heights.hips, height);
	const float along_legs = ramp(heights.hips, heights.end, height);
	const float bent = height < heights.knees ? ramp(heights.hips, heights.knees, height)
						  : 1 - ramp(heights.knees, heights.end, height);
	const float below = smoothstep(heights.end + reach, heights.end, height);
	return (-hips_up * to_hips * (1 - along_legs) - knees_up * bent + feet_down * along_legs) * below;
}

RowMove move_at(float y, const BodyFigure &figure, const BodyAmounts &amounts, const Heights &heights)
{
	const float height = (y - figure.eyes_y) / figure.size;
	const Profile profile = profile_at(height, heights);
	const auto share = [&](int key, float most, float here) {
		return amount_of(amounts, key) * most * here;
	};
	const float whole = figure.shown > 0 ? figure.whole / figure.shown : 0;
	RowMove move;
	move.squeeze = share(KL_BODY_RESHAPE_BODY_SLIM, slim_squeeze, profile.slim);
	move.squeeze = joined(move.squeeze, share(KL_BODY_RESHAPE_SHOULDER_SLIM, shoulder_squeeze, profile.shoulders));
	move.squeeze = joined(move.squeeze, share(KL_BODY_RESHAPE_WAIST_SLIM, waist_squeeze, profile.waist));
	move.squeeze = joined(move.squeeze, share(KL_BODY_RESHAPE_LEG_SLIM, leg_squeeze, profile.legs) * whole);
	const float with_arms = joined(move.squeeze, share(KL_BODY_RESHAPE_ARM_SLIM, arm_squeeze, profile.arms));
	move.arms = (with_arms - move.squeeze) * figure.shown;
	move.squeeze *= figure.shown;
	move.down = torso_down(height, heights, amount_of(amounts, KL_BODY_RESHAPE_TORSO_LONG)) * figure.shown;
	if (figure.whole > 0)
		move.down += legs_down(height, heights, amount_of(amounts, KL_BODY_RESHAPE_LEG_LONG),
				       amount_of(amounts, KL_BODY_RESHAPE_LEG_STRETCH)) *
			     figure.whole;
	move.down *= figure.size;
	return move;
}

BodyFigure::Row row_at(const BodyFigure &figure, float y, int height)
{
	constexpr int count = SteadyMatte::rows;
	const CoarsePlace place(y * static_cast<float>(count) / static_cast<float>(height) - 0.5F, count);
	const BodyFigure::Row &first = figure.rows[size_t(std::max(place.first, figure.first_row))];
	const BodyFigure::Row &second = figure.rows[size_t(std::max(place.second, figure.first_row))];
	const auto mix = [&](float a, float b) {
		return a + (b - a) * place.part;
	};
	return {mix(first.left, second.left), mix(first.right, second.right), mix(first.axis, second.axis)};
}

// The first and the end of the nodes of a grid's axis that lie between two frame coordinates.
std::array<int, 2> nodes_within(float from, float to, float origin, int cell, int count)
{
	const auto low = static_cast<int>(std::ceil((from - origin) / static_cast<float>(cell)));
	const auto high = static_cast<int>(std::floor((to - origin) / static_cast<float>(cell))) + 1;
	return {std::clamp(low, 0, count), std::clamp(high, 0, count)};
}

struct Sides {
	float band;
	float frame_width;

	// What of a displacement across is left near the frame's edges.
	float from_edge(float x) const
	{
		return std::clamp(std::min(x - 0.5F, frame_width - 0.5F - x) / band, 0.0F, 1.0F);
	}
};

void add_row(const BodyFigure::Row &row, const RowMove &move, const Sides &sides, int node_row, DisplacementGrid &grid)
{
	const auto [first, end] =
		nodes_within(row.left - sides.band, row.right + sides.band, grid.node_x(0), grid.cell(), grid.columns);
	const float per_left = 1 / std::max(row.axis - row.left, 1.0F);
	const float per_right = 1 / std::max(row.right - row.axis, 1.0F);
	for (int column = first; column < end; ++column) {
		const float x = grid.node_x(column);
		const float offset = x - row.axis;
		const float half = offset < 0 ? row.axis - row.left : row.right - row.axis;
		const float way = std::fabs(offset);
		const float window = smoothstep(sides.band, 0, way - half);
		const float outer = std::clamp(
			(way * (offset < 0 ? per_left : per_right) - arms_from) / (1 - arms_from), 0.0F, 1.0F);
		const float inwards =
			move.squeeze * std::min(way, half) + move.arms * half * outer * outer * (3 - 2 * outer);
		const size_t index = grid.index(column, node_row);
		grid.across[index] += (offset < 0 ? inwards : -inwards) * window * sides.from_edge(x);
		grid.down[index] += move.down * window;
	}
}

// A part of the picture grows about a center: most at it, and not at all from `radius` on.
void add_growth(Point center, float radius, float growth, const Sides &sides, DisplacementGrid &grid)
{
	const auto [top, bottom] =
		nodes_within(center.y - radius, center.y + radius, grid.node_y(0), grid.cell(), grid.rows);
	const auto [left, right] =
		nodes_within(center.x - radius, center.x + radius, grid.node_x(0), grid.cell(), grid.columns);
	for (int row = top; row < bottom; ++row) {
		for (int column = left; column < right; ++column) {
			const Point offset = Point{grid.node_x(column), grid.node_y(row)} - center;
			const float rest = 1 - (offset.x * offset.x + offset.y * offset.y) / (radius * radius);
			if (rest <= 0)
				continue;
			const float share = growth * rest * rest;
			const size_t index = grid.index(column, row);
			grid.across[index] += share * offset.x * sides.from_edge(grid.node_x(column));
			grid.down[index] += share * offset.y;
		}
	}
}

void add_bust(const BodyFigure &figure, float amount, int height, const Heights &heights, const Sides &sides,
	      DisplacementGrid &grid)
{
	const float y = figure.height_of(body_heights::chest);
	const float seen = smoothstep(body_heights::chest - 1, body_heights::chest + bust_radius, heights.end);
	const float growth = bust_growth * amount * figure.shown * seen;
	if (growth <= 0)
		return;
	const BodyFigure::Row row = row_at(figure, y, height);
	for (const float side : {-1.0F, 1.0F}) {
		const float half = side < 0 ? row.axis - row.left : row.right - row.axis;
		const float away = std::min(bust_from_axis * figure.size, most_bust_from_axis * half);
		// Not beyond the silhouette.
		const float radius = std::min(bust_radius * figure.size, half);
		if (radius > 1)
			add_growth({row.axis + side * away, y}, radius, growth, sides, grid);
	}
}

} // namespace

bool moves_body(const BodyFigure &figure, const BodyAmounts &amounts)
{
	if (figure.shown <= 0)
		return false;
	for (int key = 0; key < KL_BODY_RESHAPE_COUNT; ++key) {
		const bool is_of_legs = key == KL_BODY_RESHAPE_LEG_SLIM || key == KL_BODY_RESHAPE_LEG_LONG ||
					key == KL_BODY_RESHAPE_LEG_STRETCH;
		if (amount_of(amounts, key) > 0 && (!is_of_legs || figure.whole > 0))
			return true;
	}
	return false;
}

BodyExtent body_extent(const BodyFigure &figure, int width, int height)
{
	const float band = body_band_in_sizes * figure.size;
	BodyExtent extent;
	extent.left = static_cast<float>(width);
	for (int row = figure.first_row; row < SteadyMatte::rows; ++row) {
		extent.left = std::min(extent.left, figure.rows[size_t(row)].left - band);
		extent.right = std::max(extent.right, figure.rows[size_t(row)].right + band);
	}
	extent.left = std::max(extent.left, 0.0F);
	extent.right = std::min(extent.right, static_cast<float>(width));
	extent.right = std::max(extent.right, extent.left);
	extent.top = std::clamp(figure.height_of(body_heights::chin), 0.0F, static_cast<float>(height));
	extent.bottom = std::clamp(figure.end_y + 2 * band, extent.top, static_cast<float>(height));
	return extent;
}

void add_body_moves(const BodyFigure &figure, const BodyAmounts &amounts, int width, int height, DisplacementGrid &grid)
{
	const Heights heights(figure, height);
	const Sides sides = {body_band_in_sizes * figure.size, static_cast<float>(width)};
	const BodyExtent extent = body_extent(figure, width, height);
	const auto [first, end] = nodes_within(extent.top, extent.bottom + static_cast<float>(grid.cell()),
					       grid.node_y(0), grid.cell(), grid.rows);
	for (int row = first; row < end; ++row) {
		const float y = grid.node_y(row);
		const RowMove move = move_at(y, figure, amounts, heights);
		if (move.squeeze != 0 || move.arms != 0 || move.down != 0)
			add_row(row_at(figure, y, height), move, sides, row, grid);
	}
	const float bust = amount_of(amounts, KL_BODY_RESHAPE_BUST_ENHANCE);
	if (bust > 0)
		add_bust(figure, bust, height, heights, sides, grid);
}

} // namespace kalvio::engine
