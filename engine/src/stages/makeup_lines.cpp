// SPDX-License-Identifier: GPL-2.0-or-later

// What is drawn along the lids: the eye liner and the lashes.
#include "smoothstep.h"
#include "stages/makeup_items.h"

#include <algorithm>

namespace kalvio::engine {

namespace {

constexpr float line_cover = 0.94F;
constexpr float darkest_share = 0.30F; // of the skin's luma: how bright a liner may be
constexpr float lash_warmth = 0.5F;    // of a lash: light shines through it
constexpr float lash_strength = 0.9F;
constexpr float lash_overlap = 0.006F; // of s: a liner leaves no skin between it and the lashes

// How far the eye is open, for what hangs at its lids: 0 closed, 1 open.
float open_share(const EyeShape &eye)
{
	return smoothstep(0.05F, 0.16F, eye.openness);
}

// A pointed ribbon along the upper lid, from where the style begins to the tip of its wing.
int liner_outline(const EyeShape &eye, const EyeLinerStyle &style,
		  std::array<Point, 2 * EyeShape::line_points + 8> &line)
{
	int count = 0;
	int first = EyeShape::line_points - 1; // of the lid's points, from the inner side
	while (first > 1 && eye.along(eye.upper[size_t(first)]) < style.start)
		--first;
	const auto thickness = [&](Point place) {
		const float part = std::clamp((eye.along(place) - style.start) / (1 - style.start), 0.0F, 1.0F);
		const float pointed = smoothstep(0, 0.25F, part);
		return (style.inner + (style.outer - style.inner) * part * part) * pointed * eye.width;
	};
	const float overlap = lash_overlap * eye.size;
	for (int index = first; index >= 0; --index)
		line[size_t(count++)] = eye.upper[size_t(index)] + eye.up * thickness(eye.upper[size_t(index)]);
	if (style.wing > 0) {
		// On in the direction in which the lower lid comes up to the corner.
		const Point lower = eye.lower[EyeShape::steps * 2];
		const Point rising = direction(lower, eye.outer) * 0.5F + eye.out * 0.5F + eye.up * (0.6F * style.rise);
		const Point tip = eye.outer + direction({0, 0}, rising) * (style.wing * eye.width);
		line[size_t(count++)] =
			eye.outer + (tip - eye.outer) * 0.45F + eye.up * (0.5F * style.outer * eye.width);
		line[size_t(count++)] = tip;
		line[size_t(count++)] = eye.outer + (tip - eye.outer) * 0.5F;
	}
	for (int index = 0; index <= first; ++index)
		line[size_t(count++)] = eye.upper[size_t(index)] - eye.up * (index == 0 ? 0.0F : overlap);
	return count;
}

int lower_outline(const EyeShape &eye, float thickness, std::array<Point, 2 * EyeShape::line_points + 8> &line)
{
	constexpr int end = EyeShape::line_points * 2 / 3;
	int count = 0;
	for (int index = 0; index < end; ++index)
		line[size_t(count++)] = eye.lower[size_t(index)];
	for (int index = end - 1; index > 0; --index) {
		const float part = 1 - static_cast<float>(index) / static_cast<float>(end);
		line[size_t(count++)] = eye.lower[size_t(index)] - eye.up * (thickness * part);
	}
	return count;
}

void stain_mask(const MakeupMask &mask, float strength, const MakeupColor &gains, MakeupPatch &patch)
{
	const MakeupGrid &grid = patch.grid();
	for (int y = 0; y < grid.rows; ++y) {
		const float *cells = mask.row(y);
		for (int x = 0; x < grid.columns; ++x) {
			if (cells[x] > 0)
				patch.stain(x, y, cells[x] * strength, gains);
		}
	}
}

// Cells of the open eye stay as they are but for a narrow rim.
void keep_out(const MakeupMask &opening, const MakeupGrid &grid, MakeupMask &mask)
{
	for (int y = 0; y < grid.rows; ++y) {
		float *cells = mask.row(y);
		const float *open = opening.row(y);
		for (int x = 0; x < grid.columns; ++x)
			cells[x] *= 1 - 0.85F * open[x];
	}
}

struct Lash {
	Point root;
	Point way; // unit vector
	float length;
	float thickness;
};

// A curved, pointed stroke that bends towards `bend`.
void draw_lash(const Lash &lash, Point bend, MakeupMask &mask)
{
	const Point across = Point{-lash.way.y, lash.way.x} * (lash.thickness / 2);
	const Point control = lash.root + lash.way * (0.55F * lash.length);
	const Point tip = lash.root + lash.way * (0.8F * lash.length) + bend * (0.35F * lash.length);
	constexpr int pieces = 4;
	std::array<Point, 2 * pieces + 1> line;
	for (int piece = 0; piece < pieces; ++piece) {
		const float t = static_cast<float>(piece) / pieces;
		const Point middle = lash.root * ((1 - t) * (1 - t)) + control * (2 * t * (1 - t)) + tip * (t * t);
		const float half = 0.75F - 0.65F * t;
		line[size_t(piece)] = middle + across * half;
		line[size_t(2 * pieces - piece)] = middle - across * half;
	}
	line[pieces] = tip;
	mask.add_outline(line);
}

// The place `part` (0 inner, 1 outer) along a line from the outer to the inner side.
Point line_place(const EyeShape::LidLine &line, float part)
{
	const float place = (1 - std::clamp(part, 0.0F, 1.0F)) * (EyeShape::line_points - 1.001F);
	const auto index = static_cast<size_t>(place);
	return line[index] + (line[index + 1] - line[index]) * (place - static_cast<float>(index));
}

void draw_upper_lashes(const EyeShape &eye, const EyelashStyle &style, MakeupMask &mask)
{
	const float open = open_share(eye);
	const float rise = -0.55F + 1.45F * open; // a closed eye's lashes hang
	for (int index = 0; index < style.count; ++index) {
		const float even = (static_cast<float>(index) + 0.5F) / static_cast<float>(style.count);
		const float part = 0.06F + 0.94F * even;
		// Lashes of one cluster lean towards its middle one.
		const int group = index / style.cluster;
		const float group_middle =
			0.06F +
			0.94F * (static_cast<float>(group * style.cluster) + 0.5F * static_cast<float>(style.cluster)) /
				static_cast<float>(style.count);
		const float gather = style.cluster > 1 ? (group_middle - part) * 5.5F : 0.0F;
		const float near_end = part < 0.55F ? part / 0.55F : (part - 0.55F) / 0.45F;
		const float from = part < 0.55F ? style.inner : style.middle;
		const float to = part < 0.55F ? style.middle : style.outer;
		const float vary = 1 - (0.12F + 0.8F * style.uneven) * fixed_variation(index);
		const float sweep = style.sweep * (part * 1.5F - 0.45F) + gather +
				    (0.16F + 0.25F * style.uneven) * (fixed_variation(index + 97) - 0.5F);
		const Point way = direction({0, 0}, eye.out * sweep + eye.up * rise);
		const float length = (from + (to - from) * near_end) * vary * (0.55F + 0.45F * open) * eye.width;
		draw_lash({line_place(eye.upper, part), way, length, style.thickness * eye.width},
			  eye.out * (0.45F * sweep) + eye.up * (open > 0.5F ? 0.9F : 0.2F), mask);
	}
}

void draw_lower_lashes(const EyeShape &eye, const EyelashStyle &style, MakeupMask &mask)
{
	constexpr int count = 13;
	for (int index = 0; index < count; ++index) {
		const float part = 0.30F + 0.66F * (static_cast<float>(index) + 0.5F) / count;
		const Point way = direction({0, 0}, eye.out * (part - 0.35F) - eye.up * 0.9F);
		draw_lash(
			{line_place(eye.lower, part), way, style.lower * eye.width, 0.7F * style.thickness * eye.width},
			eye.out * 0.5F, mask);
	}
}

} // namespace

void paint_eye_liner(const MakeupScene &scene, const EyeShape &eye, MakeupPatch &patch)
{
	const Makeup &item = scene.settings.eye_liner;
	const EyeLinerStyle &style = eye_liner_style(item.style);
	const float shown = scene.shown(item, FaceGroup::Eyes) * eye.seen;
	if (shown <= 0)
		return;
	const MakeupColor color =
		darkened(eye_liner_color(item.color), scene.light.level, scene.light.skin_luma, darkest_share);
	const MakeupColor gains = pigment_gains(scene.light.skin, color, scene.light.level, line_cover);
	MakeupMask &mask = patch.masks[1];
	std::array<Point, 2 * EyeShape::line_points + 8> line;
	mask.set(patch.grid());
	mask.add_outline({line.data(), size_t(liner_outline(eye, style, line))});
	mask.finish();
	mask.blur(style.smudge * eye.size);
	keep_out(patch.masks[0], patch.grid(), mask);
	stain_mask(mask, shown * style.strength, gains, patch);
	if (style.lower <= 0)
		return;
	mask.set(patch.grid());
	mask.add_outline({line.data(), size_t(lower_outline(eye, 0.5F * style.outer * eye.width, line))});
	mask.finish();
	mask.blur(std::max(style.smudge, 0.008F) * eye.size);
	keep_out(patch.masks[0], patch.grid(), mask);
	stain_mask(mask, shown * style.strength * style.lower, gains, patch);
}

void paint_lashes(const MakeupScene &scene, const EyeShape &eye, MakeupPatch &patch)
{
	const Makeup &item = scene.settings.eyelash;
	const EyelashStyle &style = eyelash_style(item.style);
	const float shown = scene.shown(item, FaceGroup::Eyes) * eye.seen;
	if (shown <= 0)
		return;
	const MakeupColor own = eyelash_color(item.color);
	const MakeupColor warm = mixed(own, tinted_like(scene.light.skin, luma_of(own)), lash_warmth);
	const MakeupColor color = darkened(warm, scene.light.level, scene.light.skin_luma, darkest_share);
	const MakeupColor gains = pigment_gains(scene.light.skin, color, scene.light.level, eyelash_cover(item.color));
	MakeupMask &mask = patch.masks[1];
	mask.set(patch.grid());
	draw_upper_lashes(eye, style, mask);
	if (style.lower > 0)
		draw_lower_lashes(eye, style, mask);
	mask.finish();
	stain_mask(mask, lash_strength * shown, gains, patch);
}

} // namespace kalvio::engine
