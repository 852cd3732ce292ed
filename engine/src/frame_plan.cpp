// SPDX-License-Identifier: GPL-2.0-or-later
#include "frame_plan.h"

#include "engine.h"
#include "stages/sticker_motion.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

namespace {

// The strongest sharpening adds one and a quarter of the detail; 8 fraction bits.
constexpr float strongest_sharpening = 1.25F * 256.0F;

// What a camera leaves soft grows with the frame.
int sharpen_step(int frame_height)
{
	return std::clamp((frame_height + 180) / 360, 1, kernels::max_sharpen_step);
}

// The color filter, mixed with no change as the settings ask; null without one.
const int16_t *prepare_lookup(Effects &effects, float intensity)
{
	if (!effects.filter || intensity == 0)
		return nullptr;
	if (effects.lookup_intensity != intensity) {
		effects.lookup.build(*effects.filter, intensity);
		effects.lookup_intensity = intensity;
	}
	return effects.lookup.cells();
}

// Without a key people are cut out, where something else comes behind them. Without a net for that there is no telling
// what is background: then nothing is done. A blur of strength 0 behind a matte is the captured picture.
void plan_background(FramePlan &plan, kl_engine &engine, const Frame &frame)
{
	const Settings &settings = engine.settings;
	if (settings.background == BackgroundMode::Blur && settings.background_blur == 0)
		return;
	plan.keyed = settings.chroma_key.enabled;
	if (!plan.keyed) {
		plan.person = settings.background != BackgroundMode::Captured && engine.nets->is_complete();
		if (!plan.person)
			return;
	}
	if (settings.background == BackgroundMode::Blur) {
		plan.blur_sigma =
			settings.background_blur * BackgroundBlur::strongest_sigma * static_cast<float>(frame.height);
	} else if (settings.background == BackgroundMode::Picture) {
		engine.effects.picture->fit(frame.width, frame.height, engine.pool.get());
		plan.picture = &*engine.effects.picture;
	}
}

// How long the sticker has been shown.
int64_t sticker_age_us(Effects &effects, int64_t now_us)
{
	if (!effects.sticker_start_us)
		effects.sticker_start_us = now_us;
	return now_us - *effects.sticker_start_us;
}

} // namespace

FramePlan plan_frame(kl_engine &engine, const Frame &frame, int64_t now_us)
{
	const Settings &settings = engine.settings;
	FramePlan plan;
	plan.retouch = RetouchField::is_needed(settings);
	plan.masked = plan.retouch && settings.skin_only;
	plan.makeup = MakeupStage::is_needed(settings) && engine.nets->is_complete();
	plan.tone = engine.memory.tone.prepare(settings, *engine.pool);
	plan.sharpening = static_cast<int>(std::lrint(settings.sharpening * strongest_sharpening));
	plan.sharpen_step = sharpen_step(frame.height);
	plan.reshape = ReshapeField::is_needed(settings) && engine.nets->is_complete();
	plan.bodies = ReshapeField::needs_bodies(settings) && engine.nets->is_complete();
	plan_background(plan, engine, frame);
	plan.lookup = prepare_lookup(engine.effects, settings.filter_intensity);
	if (engine.effects.sticker) {
		plan.sprite_count = place_sprites(*engine.effects.sticker, sticker_age_us(engine.effects, now_us),
						  frame.width, frame.height, plan.sprites.data());
	}
	const bool is_face_sticker = engine.effects.sticker && !engine.effects.sticker->on_screen;
	plan.face_stickers = (is_face_sticker || engine.effects.sticker_3d) && engine.nets->is_complete();
	if (is_face_sticker && !plan.face_stickers)
		plan.sprite_count = 0;
	return plan;
}

void place_face_stickers(FramePlan &plan, kl_engine &engine, const Frame &frame, std::span<const TrackedFace> faces)
{
	const Effects &effects = engine.effects;
	const Sticker *sticker = effects.sticker && !effects.sticker->on_screen ? &*effects.sticker : nullptr;
	const Sticker3d *sticker_3d = effects.sticker_3d ? &*effects.sticker_3d : nullptr;
	plan.face_sprites = engine.memory.face_stickers.place(sticker, sticker_3d, faces, engine.nets->head,
							      frame.width, frame.height);
	if (sticker != nullptr) {
		const int opacity = static_cast<int>(std::lround(strongest_presence(faces) * 256.0F));
		if (opacity == 0)
			plan.sprite_count = 0;
		for (PlacedSprite &sprite : plan.sprites)
			sprite.opacity = opacity;
	}
	plan.face_stickers = !plan.face_sprites.empty();
}

bool needs_faces(const kl_engine &engine, const FramePlan &plan)
{
	return (plan.masked || plan.makeup || plan.reshape || plan.face_stickers) && engine.nets->is_complete();
}

} // namespace kalvio::engine
