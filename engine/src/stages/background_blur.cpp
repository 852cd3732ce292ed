// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/background_blur.h"

#include "kernels/kernels.h"
#include "pool.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace kalvio::engine {

namespace {

constexpr int fine_block = 4;
constexpr int max_block = 128;
constexpr int rows_per_task = 4;
// In cells. Larger deviations go to a coarser grid: the cost of a pixel does not depend on the strength.
constexpr float largest_grid_deviation = 4;
// Variance that is there before any convolution: a box of one cell (1/12) and linear interpolation (1/6).
constexpr float variance_of_grid = 0.25F;

// A Gaussian with weights rounded to 2^-20 (the last bit of exp differs between math libraries) that sum up to 1.
int gaussian(float variance, float *weights, int max_taps)
{
	if (variance <= 0) {
		weights[0] = 1;
		return 1;
	}
	const int radius = std::min(static_cast<int>(std::ceil(3.5F * std::sqrt(variance))), max_taps / 2);
	double total = 0;
	for (int tap = -radius; tap <= radius; ++tap)
		total += std::exp(-0.5 * tap * tap / double{variance});
	constexpr double one = 1 << 20;
	for (int tap = -radius; tap <= radius; ++tap) {
		const double weight = std::exp(-0.5 * tap * tap / double{variance}) / total;
		weights[tap + radius] = static_cast<float>(std::nearbyint(weight * one) / one);
	}
	return 2 * radius + 1;
}

} // namespace

void BackgroundBlur::choose_scale(const Frame &frame, float deviation, int slots)
{
	block_ = fine_block;
	while (block_ < max_block && deviation > largest_grid_deviation * static_cast<float>(block_))
		block_ *= 2;
	const float grid_deviation = deviation / static_cast<float>(block_);
	taps_ = gaussian(grid_deviation * grid_deviation - variance_of_grid, weights_.data(), max_taps);
	mix_ = static_cast<int>(std::lrint(std::min(grid_deviation / std::sqrt(variance_of_grid), 1.0F) * 256.0F));

	fine_columns_ = (frame.width + fine_block - 1) / fine_block;
	fine_rows_ = (frame.height + fine_block - 1) / fine_block;
	columns_ = (frame.width + block_ - 1) / block_;
	rows_ = (frame.height + block_ - 1) / block_;
	row_floats_ = (fine_columns_ * 4 + kernels::grid_padding + 15) / 16 * 16;
	row_values_ = (columns_ + 2) * 8 + kernels::grid_padding;

	for (int pixel = 0; pixel < block_; ++pixel) {
		const float place = (static_cast<float>(pixel) + 0.5F) / static_cast<float>(block_) - 0.5F;
		const auto weight = static_cast<int16_t>(std::lrint(std::abs(place) * 32768.0F));
		for (size_t channel = 0; channel < 4; ++channel) {
			left_[size_t(pixel) * 4 + channel] = place < 0 ? weight : int16_t{0};
			right_[size_t(pixel) * 4 + channel] = place < 0 ? int16_t{0} : weight;
		}
	}

	fine_.require(size_t(row_floats_) * size_t(fine_rows_));
	if (block_ > fine_block)
		coarse_.require(size_t(row_floats_) * size_t(rows_));
	across_.require(size_t(row_floats_) * size_t(rows_));
	cells_.require(size_t(row_values_) * size_t(rows_));
	slots_.resize(std::max(slots_.size(), size_t(slots)));
	const size_t line_bytes = size_t(fine_columns_) * 16 + size_t(kernels::row_padding_bytes);
	for (Slot &slot : slots_) {
		slot.lines.require(line_bytes * 8);
		slot.sums.require(size_t(row_floats_) + max_taps * 4);
		slot.row.require(size_t(row_values_));
	}
}

void BackgroundBlur::measure_row(const Frame &frame, const kernels::ColorKey *key, int y, Slot &slot)
{
	const size_t line_bytes = size_t(fine_columns_) * 16 + size_t(kernels::row_padding_bytes);
	const uint8_t *rows[4];
	const uint8_t *mattes[4];
	for (int line = 0; line < fine_block; ++line) {
		uint8_t *row = slot.lines.data() + size_t(line) * line_bytes;
		uint8_t *matte = row + 4 * line_bytes;
		std::memcpy(row, frame.input_row(std::min(y * fine_block + line, frame.height - 1)), frame.row_bytes());
		for (int x = frame.width; x < fine_columns_ * fine_block; ++x)
			std::memcpy(row + size_t(x) * 4, row + size_t(frame.width - 1) * 4, 4);
		if (key != nullptr)
			kernels::key_row(row, fine_columns_ * fine_block, *key, matte);
		else
			std::memset(matte, 0, size_t(fine_columns_) * 16);
		rows[line] = row;
		mattes[line] = matte;
	}
	kernels::background_cells(rows, mattes, fine_columns_, row_of(fine_, y));
}

// Cells of 4 x 4 pixels to cells of block_ x block_. At the right and lower edge the last ones stand for those beyond.
void BackgroundBlur::reduce_row(int y)
{
	const int factor = block_ / fine_block;
	const float scale = 1.0F / static_cast<float>(factor * factor);
	float *out = row_of(coarse_, y);
	for (int column = 0; column < columns_; ++column, out += 4) {
		float sum[4] = {0, 0, 0, 0};
		for (int line = 0; line < factor; ++line) {
			const float *row = row_of(fine_, std::min(y * factor + line, fine_rows_ - 1));
			for (int step = 0; step < factor; ++step) {
				const float *cell =
					row + size_t(std::min(column * factor + step, fine_columns_ - 1)) * 4;
				for (int channel = 0; channel < 4; ++channel)
					sum[channel] += cell[channel];
			}
		}
		for (int channel = 0; channel < 4; ++channel)
			out[channel] = sum[channel] * scale;
	}
}

void BackgroundBlur::convolve_across(int y, Slot &slot)
{
	const float *source = row_of(block_ == fine_block ? fine_ : coarse_, y);
	const int radius = taps_ / 2;
	float *padded = slot.sums.data();
	float *first = padded + size_t(radius) * 4;
	std::memcpy(first, source, size_t(columns_) * 4 * sizeof(float));
	const float *last = first + size_t(columns_ - 1) * 4;
	for (int step = 1; step <= radius; ++step) {
		std::memcpy(first - step * 4, source, 4 * sizeof(float));
		std::memcpy(first + size_t(columns_ - 1 + step) * 4, last, 4 * sizeof(float));
	}
	kernels::convolve_cells(padded, weights_.data(), taps_, columns_, row_of(across_, y));
}

void BackgroundBlur::convolve_down(int y, Slot &slot)
{
	const float *rows[max_taps];
	for (int tap = 0; tap < taps_; ++tap)
		rows[tap] = row_of(across_, std::clamp(y + tap - taps_ / 2, 0, rows_ - 1));
	float *sums = slot.sums.data();
	kernels::convolve_rows(rows, weights_.data(), taps_, columns_ * 4, sums);

	int16_t *out = cells_.data() + size_t(y) * size_t(row_values_);
	for (int column = 0; column < columns_; ++column) {
		// The fourth channel counts background pixels, 255 for each.
		constexpr float almost_none = 1.0F / 4096.0F;
		const float *sum = sums + size_t(column) * 4;
		const float scale = 64.0F * 255.0F / std::max(sum[3], almost_none);
		int16_t *cell = out + size_t(column + 1) * 8;
		for (int channel = 0; channel < 3; ++channel) {
			const float value = std::min(sum[channel] * scale, 255.0F * 64.0F);
			cell[channel] = cell[channel + 4] = static_cast<int16_t>(std::lrint(value));
		}
		cell[3] = cell[7] = 255 * 64;
	}
	std::memcpy(out, out + 8, 8 * sizeof(int16_t));
	std::memcpy(out + size_t(columns_ + 1) * 8, out + size_t(columns_) * 8, 8 * sizeof(int16_t));
}

void BackgroundBlur::build(const Frame &frame, const kernels::ColorKey *key, float deviation, Pool &pool)
{
	choose_scale(frame, deviation, pool.threads());
	const auto for_rows = [&](int rows, auto &&work) {
		pool.run((rows + rows_per_task - 1) / rows_per_task, [&](int task, int slot) {
			const int end = std::min(rows, (task + 1) * rows_per_task);
			for (int y = task * rows_per_task; y < end; ++y)
				work(y, slots_[size_t(slot)]);
		});
	};
	for_rows(fine_rows_, [&](int y, Slot &slot) { measure_row(frame, key, y, slot); });
	for_rows(rows_, [&](int y, Slot &slot) {
		if (block_ > fine_block)
			reduce_row(y);
		convolve_across(y, slot);
	});
	for_rows(rows_, [&](int y, Slot &slot) { convolve_down(y, slot); });
}

void BackgroundBlur::write_row(int y, int slot, int width, uint8_t *row)
{
	const float place = (static_cast<float>(y) + 0.5F) / static_cast<float>(block_) - 0.5F;
	const int upper = static_cast<int>(std::floor(place));
	const auto weight = static_cast<int16_t>(std::lrint((place - static_cast<float>(upper)) * 32767.0F));
	const int16_t *above = cells_.data() + size_t(std::max(upper, 0)) * size_t(row_values_);
	const int16_t *below = cells_.data() + size_t(std::min(upper + 1, rows_ - 1)) * size_t(row_values_);
	int16_t *values = slots_[size_t(slot)].row.data();
	kernels::lerp_rows(above, below, weight, (columns_ + 2) * 8, values);
	kernels::enlarge_row(values + 8, block_ / 4, left_.data(), right_.data(), width, y, row);
}

} // namespace kalvio::engine
