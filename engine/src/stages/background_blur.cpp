// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/background_blur.h"

#include "pool.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace kalvio::engine {

namespace {

constexpr int smallest_block = 4;
constexpr int lines = 4; // picture rows that are summed at a time
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

void BackgroundBlur::choose_scale(const Frame &frame, float deviation)
{
	block_ = smallest_block;
	while (block_ < max_block && deviation > largest_grid_deviation * static_cast<float>(block_))
		block_ *= 2;
	const float grid_deviation = deviation / static_cast<float>(block_);
	taps_ = gaussian(grid_deviation * grid_deviation - variance_of_grid, weights_.data(), max_taps);
	mix_ = static_cast<int>(std::lrint(std::min(grid_deviation / std::sqrt(variance_of_grid), 1.0F) * 256.0F));
	columns_ = (frame.width + block_ - 1) / block_;
	rows_ = (frame.height + block_ - 1) / block_;

	for (int pixel = 0; pixel < block_; ++pixel) {
		const float place = (static_cast<float>(pixel) + 0.5F) / static_cast<float>(block_) - 0.5F;
		const auto weight = static_cast<int16_t>(std::lrint(std::abs(place) * 32768.0F));
		for (size_t channel = 0; channel < 2; ++channel) {
			left_[size_t(pixel) * 2 + channel] = place < 0 ? weight : int16_t{0};
			right_[size_t(pixel) * 2 + channel] = place < 0 ? int16_t{0} : weight;
		}
	}
}

void BackgroundBlur::resize(const Frame &frame, int slots)
{
	row_floats_ = (columns_ * 4 + kernels::grid_padding + 15) / 16 * 16;
	row_values_ = (columns_ + 2) * 4 + kernels::grid_padding;
	means_.require(size_t(row_floats_) * size_t(rows_));
	across_.require(size_t(row_floats_) * size_t(rows_));
	cells_.require(size_t(row_values_) * size_t(rows_));

	const size_t pair_values = size_t(columns_) * size_t(block_) * 2 + size_t(kernels::grid_padding);
	slots_.resize(std::max(slots_.size(), size_t(slots)));
	for (Slot &slot : slots_) {
		slot.lines.require((frame.row_bytes() + size_t(kernels::row_padding_bytes)) * lines * 2);
		slot.column_sums.require(pair_values * 2);
		slot.sums.require(size_t(row_floats_) + max_taps * 4);
		int16_t *values = slot.enlarged_values.require(pair_values * 4);
		for (EnlargedRow &row : slot.enlarged) {
			row = {-1, {values, values + pair_values}};
			values += 2 * pair_values;
		}
	}
}

// At the right and lower edge the last pixels stand for those beyond.
void BackgroundBlur::measure_row(const Frame &frame, const kernels::ColorKey *key, int y, Slot &slot)
{
	const size_t line_bytes = frame.row_bytes() + size_t(kernels::row_padding_bytes);
	uint16_t *values = slot.column_sums.data();
	const kernels::ChannelSums sums = {values, values + size_t(columns_) * size_t(block_) * 2 +
							   size_t(kernels::grid_padding)};
	for (int first = 0; first < block_; first += lines) {
		const uint8_t *rows[lines];
		for (int line = 0; line < lines; ++line) {
			uint8_t *scratch = slot.lines.data() + size_t(line) * line_bytes;
			const uint8_t *row = frame.input_row(std::min(y * block_ + first + line, frame.height - 1));
			if (!frame.has_rows_of_whole_vectors())
				row = std::copy_n(row, frame.row_bytes(), scratch) - frame.row_bytes();
			if (key != nullptr) {
				uint8_t *matte = scratch + lines * line_bytes;
				kernels::key_row(row, frame.width, *key, matte);
				kernels::weigh_row(row, frame.width, matte, scratch);
				row = scratch;
			}
			rows[line] = row;
		}
		kernels::sum_rows(rows, frame.width * 4, first > 0, sums);
	}
	for (uint16_t *channels : {sums.red_blue, sums.green_alpha}) {
		for (int x = frame.width; x < columns_ * block_; ++x)
			std::copy_n(channels + (frame.width - 1) * 2, 2, channels + x * 2);
	}
	kernels::cells_of_sums(sums, block_, columns_, key == nullptr, row_of(means_, y));
}

void BackgroundBlur::convolve_across(int y, Slot &slot)
{
	const float *source = row_of(means_, y);
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
	kernels::convolve_rows(rows, weights_.data(), taps_, columns_ * 4, slot.sums.data());

	constexpr size_t cell_bytes = 4 * sizeof(int16_t);
	int16_t *before = cells_.data() + size_t(y) * size_t(row_values_);
	int16_t *behind = before + size_t(columns_ + 1) * 4;
	kernels::fixed_cells(slot.sums.data(), columns_, before + 4);
	std::memcpy(before, before + 4, cell_bytes);
	std::memcpy(behind, behind - 4, cell_bytes);
}

void BackgroundBlur::build(const Frame &frame, const kernels::ColorKey *key, float deviation, Pool &pool)
{
	choose_scale(frame, deviation);
	resize(frame, pool.threads());
	pool.run(rows_, [&](int y, int slot) {
		measure_row(frame, key, y, slots_[size_t(slot)]);
		convolve_across(y, slots_[size_t(slot)]);
	});
	pool.run(rows_, [&](int y, int slot) { convolve_down(y, slots_[size_t(slot)]); });
}

const kernels::ChannelRows &BackgroundBlur::enlarged_row(int y, Slot &slot)
{
	EnlargedRow &row = slot.enlarged[size_t(y % 2)];
	if (row.cell_row != y) {
		const int16_t *cells = cells_.data() + size_t(y) * size_t(row_values_) + 4;
		kernels::enlarge_cells(cells, block_, left_.data(), right_.data(), columns_, row.values);
		row.cell_row = y;
	}
	return row.values;
}

void BackgroundBlur::write_row(int y, int slot, int width, uint8_t *row)
{
	const float place = (static_cast<float>(y) + 0.5F) / static_cast<float>(block_) - 0.5F;
	const int upper = static_cast<int>(std::floor(place));
	const auto weight = static_cast<int16_t>(std::lrint((place - static_cast<float>(upper)) * 32767.0F));
	const kernels::ChannelRows &above = enlarged_row(std::max(upper, 0), slots_[size_t(slot)]);
	const kernels::ChannelRows &below = enlarged_row(std::min(upper + 1, rows_ - 1), slots_[size_t(slot)]);
	kernels::blend_rows(above, below, weight, width, y, row);
}

} // namespace kalvio::engine
