// SPDX-License-Identifier: GPL-2.0-or-later
#include "faces/face_regions.h"
#include "faces/mirrored_point.h"
#include "smoothstep.h"
#include "stages/makeup_items.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

namespace {

// At full strength of the styles' strongest stroke.
constexpr float blush_cover = 0.36F;
constexpr MakeupColor shade_gains = {0.60F, 0.52F, 0.47F};
constexpr MakeupColor light_gains = {1.34F, 1.33F, 1.30F};

constexpr float oval_feather = 0.05F; // of s
constexpr float cells_per_size = 40;

// A power of two, at least 4: a twentieth of the narrowest stroke of a usual face.
int soft_pitch(float face_size)
{
	int pitch = 4;
	while (pitch < 32 && static_cast<float>(2 * pitch) * cells_per_size <= 2 * face_size)
		pitch *= 2;
	return pitch;
}

struct StrokeLine {
	std::array<Point, MakeupStroke::max_points> points;
	size_t count = 0;
	float radius = 0;
};

// Where a stroke comes nearest to a place: how far that is, and which part of the stroke's gaps lies before it.
struct StrokePlace {
	float squared_distance;
	float part;
};

StrokePlace nearest_place(const StrokeLine &line, Point place)
{
	const Point first = place - line.points[0];
	StrokePlace nearest = {first.x * first.x + first.y * first.y, 0};
	for (size_t index = 1; index < line.count; ++index) {
		const Point way = line.points[index] - line.points[index - 1];
		const Point offset = place - line.points[index - 1];
		const float squared = way.x * way.x + way.y * way.y;
		const float part =
			squared > 0 ? std::clamp((offset.x * way.x + offset.y * way.y) / squared, 0.0F, 1.0F) : 0.0F;
		const Point rest = offset - way * part;
		const float distance = rest.x * rest.x + rest.y * rest.y;
		if (distance < nearest.squared_distance)
			nearest = {distance,
				   (static_cast<float>(index - 1) + part) / static_cast<float>(line.count - 1)};
	}
	return nearest;
}

// Adds what the stroke covers to the mask: two strokes over each other cover as two coats do.
void draw_stroke(const StrokeLine &line, float strength, float end_strength, const MakeupGrid &grid, MakeupMask &mask)
{
	MakeupBox box;
	for (size_t index = 0; index < line.count; ++index)
		box.take(line.points[index], line.radius);
	const Point low = grid.place(box.low);
	const Point high = grid.place(box.high);
	const int first_x = std::clamp(static_cast<int>(low.x), 0, grid.columns);
	const int end_x = std::clamp(static_cast<int>(high.x) + 1, 0, grid.columns);
	const int first_y = std::clamp(static_cast<int>(low.y), 0, grid.rows);
	const int end_y = std::clamp(static_cast<int>(high.y) + 1, 0, grid.rows);
	const float scale = 1 / (line.radius * line.radius);
	for (int y = first_y; y < end_y; ++y) {
		float *cells = mask.row(y);
		for (int x = first_x; x < end_x; ++x) {
			const Point place = grid.middle(x, y);
			const StrokePlace nearest = nearest_place(line, place);
			const float rest = std::max(1 - nearest.squared_distance * scale, 0.0F);
			const float here = strength + (end_strength - strength) * nearest.part;
			cells[x] += (1 - cells[x]) * std::min(here * rest * rest, 1.0F);
		}
	}
}

// Both halves of the face; a stroke along its middle once.
void draw_both(const MakeupScene &scene, const MakeupStroke &stroke, float strength, const MakeupGrid &grid,
	       MakeupMask &mask)
{
	StrokeLine left;
	StrokeLine right;
	bool middle = true;
	for (const int16_t point : stroke.points) {
		if (point < 0)
			break;
		middle = middle && mirrored_point(point) == point;
		left.points[left.count++] = scene.point(point);
		right.points[right.count++] = scene.point(mirrored_point(point));
	}
	left.radius = right.radius = stroke.radius * scene.face.size;
	draw_stroke(left, strength, strength * stroke.end, grid, mask);
	if (!middle)
		draw_stroke(right, strength, strength * stroke.end, grid, mask);
}

// How far makeup may show on the face's skin: within the oval, and not on hair, hands or a microphone before it.
void mask_skin(const MakeupScene &scene, const MakeupGrid &grid, MakeupMask &mask)
{
	std::array<Point, regions::oval.size()> oval;
	for (size_t index = 0; index < oval.size(); ++index)
		oval[index] = scene.point(regions::oval[index]);
	std::array<Point, regions::oval.size() * 3> line;
	const int count = smooth_line(oval, 3, true, line.data());
	mask.set(grid);
	mask.add_outline({line.data(), size_t(count)});
	mask.finish();
	mask.blur(oval_feather * scene.face.size);
	for (int y = 0; y < grid.rows; ++y) {
		float *cells = mask.row(y);
		for (int x = 0; x < grid.columns; ++x) {
			if (cells[x] > 0)
				cells[x] *= skin_likeness(cell_light(scene.frame, grid, x, y), scene.light);
		}
	}
}

// What is bright already would only lose its color.
void keep_headroom(const MakeupScene &scene, const MakeupGrid &grid, MakeupMask &mask)
{
	for (int y = 0; y < grid.rows; ++y) {
		float *cells = mask.row(y);
		for (int x = 0; x < grid.columns; ++x) {
			if (cells[x] <= 0)
				continue;
			const MakeupColor light = cell_light(scene.frame, grid, x, y);
			cells[x] *= 1 - smoothstep(0.45F, 1.0F, std::max({light[0], light[1], light[2]}));
		}
	}
}

void stain_cells(const MakeupMask &mask, const MakeupMask &skin, const MakeupColor &gains, MakeupPatch &patch)
{
	const MakeupGrid &grid = patch.grid();
	for (int y = 0; y < grid.rows; ++y) {
		const float *cells = mask.row(y);
		const float *shares = skin.row(y);
		for (int x = 0; x < grid.columns; ++x) {
			const float share = cells[x] * shares[x];
			if (share > 0)
				patch.stain(x, y, share, gains);
		}
	}
}

void paint_blush(const MakeupScene &scene, float shown, MakeupPatch &patch)
{
	MakeupMask &mask = patch.masks[1];
	mask.set(patch.grid());
	for (const MakeupStroke &stroke : blush_strokes(scene.settings.blush.style))
		draw_both(scene, stroke, shown * stroke.strength, patch.grid(), mask);
	const MakeupColor gains = pigment_gains(scene.light.skin, blush_color(scene.settings.blush.color),
						scene.light.level, blush_cover);
	stain_cells(mask, patch.masks[0], gains, patch);
}

void paint_contour(const MakeupScene &scene, float shown, MakeupPatch &patch)
{
	MakeupMask &shade = patch.masks[1];
	MakeupMask &light = patch.masks[2];
	shade.set(patch.grid());
	light.set(patch.grid());
	// A shade of the same share is hard to see on dark skin.
	const float depth = 1 / (0.55F + 0.45F * std::min(scene.light.level, 1.0F));
	for (const MakeupStroke &stroke : contour_strokes(scene.settings.contour.style)) {
		const float sure = stroke.nose ? scene.shown(scene.settings.contour, FaceGroup::Nose) : shown;
		const float strength = sure * stroke.strength * (stroke.light ? 0.9F : 0.8F * depth);
		draw_both(scene, stroke, strength, patch.grid(), stroke.light ? light : shade);
	}
	stain_cells(shade, patch.masks[0], shade_gains, patch);
	keep_headroom(scene, patch.grid(), light);
	stain_cells(light, patch.masks[0], light_gains, patch);
}

} // namespace

void paint_cheeks(const MakeupScene &scene, MakeupPatch &patch)
{
	patch.clear();
	const float blush = scene.shown(scene.settings.blush, FaceGroup::Outline);
	const float contour = scene.shown(scene.settings.contour, FaceGroup::Outline);
	const float nose = scene.shown(scene.settings.contour, FaceGroup::Nose);
	if (blush <= 0 && contour <= 0 && nose <= 0)
		return;
	MakeupBox box;
	for (const int point : regions::oval)
		box.take(scene.point(point), 3 * oval_feather * scene.face.size);
	const MakeupGrid grid = grid_of(box, scene.frame, soft_pitch(scene.face.size));
	if (grid.empty())
		return;
	patch.set(grid);
	mask_skin(scene, grid, patch.masks[0]);
	if (blush > 0)
		paint_blush(scene, blush, patch);
	if (contour > 0 || nose > 0)
		paint_contour(scene, contour, patch);
}

} // namespace kalvio::engine
