// SPDX-License-Identifier: GPL-2.0-or-later
#include "smoothstep.h"
#include "stages/makeup_items.h"

#include <algorithm>

namespace kalvio::engine {

namespace {

constexpr float brightest_brow = 0.45F; // of the skin's luma: how bright a brow may be
constexpr float fill_cover = 0.62F;
constexpr float hair_cover = 0.72F;
constexpr float brow_warmth = 0.35F; // of a pigment: the skin shines through
constexpr int brow_steps = 6;
constexpr int line_points = (EyeShape::brow_points - 1) * brow_steps + 1;

// The brow that the style makes of the one that is there: points of its middle from the outer to the inner end, and
// half its thickness there.
struct BrowLine {
	BrowLine(const EyeShape &eye, const EyebrowStyle &style);

	// A place on the brow: `part` 0 outer to 1 inner, `across` -1 lower to 1 upper edge.
	Point place(float part, float across) const;

	std::array<Point, line_points> middle_line;
	std::array<Point, line_points> half; // from the middle to the upper edge
};

BrowLine::BrowLine(const EyeShape &eye, const EyebrowStyle &style)
{
	std::array<Point, line_points> lower;
	std::array<Point, line_points> upper;
	smooth_line(eye.brow_lower, brow_steps, false, lower.data());
	smooth_line(eye.brow_upper, brow_steps, false, upper.data());
	const Point first = middle(lower.front(), upper.front());
	const Point last = middle(lower.back(), upper.back());
	for (size_t index = 0; index < size_t(line_points); ++index) {
		const float part = static_cast<float>(index) / (line_points - 1);
		const Point there = middle(lower[index], upper[index]);
		const Point chord = first + (last - first) * part + eye.up * (0.03F * eye.size);
		// The arch stands over the outer third.
		const float arch = smoothstep(0, 0.35F, part) * (1 - smoothstep(0.35F, 0.95F, part));
		middle_line[index] = there + (chord - there) * style.straight + eye.up * (style.arch * eye.size * arch);
		// The outer end is drawn to a point, the inner one is rounded.
		const float taper =
			(0.2F + 0.8F * smoothstep(0, 0.45F, part)) * (1 - 0.45F * smoothstep(0.85F, 1, part));
		half[index] = (upper[index] - lower[index]) * (0.5F * style.thickness * taper);
	}
}

Point BrowLine::place(float part, float across) const
{
	const float position = std::clamp(part, 0.0F, 1.0F) * (line_points - 1.001F);
	const auto index = static_cast<size_t>(position);
	const float between = position - static_cast<float>(index);
	return middle_line[index] + (middle_line[index + 1] - middle_line[index]) * between +
	       (half[index] + (half[index + 1] - half[index]) * between) * across;
}

void draw_fill(const BrowLine &brow, MakeupMask &mask)
{
	std::array<Point, 2 * line_points> outline;
	for (size_t index = 0; index < size_t(line_points); ++index) {
		outline[index] = brow.middle_line[index] + brow.half[index];
		outline[2 * size_t(line_points) - 1 - index] = brow.middle_line[index] - brow.half[index];
	}
	mask.add_outline(outline);
}

// Hairs grow upright at the inner end and lie down towards the outer one.
void draw_hairs(const BrowLine &brow, const EyeShape &eye, const EyebrowStyle &style, MakeupMask &mask)
{
	for (int index = 0; index < style.hairs; ++index) {
		const float part = 0.05F + 0.93F * (static_cast<float>(index) + 0.5F) / static_cast<float>(style.hairs);
		const float across = -0.9F + 1.3F * fixed_variation(index);
		const float vary = 1 + style.unruly * (fixed_variation(index + 61) - 0.5F);
		const Point root = brow.place(part, across);
		const Point outwards = direction(brow.place(part + 0.05F, 0), brow.place(part - 0.05F, 0));
		const float lift = style.hair_lift * (0.4F + 0.9F * part) +
				   0.6F * style.unruly * (fixed_variation(index + 31) - 0.5F);
		const Point way = direction({0, 0}, outwards + eye.up * lift);
		const float length = style.hair_length * eye.size * vary * (0.7F + 0.3F * part);
		const Point side = Point{-way.y, way.x} * (0.0042F * eye.size);
		const Point bent = root + way * (0.5F * length) + eye.up * (0.06F * length);
		const std::array<Point, 5> hair = {root - side, bent - side * 0.8F, root + way * length,
						   bent + side * 0.8F, root + side};
		mask.add_outline(hair);
	}
}

} // namespace

void paint_brow(const MakeupScene &scene, const EyeShape &eye, MakeupPatch &patch)
{
	const Makeup &item = scene.settings.eyebrow;
	const EyebrowStyle &style = eyebrow_style(item.style);
	const float shown = scene.shown(item, FaceGroup::Brows) * eye.seen;
	if (shown <= 0)
		return;
	const MakeupGrid &grid = patch.grid();
	const BrowLine brow(eye, style);
	MakeupMask &fill = patch.masks[1];
	MakeupMask &hairs = patch.masks[2];
	fill.set(grid);
	draw_fill(brow, fill);
	fill.finish();
	fill.blur(style.feather * eye.size);
	hairs.set(grid);
	draw_hairs(brow, eye, style, hairs);
	hairs.finish();

	const FaceLight &light = scene.light;
	const MakeupColor own = eyebrow_color(item.color);
	const MakeupColor warm = mixed(own, tinted_like(light.skin, luma_of(own)), brow_warmth);
	const MakeupColor color = darkened(warm, light.level, light.skin_luma, brightest_brow);
	const Point inner_end = brow.place(1, 0);
	const Point outer_end = brow.place(0, 0);
	const Point inwards = direction(outer_end, inner_end);
	const float length = std::max(distance(outer_end, inner_end), 1.0F);
	for (int y = 0; y < grid.rows; ++y) {
		const float *filled = fill.row(y);
		const float *hair = hairs.row(y);
		for (int x = 0; x < grid.columns; ++x) {
			if (filled[x] <= 0 && hair[x] <= 0)
				continue;
			const Point way = grid.middle(x, y) - outer_end;
			const float part = (way.x * inwards.x + way.y * inwards.y) / length;
			const float along = 1 + (style.head - 1) * smoothstep(0.35F, 0.95F, part);
			const float share = shown * (fill_cover * style.fill * filled[x] * along +
						     hair_cover * hair[x] * (1 - fill_cover * style.fill * filled[x]));
			// The coat follows the light on what is below it, so that hairs stay hairs.
			const float below = luma_of(cell_light(scene.frame, grid, x, y)) / light.skin_luma;
			const float lit = light.level * std::clamp(0.35F + 0.65F * below, 0.35F, 1.2F);
			patch.coat(x, y, std::min(share, 1.0F), {color[0] * lit, color[1] * lit, color[2] * lit});
		}
	}
}

} // namespace kalvio::engine
