// SPDX-License-Identifier: GPL-2.0-or-later
#include "faces/face_regions.h"
#include "stages/makeup_items.h"

#include <algorithm>

namespace kalvio::engine {

namespace {

constexpr float lip_cover = 0.70F;
constexpr float lips_warmth = 0.12F;      // of a pigment: the lips shine through
constexpr float brightest_lips = 1.5F;    // of the lips: a pale pigment does not make them glow
constexpr float feather = 0.014F;         // of s; a blur reaches twice as far
constexpr float likeness_blur = 0.012F;   // of s: so that single pixels' noise does not show
constexpr float inner_color_blur = 0.03F; // of s
constexpr int lip_steps = 4;
constexpr size_t outline_points = regions::lips_outer.size() * lip_steps;

using Outline = std::array<Point, regions::lips_outer.size()>;

void draw(const Outline &outline, const MakeupGrid &grid, MakeupMask &mask)
{
	std::array<Point, outline_points> line;
	const int count = smooth_line(outline, lip_steps, true, line.data());
	mask.set(grid);
	mask.add_outline({line.data(), size_t(count)});
	mask.finish();
}

struct LipLines {
	explicit LipLines(const MakeupScene &scene)
	{
		for (size_t index = 0; index < outer.size(); ++index) {
			outer[index] = scene.point(regions::lips_outer[index]);
			inner[index] = scene.point(regions::lips_inner[index]);
			between[index] = middle(outer[index], inner[index]);
		}
	}

	Outline outer;
	Outline inner;
	Outline between;
};

// The lips without what lies between them, in masks[0].
void mask_lips(const LipLines &lines, const MakeupScene &scene, MakeupPatch &patch)
{
	const MakeupGrid &grid = patch.grid();
	draw(lines.outer, grid, patch.masks[0]);
	draw(lines.inner, grid, patch.masks[1]);
	for (int y = 0; y < grid.rows; ++y) {
		float *cells = patch.masks[0].row(y);
		const float *opening = patch.masks[1].row(y);
		for (int x = 0; x < grid.columns; ++x)
			cells[x] = std::max(cells[x] - opening[x], 0.0F);
	}
	patch.masks[0].blur(feather * scene.face.size);
}

void mask_likeness(const MakeupScene &scene, const MakeupGrid &grid, MakeupMask &mask)
{
	mask.set(grid);
	for (int y = 0; y < grid.rows; ++y) {
		float *cells = mask.row(y);
		for (int x = 0; x < grid.columns; ++x)
			cells[x] = lip_likeness(cell_light(scene.frame, grid, x, y), scene.light);
	}
	mask.blur(likeness_blur * scene.face.size);
}

} // namespace

void paint_lips(const MakeupScene &scene, MakeupPatch &patch)
{
	patch.clear();
	const float shown = scene.shown(scene.settings.lipstick, FaceGroup::Lips);
	if (shown <= 0)
		return;
	const LipLines lines(scene);
	MakeupBox box;
	for (const Point point : lines.outer)
		box.take(point, 4 * feather * scene.face.size + 2);
	const MakeupGrid grid = grid_of(box, scene.frame, detail_pitch(scene.face.size));
	if (grid.empty())
		return;
	patch.set(grid);
	mask_lips(lines, scene, patch);
	mask_likeness(scene, grid, patch.masks[1]);
	draw(lines.between, grid, patch.masks[2]);
	patch.masks[2].blur(inner_color_blur * scene.face.size);

	const LipstickColor &color = lipstick_color(scene.settings.lipstick.color);
	const FaceLight &light = scene.light;
	const auto gains = [&](const MakeupColor &pigment) {
		const MakeupColor warm = mixed(pigment, tinted_like(light.lips, luma_of(pigment)), lips_warmth);
		return pigment_gains(light.lips, darkened(warm, light.level, light.lips_luma, brightest_lips),
				     light.level, lip_cover);
	};
	const MakeupColor outer = gains(color.outer);
	const MakeupColor inner = gains(color.inner);
	for (int y = 0; y < grid.rows; ++y) {
		const float *cells = patch.masks[0].row(y);
		const float *like = patch.masks[1].row(y);
		const float *inside = patch.masks[2].row(y);
		for (int x = 0; x < grid.columns; ++x) {
			const float share = cells[x] * like[x] * shown;
			if (share > 0)
				patch.stain(x, y, share, mixed(outer, inner, 0.8F * inside[x]));
		}
	}
}

} // namespace kalvio::engine
