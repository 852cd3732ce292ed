// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/color_key.h"

#include "pool.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

namespace {

constexpr int64_t longest_gap_us = 500'000;

// Green and blue are compared with the larger of the other channels. Skin and lips have up to twice as much red as of
// the others, in levels: that much is no difference.
// Pale screens have a purity of two thirds, ordinary ones of nine tenths; lips and red hair reach seven tenths.
constexpr kernels::KeyChannel channels[] = {{1, 1.0F, 0.5F}, {2, 1.0F, 0.5F}, {0, 4.5F, 0.75F}};

// At similarity 0 what a screen's weave and its noise, averaged over neighbors and frames, make of it is keyed; at 1
// all that has a seventh of the screen's color difference.
constexpr float least_low = 0.035F;
constexpr float low_per_noise = 0.9F;
constexpr float most_low = 0.85F;
// Of the way from there to a neutral color: at smoothness 0 a little of the screen's light on the foreground leaves it
// opaque, at 1 a mixture of the two is as transparent as it is.
constexpr float least_width = 0.8F;

} // namespace

void ColorKey::choose_ramp(const ChromaKeySettings &settings)
{
	const float noise = std::min(screen_.noise(), 0.2F);
	const float calm = std::min(least_low + low_per_noise * noise, 0.35F);
	ramp_.low = calm + (most_low - calm) * settings.similarity;
	ramp_.high = ramp_.low + (1 - ramp_.low) * (least_width + (1 - least_width) * settings.smoothness);
	ramp_.despill = settings.desaturation;
	ramp_.noise = noise;
	ramp_.noise_level = std::max(screen_.level(), 16.0F);
	if (!screen_.is_found()) {
		ramp_.low = -8;
		ramp_.high = -4;
	}
}

void ColorKey::resize(const Frame &frame, int slots)
{
	if (width_ != frame.width || height_ != frame.height) {
		width_ = frame.width;
		height_ = frame.height;
		row_groups_ = size_t(width_ + kernels::key_group_pixels - 1) / kernels::key_group_pixels;
		row_values_ = (row_groups_ + 4) * kernels::key_group_pixels; // a group before, and some behind
		before_.ensure_capacity(row_groups_ * kernels::key_group_pixels * size_t(height_));
		known_.assign(row_groups_ * size_t(height_), 0);
		slots_.clear();
	}
	if (slots_.size() < size_t(slots))
		slots_.resize(size_t(slots));
	for (WorkerScratch &slot : slots_) {
		kernels::KeyOpacity *values = slot.values.ensure_capacity(row_values_ * 4) + kernels::key_group_pixels;
		for (OpacityRow *row : {&slot.rows[0], &slot.rows[1], &slot.rows[2], &slot.matte_row}) {
			row->y = -1;
			row->values = values;
			row->inverse_screen.resize(size_t(screen_.columns()) + 2);
			values += row_values_;
		}
	}
}

void ColorKey::restart()
{
	std::fill(known_.begin(), known_.end(), uint8_t{0});
}

void ColorKey::update(const Frame &frame, const ChromaKeySettings &settings, int64_t now_us, Pool &pool)
{
	channel_ = channels[settings.color];
	screen_.build(frame, channel_, pool);
	choose_ramp(settings);
	resize(frame, pool.threads());
	if (settings != settings_ || now_us - time_us_ > longest_gap_us || screen_.is_cut())
		restart();
	settings_ = settings;
	time_us_ = now_us;
}

void ColorKey::measure_row(int y, int width, const uint8_t *captured, OpacityRow &row) const
{
	screen_.write_inverse(y, row.inverse_screen.data());
	kernels::key_opacity_row(captured, width, channel_, row.inverse_screen.data() + 1, row.values);
	row.y = y;
}

const ColorKey::OpacityRow &ColorKey::opacity_row(int y, int width, const uint8_t *captured, WorkerScratch &slot) const
{
	OpacityRow &row = slot.rows[size_t(y % 3)];
	if (row.y != y)
		measure_row(y, width, captured, row);
	return row;
}

void ColorKey::write_row(int y, int slot_number, int width, const std::array<const uint8_t *, 3> &captured,
			 uint8_t *row, uint8_t *matte)
{
	WorkerScratch &slot = slots_[size_t(slot_number)];
	const OpacityRow &above = opacity_row(std::max(y - 1, 0), width, captured[0], slot);
	const OpacityRow &own = opacity_row(y, width, captured[1], slot);
	const OpacityRow &below = opacity_row(std::min(y + 1, height_ - 1), width, captured[2], slot);
	const size_t first_group = row_groups_ * size_t(y);
	const kernels::KeyHistory history = {before_.data() + first_group * kernels::key_group_pixels,
					     known_.data() + first_group};
	kernels::key_row({above.values, own.values, below.values}, width, ramp_, channel_,
			 own.inverse_screen.data() + 1, screen_.cells(y), history, row, matte);
}

void ColorKey::write_matte_row(int y, int slot_number, int width, const uint8_t *captured, uint8_t *matte)
{
	OpacityRow &row = slots_[size_t(slot_number)].matte_row;
	measure_row(y, width, captured, row);
	kernels::key_matte_row(row.values, width, ramp_, matte);
}

} // namespace kalvio::engine
