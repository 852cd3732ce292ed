// SPDX-License-Identifier: GPL-2.0-or-later

// A frame's way through the engine. First what needs the whole picture is measured on reduced grids; then bands of rows
// go through all stages while they are in the cache. A stage without effect is not entered.
#include "pipeline.h"

#include "engine.h"
#include "kernels/kernels.h"
#include "stages/tone.h"

#include <algorithm>
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
	const int16_t *lookup = nullptr; // the colour filter

	bool is_neutral() const { return !retouch && sharpening == 0 && lookup == nullptr; }
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

FramePlan plan_frame(kl_engine &engine)
{
	const Settings &settings = engine.settings;
	FramePlan plan;
	plan.retouch = RetouchField::is_needed(settings);
	plan.masked = plan.retouch && settings.skin_only;
	plan.tone = tone_gains(settings);
	plan.sharpening = static_cast<int>(std::lrint(settings.sharpening * strongest_sharpening));
	plan.lookup = prepare_lookup(engine.effects, settings.filter_intensity);
	return plan;
}

void resize(FrameMemory &memory, const Frame &frame, int slots)
{
	memory.slots.resize(std::max(memory.slots.size(), size_t(slots)));
	const size_t row_bytes = (frame.row_bytes() + 2 * kernels::row_padding_bytes + 63) / 64 * 64;
	for (FrameMemory::Slot &slot : memory.slots) {
		uint8_t *bytes = slot.bytes.require(row_bytes * 5) + kernels::row_padding_bytes;
		for (uint8_t *&row : slot.retouched) {
			row = bytes;
			bytes += row_bytes;
		}
		slot.row = bytes;
		slot.input = bytes + row_bytes;
	}
}

// A scratch copy of the input row, continued at both ends with its last pixels.
void load_row(const Frame &frame, int y, uint8_t *row)
{
	std::memcpy(row, frame.input_row(y), frame.row_bytes());
	std::memcpy(row - bytes_per_pixel, row, bytes_per_pixel);
	uint8_t *end = row + frame.row_bytes();
	for (int pixel = 0; pixel < 4; ++pixel)
		std::memcpy(end + pixel * bytes_per_pixel, end - bytes_per_pixel, bytes_per_pixel);
}

void continue_row(const Frame &frame, uint8_t *row)
{
	std::memcpy(row - bytes_per_pixel, row, bytes_per_pixel);
	uint8_t *end = row + frame.row_bytes();
	std::memcpy(end, end - bytes_per_pixel, bytes_per_pixel);
}

// Smoothing, whitening and rosiness.
void retouch(const FramePlan &plan, FrameMemory &memory, const Frame &frame, int y, int slot, uint8_t *row)
{
	load_row(frame, y, row);
	if (plan.retouch) {
		kernels::retouch_row(row, frame.width, memory.field.row(y, slot), plan.masked, plan.tone, y);
		continue_row(frame, row);
	}
}

// The skin mask travelled in the row's alpha.
void restore_alpha(const Frame &frame, int y, uint8_t *scratch, uint8_t *row)
{
	std::memcpy(scratch, frame.input_row(y), frame.row_bytes());
	kernels::copy_alpha(scratch, frame.width, row);
}

void process_band(const FramePlan &plan, FrameMemory &memory, const Frame &frame, int band, int slot_number)
{
	FrameMemory::Slot &slot = memory.slots[size_t(slot_number)];
	const int first = band * rows_per_band;
	const int end = std::min(frame.height, first + rows_per_band);
	const auto ring_row = [&](int y) {
		return slot.retouched[size_t((y + 3) % 3)];
	};

	if (plan.sharpening > 0) {
		for (int y = std::max(first - 1, 0); y <= first; ++y)
			retouch(plan, memory, frame, y, slot_number, ring_row(y));
	}
	for (int y = first; y < end; ++y) {
		uint8_t *row = slot.row;
		if (plan.sharpening > 0) {
			if (y + 1 < frame.height)
				retouch(plan, memory, frame, y + 1, slot_number, ring_row(y + 1));
			kernels::sharpen_row(ring_row(std::max(y - 1, 0)), ring_row(y),
					     ring_row(std::min(y + 1, frame.height - 1)), frame.width, plan.sharpening,
					     plan.masked, row);
		} else {
			retouch(plan, memory, frame, y, slot_number, row);
		}
		if (plan.masked)
			restore_alpha(frame, y, slot.input, row);
		if (plan.lookup != nullptr)
			kernels::lookup_row(row, frame.width, plan.lookup);
		std::memcpy(frame.output_row(y), row, frame.row_bytes());
	}
}

} // namespace

void process_frame(kl_engine &engine, const Frame &frame)
{
	const FramePlan plan = plan_frame(engine);
	if (plan.is_neutral()) {
		copy_frame(frame);
		return;
	}
	Pool &pool = *engine.pool;
	FrameMemory &memory = engine.memory;
	resize(memory, frame, pool.threads());
	if (plan.retouch)
		memory.field.build(frame, engine.settings, pool);
	const int bands = (frame.height + rows_per_band - 1) / rows_per_band;
	pool.run(bands, [&](int band, int slot) { process_band(plan, memory, frame, band, slot); });
}

} // namespace kalvio::engine
