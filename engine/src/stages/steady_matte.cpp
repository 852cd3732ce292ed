// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/steady_matte.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

namespace {

// Shares of the frame: between them, what was decided stays. A head that is an eighth of the frame's height covers 0.6
// %.
constexpr float somebody_share = 0.006F;
constexpr float nobody_share = 0.003F;
constexpr float seconds_until_somebody = 0.1F;
constexpr float seconds_until_nobody = 0.4F;
constexpr float fade_in_s = 0.2F;
constexpr float fade_out_s = 0.4F;

// Of a still cell's change, this is taken in within a thirtieth of a second.
constexpr float still_weight = 0.15F;
constexpr float frame_s = 1.0F / 30;
// A change of three tenths is motion and taken in at once; one of a twentieth is noise.
constexpr float motion_gain = 4;
constexpr float noise_change = 0.05F;

// The net hesitates more often within people than beside them. Between these values a cell is neither.
constexpr float surely_nobody = 0.15F;
constexpr float surely_somebody = 0.7F;

float decided(float value)
{
	return std::clamp((value - surely_nobody) / (surely_somebody - surely_nobody), 0.0F, 1.0F);
}

} // namespace

float SteadyMatte::presence() const
{
	return fade_ * fade_ * (3 - 2 * fade_);
}

void SteadyMatte::follow_presence(std::span<const float> matte, float seconds)
{
	const auto count = std::count_if(matte.begin(), matte.end(), [](float value) { return value > 0.5F; });
	const float share = static_cast<float>(count) / static_cast<float>(matte.size());
	if (is_fresh_) {
		somebody_ = share >= somebody_share;
		fade_ = somebody_ ? 1.0F : 0.0F;
		contrary_s_ = 0;
		return;
	}
	const bool contrary = somebody_ ? share < nobody_share : share >= somebody_share;
	contrary_s_ = contrary ? contrary_s_ + seconds : 0;
	if (contrary_s_ >= (somebody_ ? seconds_until_nobody : seconds_until_somebody)) {
		somebody_ = !somebody_;
		contrary_s_ = 0;
	}
	fade_ = somebody_ ? std::min(fade_ + seconds / fade_in_s, 1.0F) : std::max(fade_ - seconds / fade_out_s, 0.0F);
}

void SteadyMatte::follow_cells(std::span<const float> matte, float seconds)
{
	if (is_fresh_) {
		std::copy(matte.begin(), matte.end(), steady_.begin());
		return;
	}
	const float still = std::min(still_weight * seconds / frame_s, 1.0F);
	for (size_t cell = 0; cell < cell_count; ++cell) {
		const float change = matte[cell] - steady_[cell];
		steady_[cell] += change * std::clamp(motion_gain * (std::fabs(change) - noise_change), still, 1.0F);
	}
}

void SteadyMatte::publish()
{
	const float weight = presence();
	for (size_t cell = 0; cell < cell_count; ++cell)
		shown_[cell] = decided(steady_[cell]) * weight;
	// The largest of 3 x 3, first along the rows.
	std::array<float, columns> largest[3];
	const auto widen_row = [&](int y) {
		const float *row = &shown_[size_t(y) * columns];
		std::array<float, columns> &out = largest[y % 3];
		for (int x = 0; x < columns; ++x)
			out[size_t(x)] = std::max({row[std::max(x - 1, 0)], row[x], row[std::min(x + 1, columns - 1)]});
	};
	widen_row(0);
	for (int y = 0; y < rows; ++y) {
		if (y + 1 < rows)
			widen_row(y + 1);
		const std::array<float, columns> &above = largest[std::max(y - 1, 0) % 3];
		const std::array<float, columns> &own = largest[y % 3];
		const std::array<float, columns> &below = largest[std::min(y + 1, rows - 1) % 3];
		for (size_t x = 0; x < size_t(columns); ++x)
			widened_[size_t(y) * columns + x] = std::max({above[x], own[x], below[x]});
	}
}

void SteadyMatte::update(std::span<const float> matte, float seconds)
{
	follow_presence(matte, seconds);
	follow_cells(matte, seconds);
	is_fresh_ = false;
	publish();
}

} // namespace kalvio::engine
