// SPDX-License-Identifier: GPL-2.0-or-later

// A frame's way through the engine. First what needs the whole picture is measured on reduced grids; then bands of rows
// go through all stages while they are in the cache. A stage without effect is not entered. The order:
//
//   measured on grids    smoothing field, skin map        stages/retouch_field, stages/skin_map
//                        face and body geometry           (comes with face landmarks; the settings are kept)
//                        blurred background               stages/background_blur
//   row by row           smoothing, whitening, rosiness   kernels retouch_row
//                        sharpening                       kernels sharpen_row
//                        makeup, reshape                  (come with face landmarks)
//                        key, background                  stages/color_key, kernels composite_row
//                        colour filter                    stages/color_lookup
//                        stickers                         stages/sticker (on a face: with face landmarks)
#include "pipeline.h"

#include "engine.h"
#include "kernels/kernels.h"
#include "stages/color_key.h"
#include "stages/tone.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace kalvio::engine {

namespace {

// Fixed, so that the work is cut the same way however many threads there are.
constexpr int rows_per_band = 32;

// The strongest sharpening adds one and a half times the detail; 8 fraction bits.
constexpr float strongest_sharpening = 1.5F * 256.0F;

void copy_frame(const Frame &frame)
{
	if (frame.row_bytes() == size_t(frame.stride_bytes)) {
		std::memcpy(frame.output, frame.input, frame.row_bytes() * size_t(frame.height));
		return;
	}
	for (int y = 0; y < frame.height; ++y)
		std::memcpy(frame.output_row(y), frame.input_row(y), frame.row_bytes());
}

// What the stages of one frame need, worked out once before the rows.
struct FramePlan {
	bool retouch = false;
	bool masked = false;
	kernels::ToneGains tone = {};
	int sharpening = 0;
	bool keyed = false;
	kernels::ColorKey key = {};
	float blur_deviation = 0;                   // of the background, in pixels
	const BackgroundPicture *picture = nullptr; // in the background's place
	const int16_t *lookup = nullptr;            // the colour filter
	int sprite_count = 0;                       // of a screen sticker
	std::array<PlacedSprite, max_moving_sprites> sprites;

	bool does_nothing_but_sharpen() const { return !retouch && !keyed && lookup == nullptr && sprite_count == 0; }
	bool is_neutral() const { return does_nothing_but_sharpen() && sharpening == 0; }
};

// The colour filter, mixed with no change as the settings ask; null without one.
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

// Without a matte there is no telling what is background: then nothing is done. A blur of strength 0 behind a matte is
// the captured picture.
void plan_background(FramePlan &plan, kl_engine &engine, const Frame &frame)
{
	const Settings &settings = engine.settings;
	if (!settings.chroma_key.enabled)
		return;
	if (settings.background == BackgroundMode::Blur && settings.background_blur == 0)
		return;
	plan.keyed = true;
	plan.key = color_key(settings.chroma_key);
	if (settings.background == BackgroundMode::Blur) {
		plan.blur_deviation = settings.background_blur * BackgroundBlur::strongest_deviation *
				      static_cast<float>(frame.height);
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

FramePlan plan_frame(kl_engine &engine, const Frame &frame, int64_t now_us)
{
	const Settings &settings = engine.settings;
	FramePlan plan;
	plan.retouch = RetouchField::is_needed(settings);
	plan.masked = plan.retouch && settings.skin_only;
	plan.tone = tone_gains(settings);
	plan.sharpening = static_cast<int>(std::lrint(settings.sharpening * strongest_sharpening));
	plan_background(plan, engine, frame);
	plan.lookup = prepare_lookup(engine.effects, settings.filter_intensity);
	if (engine.effects.sticker && engine.effects.sticker->on_screen) {
		plan.sprite_count = place_sprites(*engine.effects.sticker, sticker_age_us(engine.effects, now_us),
						  frame.width, frame.height, plan.sprites.data());
	}
	return plan;
}

void resize(FrameMemory &memory, const Frame &frame, int slots)
{
	memory.slots.resize(std::max(memory.slots.size(), size_t(slots)));
	const size_t row_bytes = (frame.row_bytes() + 2 * kernels::row_padding_bytes + 63) / 64 * 64;
	for (FrameMemory::Slot &slot : memory.slots) {
		uint8_t *bytes = slot.bytes.require(row_bytes * 9) + kernels::row_padding_bytes;
		for (std::array<uint8_t *, 3> *ring : {&slot.retouched, &slot.captured}) {
			for (uint8_t *&row : *ring) {
				row = bytes;
				bytes += row_bytes;
			}
		}
		slot.row = bytes;
		slot.matte = bytes + row_bytes;
		slot.background = bytes + 2 * row_bytes;
	}
}

// A scratch copy of the captured row, continued by a pixel at both ends.
void load_row(const Frame &frame, int y, uint8_t *row)
{
	std::memcpy(row, frame.input_row(y), frame.row_bytes());
	std::memcpy(row - bytes_per_pixel, row, bytes_per_pixel);
	uint8_t *end = row + frame.row_bytes();
	std::memcpy(end, end - bytes_per_pixel, bytes_per_pixel);
}

uint8_t *ring_row(const std::array<uint8_t *, 3> &ring, int y)
{
	return ring[size_t(y) % 3];
}

// Smoothing, whitening and rosiness.
void retouch(const FramePlan &plan, FrameMemory &memory, const Frame &frame, int y, int slot, uint8_t *row)
{
	std::memcpy(row, frame.input_row(y), frame.row_bytes());
	if (plan.retouch)
		kernels::retouch_row(row, frame.width, memory.field.row(y, slot), plan.masked, plan.tone, y);
}

// The key looks at the captured colours; what it leaves is despilled, cut out or laid over its background.
void replace_background(const FramePlan &plan, FrameMemory &memory, const Frame &frame, int y, int slot_number)
{
	const FrameMemory::Slot &slot = memory.slots[size_t(slot_number)];
	const uint8_t *captured = ring_row(slot.captured, y);
	kernels::key_row_among(ring_row(slot.captured, std::max(y - 1, 0)), captured,
			       ring_row(slot.captured, std::min(y + 1, frame.height - 1)), frame.width, plan.key,
			       slot.matte);
	if (plan.key.despill > 0)
		kernels::despill_row(slot.row, frame.width, plan.key);
	if (plan.picture != nullptr) {
		kernels::composite_row(slot.row, frame.width, slot.matte, plan.picture->row(y));
	} else if (plan.blur_deviation > 0) {
		memory.blur.write_row(y, slot_number, frame.width, slot.background);
		if (memory.blur.mix() < 256)
			kernels::mix_row(slot.background, frame.width, captured, 256 - memory.blur.mix());
		kernels::composite_row(slot.row, frame.width, slot.matte, slot.background);
	} else {
		kernels::cut_row(slot.row, frame.width, slot.matte);
	}
}

// From the captured rows straight to the output: copies on the way would take as long as the work.
void sharpen_band(const FramePlan &plan, const Frame &frame, int first, int end)
{
	for (int y = first; y < end; ++y)
		kernels::sharpen_row(frame.input_row(std::max(y - 1, 0)), frame.input_row(y),
				     frame.input_row(std::min(y + 1, frame.height - 1)), frame.width, plan.sharpening,
				     false, frame.output_row(y));
}

void process_band(const FramePlan &plan, FrameMemory &memory, const Frame &frame, int band, int slot_number)
{
	FrameMemory::Slot &slot = memory.slots[size_t(slot_number)];
	const int first = band * rows_per_band;
	const int end = std::min(frame.height, first + rows_per_band);
	if (plan.does_nothing_but_sharpen() && frame.width >= kernels::unpadded_pixels) {
		sharpen_band(plan, frame, first, end);
		return;
	}

	if (plan.sharpening > 0) {
		for (int y = std::max(first - 1, 0); y <= first; ++y)
			retouch(plan, memory, frame, y, slot_number, ring_row(slot.retouched, y));
	}
	if (plan.keyed) {
		for (int y = std::max(first - 1, 0); y <= first; ++y)
			load_row(frame, y, ring_row(slot.captured, y));
	}
	for (int y = first; y < end; ++y) {
		uint8_t *row = slot.row;
		if (plan.sharpening > 0) {
			if (y + 1 < frame.height)
				retouch(plan, memory, frame, y + 1, slot_number, ring_row(slot.retouched, y + 1));
			kernels::sharpen_row(ring_row(slot.retouched, std::max(y - 1, 0)), ring_row(slot.retouched, y),
					     ring_row(slot.retouched, std::min(y + 1, frame.height - 1)), frame.width,
					     plan.sharpening, plan.masked, row);
		} else {
			retouch(plan, memory, frame, y, slot_number, row);
		}
		if (plan.keyed && y + 1 < frame.height)
			load_row(frame, y + 1, ring_row(slot.captured, y + 1));
		else if (plan.masked && !plan.keyed)
			load_row(frame, y, ring_row(slot.captured, y));
		if (plan.masked) // the skin mask travelled in the row's alpha
			kernels::copy_alpha(ring_row(slot.captured, y), frame.width, row);
		if (plan.keyed)
			replace_background(plan, memory, frame, y, slot_number);
		if (plan.lookup != nullptr)
			kernels::lookup_row(row, frame.width, plan.lookup);
		draw_sprites(plan.sprites.data(), plan.sprite_count, y, row);
		std::memcpy(frame.output_row(y), row, frame.row_bytes());
	}
}

// A picture that is ready takes effect, and one that is still loaded learns what size it will be needed in.
void take_in_background_load(kl_engine &engine, const Frame &frame)
{
	engine.settle_background_load();
	engine.frame_width = frame.width;
	engine.frame_height = frame.height;
	if (engine.background_load)
		engine.background_load->set_frame_size(frame.width, frame.height);
}

} // namespace

void process_frame(kl_engine &engine, const Frame &frame)
{
	const int64_t start = engine.clock_us();
	take_in_background_load(engine, frame);
	const FramePlan plan = plan_frame(engine, frame, start);
	if (plan.is_neutral()) {
		copy_frame(frame);
		return;
	}
	Pool &pool = *engine.pool;
	FrameMemory &memory = engine.memory;
	resize(memory, frame, pool.threads());
	if (plan.retouch)
		memory.field.build(frame, engine.settings, pool);
	if (plan.blur_deviation > 0)
		memory.blur.build(frame, &plan.key, plan.blur_deviation, pool);
	const int64_t measured = engine.clock_us();
	const int bands = (frame.height + rows_per_band - 1) / rows_per_band;
	pool.run(bands, [&](int band, int slot) { process_band(plan, memory, frame, band, slot); });
	const int64_t end = engine.clock_us();
	engine.record({measured - start, end - measured, end - start}, end);
}

} // namespace kalvio::engine
