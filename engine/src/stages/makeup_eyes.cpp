// SPDX-License-Identifier: GPL-2.0-or-later
#include "smoothstep.h"
#include "stages/makeup_items.h"

#include <algorithm>

namespace kalvio::engine {

namespace {

constexpr float shadow_cover = 0.52F;
constexpr float shadow_warmth = 0.18F; // of a pigment: the skin shines through
constexpr float above_fold = 0.16F;    // of the eye's width: one further unit of a style's reach
constexpr float lower_reach = 0.16F;
constexpr float inner_fade = 0.22F; // along the eye, beyond the inner corner
constexpr MakeupColor terracotta = {0.42F, 0.13F, 0.06F};
constexpr MakeupColor shimmer_gains = {1.75F, 1.65F, 1.50F};

// Strength along the lid, from the inner corner over the middle to the outer one.
float along_strength(const EyeShadowStyle &style, float along)
{
	const float place = std::clamp(along, 0.0F, 1.0F);
	const float from = place < 0.5F ? style.inner : style.center;
	const float to = place < 0.5F ? style.center : style.outer;
	const float part = place < 0.5F ? 2 * place : 2 * place - 1;
	return (from + (to - from) * part * part * (3 - 2 * part)) * smoothstep(-inner_fade, 0.02F, along) *
	       (1 - smoothstep(0.98F, 1.0F + style.wing + 0.06F, along));
}

// What a style does at one place: how strongly it colors, how strongly it shimmers.
struct ShadowShare {
	float color;
	float shimmer;
};

ShadowShare shadow_at(const EyeShadowStyle &style, const EyeShape &eye, Point place)
{
	const float along = eye.along(place);
	if (along < -inner_fade || along > 1.06F + style.wing)
		return {0, 0};
	const float height = eye.height(place);
	const float lid = eye.upper_height(along);
	if (height < lid) {
		const float below = (eye.lower_height(along) - height) / (lower_reach * eye.width);
		const float near = style.lower > 0 ? 1 - smoothstep(0.2F, 1.0F, below) : 0.0F;
		// Above the lower lid lies the eye, which is cut out; along the lashes nothing is left white.
		return {style.lower * near * smoothstep(0.0F, 0.5F, along) * along_strength(style, along), 0};
	}
	const float fold = eye.fold_height(along);
	const float level =
		height < fold ? (height - lid) / (fold - lid) : 1 + (height - fold) / (above_fold * eye.width);
	if (level > style.reach)
		return {0, 0};
	const float even = 1 - smoothstep(style.reach - style.feather, style.reach, level);
	const float band = smoothstep(0.2F, 0.9F, level) * (1 - smoothstep(1.0F, style.reach, level));
	const float middle = 1 - smoothstep(0.0F, 0.30F, std::max(along - 0.5F, 0.5F - along));
	return {(even + (band - even) * style.crease) * along_strength(style, along),
		style.shimmer * middle * (1 - smoothstep(0.45F, 1.15F, level))};
}

MakeupBox box_of(const MakeupScene &scene, const EyeShape &eye)
{
	const Settings &settings = scene.settings;
	MakeupBox box;
	for (const Point point : eye.outline())
		box.take(point, 0.03F * eye.size + 2);
	if (settings.eye_shadow.strength > 0 || settings.eye_liner.strength > 0 || settings.eyelash.strength > 0) {
		box.take(eye.outer + eye.out * (0.5F * eye.width), 0.06F * eye.size);
		box.take(eye.outer + eye.out * (0.3F * eye.width) + eye.up * (0.45F * eye.width), 0.06F * eye.size);
		box.take(eye.inner - eye.out * (0.2F * eye.width), 0.04F * eye.size);
		box.take(eye.lower[EyeShape::line_points / 2] - eye.up * (0.12F * eye.width), 0.05F * eye.size);
		for (const Point point : eye.fold)
			box.take(point + eye.up * (0.3F * eye.width), 0.04F * eye.size);
	}
	if (settings.eyebrow.strength > 0) {
		for (const auto *line : {&eye.brow_lower, &eye.brow_upper}) {
			for (const Point point : *line)
				box.take(point, 0.16F * eye.size);
		}
	}
	return box;
}

bool is_bare(const MakeupScene &scene)
{
	const Settings &settings = scene.settings;
	const float eyes = std::max({settings.eye_shadow.strength, settings.eye_liner.strength,
				     settings.eyelash.strength, settings.pupil.strength});
	return eyes * scene.face.confidence[static_cast<size_t>(FaceGroup::Eyes)] <= 0 &&
	       scene.shown(settings.eyebrow, FaceGroup::Brows) <= 0;
}

} // namespace

void paint_eye_shadow(const MakeupScene &scene, const EyeShape &eye, MakeupPatch &patch)
{
	const Makeup &item = scene.settings.eye_shadow;
	const EyeShadowStyle &style = eye_shadow_style(item.style);
	const float shown = scene.shown(item, FaceGroup::Eyes) * eye.seen;
	if (shown <= 0)
		return;
	MakeupColor color = mixed(eye_shadow_color(item.color), terracotta, style.warmth);
	color = mixed(color, tinted_like(scene.light.skin, luma_of(color)), shadow_warmth);
	for (float &channel : color)
		channel *= 1 - 0.7F * style.depth;
	const float cover = shadow_cover + 0.2F * style.depth;
	const MakeupColor gains = pigment_gains(scene.light.skin, color, scene.light.level, cover);
	const MakeupGrid &grid = patch.grid();
	for (int y = 0; y < grid.rows; ++y) {
		const float *opening = patch.masks[0].row(y);
		for (int x = 0; x < grid.columns; ++x) {
			if (opening[x] >= 1)
				continue;
			const ShadowShare share = shadow_at(style, eye, grid.middle(x, y));
			if (share.color <= 0 && share.shimmer <= 0)
				continue;
			const float bare = shown * (1 - opening[x]) *
					   skin_likeness(cell_light(scene.frame, grid, x, y), scene.light);
			patch.stain(x, y, std::min(share.color * style.strength, 1.0F) * bare, gains);
			if (share.shimmer > 0)
				patch.stain(x, y, share.shimmer * bare, shimmer_gains);
		}
	}
}

void paint_eye(const MakeupScene &scene, bool left, MakeupPatch &patch)
{
	patch.clear();
	if (is_bare(scene))
		return;
	const EyeShape eye(scene.face.points, scene.face.size, left);
	const MakeupGrid grid = grid_of(box_of(scene, eye), scene.frame, detail_pitch(eye.size));
	if (grid.empty())
		return;
	patch.set(grid);
	patch.masks[0].set(grid);
	patch.masks[0].add_outline(eye.outline());
	patch.masks[0].finish();
	paint_eye_shadow(scene, eye, patch);
	paint_brow(scene, eye, patch);
	paint_lens(scene, eye, patch);
	paint_eye_liner(scene, eye, patch);
	paint_lashes(scene, eye, patch);
}

} // namespace kalvio::engine
