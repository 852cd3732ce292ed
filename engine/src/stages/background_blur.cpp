// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/background_blur.h"

#include "pool.h"
#include "stages/color_key.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace kalvio::engine {

namespace {

constexpr int smallest_block = 4;
constexpr int lines = 4; // picture rows that are summed at a time
// In cells. Larger deviations go to a coarser grid: the cost of a pixel does not depend on the strength.
constexpr float largest_grid_sigma = 4;
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

// Light of a level, sRGB (IEC 61966-2-1), 16 bits: the last bit of pow differs between math libraries.
using LightTable = std::array<uint32_t, 256>;

double light_of(double level)
{
	return level <= 0.04045 ? level / 12.92 : std::pow((level + 0.055) / 1.055, 2.4);
}

double level_of(double light)
{
	return light <= 0.0031308 ? light * 12.92 : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
}

const LightTable &light_table()
{
	static const LightTable table = [] {
		LightTable made{};
		for (size_t level = 0; level < made.size(); ++level)
			made[level] =
				static_cast<uint32_t>(std::lrint(light_of(static_cast<double>(level) / 255) * 65535));
		return made;
	}();
	return table;
}

// Shares are 0..one_share. The person's own weight is next to nothing, but not nothing: where there is no background
// within reach, the blur is of what is there.
constexpr int one_share = 2048;

uint16_t background_share(float person)
{
	const float place = std::clamp(person / 0.5F, 0.0F, 1.0F);
	const float background = 1 - place * place * (3 - 2 * place);
	return static_cast<uint16_t>(std::max(std::lrint(background * one_share), 1L));
}

constexpr int share_pixels = 4; // on the side of what has one share

} // namespace

void BackgroundBlur::choose_scale(const Frame &frame, float sigma)
{
	block_ = smallest_block;
	while (block_ < max_block && sigma > largest_grid_sigma * static_cast<float>(block_))
		block_ *= 2;
	const float grid_sigma = sigma / static_cast<float>(block_);
	taps_ = gaussian(grid_sigma * grid_sigma - variance_of_grid, weights_.data(), max_taps);
	mix_ = static_cast<int>(std::lrint(std::min(grid_sigma / std::sqrt(variance_of_grid), 1.0F) * 256.0F));
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
	means_.ensure_capacity(size_t(row_floats_) * size_t(rows_));
	across_.ensure_capacity(size_t(row_floats_) * size_t(rows_));
	cells_.ensure_capacity(size_t(row_values_) * size_t(rows_));

	const size_t pair_values = size_t(columns_) * size_t(block_) * 2 + size_t(kernels::grid_padding);
	slots_.resize(std::max(slots_.size(), size_t(slots)));
	for (WorkerScratch &slot : slots_) {
		slot.lines.ensure_capacity((frame.row_bytes() + size_t(kernels::row_padding_bytes)) * lines * 2);
		slot.column_sums.ensure_capacity(pair_values * 2);
		slot.sums.ensure_capacity(size_t(row_floats_) + max_taps * 4);
		int16_t *values = slot.upsampled_values.ensure_capacity(pair_values * 4);
		slot.shares.resize(size_t(frame.width + share_pixels - 1) / share_pixels);
		slot.light.resize(size_t(columns_) * 4);
		for (UpsampledRow &row : slot.upsampled) {
			row = {-1, {values, values + pair_values}};
			values += 2 * pair_values;
		}
	}
}

// At the right and lower edge the last pixels stand for those beyond.
void BackgroundBlur::measure_row(const Frame &frame, ColorKey *key, int y, int slot_number)
{
	WorkerScratch &slot = slots_[size_t(slot_number)];
	const size_t line_bytes = frame.row_bytes() + size_t(kernels::row_padding_bytes);
	uint16_t *values = slot.column_sums.data();
	const kernels::ChannelSums sums = {values, values + size_t(columns_) * size_t(block_) * 2 +
							   size_t(kernels::grid_padding)};
	for (int first = 0; first < block_; first += lines) {
		const uint8_t *rows[lines];
		for (int line = 0; line < lines; ++line) {
			uint8_t *scratch = slot.lines.data() + size_t(line) * line_bytes;
			const int picture_row = std::min(y * block_ + first + line, frame.height - 1);
			const uint8_t *row = frame.input_row(picture_row);
			if (!frame.has_rows_of_whole_vectors())
				row = std::copy_n(row, frame.row_bytes(), scratch) - frame.row_bytes();
			if (key != nullptr) {
				uint8_t *matte = scratch + lines * line_bytes;
				key->write_matte_row(picture_row, slot_number, frame.width, row, matte);
				kernels::background_weighted_row(row, frame.width, matte, scratch);
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
	kernels::average_blocks(sums, block_, columns_, key == nullptr, row_of(means_, y));
}

// The shares of a row of squares.
void BackgroundBlur::write_shares(const Frame &frame, const CoarseMatte &person, int y, WorkerScratch &slot) const
{
	const auto places = [](int pixels, int cells) {
		return static_cast<float>(share_pixels * cells) / static_cast<float>(pixels);
	};
	const float down = places(frame.height, person.rows);
	const CoarsePlace line((static_cast<float>(y) + 0.5F) * down - 0.5F, person.rows);
	const float *above = person.row(line.first);
	const float *below = person.row(line.second);
	slot.person.resize(size_t(person.columns));
	for (size_t x = 0; x < slot.person.size(); ++x)
		slot.person[x] = above[x] + (below[x] - above[x]) * line.part;
	const float across = places(frame.width, person.columns);
	for (size_t x = 0; x < slot.shares.size(); ++x) {
		const CoarsePlace place((static_cast<float>(x) + 0.5F) * across - 0.5F, person.columns);
		slot.shares[x] = background_share(place.mix(slot.person.data()));
	}
}

// At the right and lower edge there is no light, and no weight.
void BackgroundBlur::measure_light(const Frame &frame, const CoarseMatte &person, int y, WorkerScratch &slot)
{
	const LightTable &table = light_table();
	std::fill(slot.light.begin(), slot.light.end(), 0);
	const int squares = block_ / share_pixels; // of a cell, on a side
	for (int square_row = y * squares; square_row < (y + 1) * squares; ++square_row) {
		const int top = square_row * share_pixels;
		const int height = std::min(share_pixels, frame.height - top);
		if (height <= 0)
			break;
		write_shares(frame, person, square_row, slot);
		for (size_t square = 0; square < slot.shares.size(); ++square) {
			const int left = static_cast<int>(square) * share_pixels;
			const int width = std::min(share_pixels, frame.width - left);
			uint32_t sums[4] = {0, 0, 0, 0}; // weighted by alpha
			for (int line = 0; line < height; ++line) {
				const uint8_t *pixel = frame.input_row(top + line) + size_t(left) * bytes_per_pixel;
				for (int step = 0; step < width; ++step, pixel += bytes_per_pixel) {
					const uint32_t alpha = pixel[3];
					sums[0] += table[pixel[0]] * alpha;
					sums[1] += table[pixel[2]] * alpha;
					sums[2] += table[pixel[1]] * alpha;
					sums[3] += alpha;
				}
			}
			const uint64_t share = slot.shares[square];
			uint64_t *cell = &slot.light[square / size_t(squares) * 4];
			for (int channel = 0; channel < 4; ++channel)
				cell[channel] += share * sums[channel];
		}
	}
	const float weight_scale = 1 / (float{one_share} * static_cast<float>(block_ * block_));
	float *mean = row_of(means_, y);
	for (size_t value = 0; value < slot.light.size(); ++value) {
		const float scale = value % 4 == 3 ? weight_scale : weight_scale / 65535;
		mean[value] = static_cast<float>(slot.light[value] / 255) * scale;
	}
}

void BackgroundBlur::convolve_across(int y, WorkerScratch &slot)
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

void BackgroundBlur::convolve_down(int y, const Encoding *encoding, WorkerScratch &slot)
{
	const float *rows[max_taps];
	for (int tap = 0; tap < taps_; ++tap)
		rows[tap] = row_of(across_, std::clamp(y + tap - taps_ / 2, 0, rows_ - 1));
	kernels::convolve_rows(rows, weights_.data(), taps_, columns_ * 4, slot.sums.data());

	constexpr size_t cell_bytes = 4 * sizeof(int16_t);
	int16_t *before = cells_.data() + size_t(y) * size_t(row_values_);
	int16_t *behind = before + size_t(columns_ + 1) * 4;
	kernels::unpremultiply_to_fixed(slot.sums.data(), columns_, before + 4);
	if (encoding != nullptr) {
		for (int16_t *value = before + 4; value != behind; ++value)
			*value = (*encoding)[size_t(*value)];
	}
	std::memcpy(before, before + 4, cell_bytes);
	std::memcpy(behind, behind - 4, cell_bytes);
}

void BackgroundBlur::build(const Frame &frame, ColorKey *key, float sigma, Pool &pool)
{
	choose_scale(frame, sigma);
	resize(frame, pool.threads());
	pool.run(rows_, [&](int y, int slot) {
		measure_row(frame, key, y, slot);
		convolve_across(y, slots_[size_t(slot)]);
	});
	pool.run(rows_, [&](int y, int slot) { convolve_down(y, nullptr, slots_[size_t(slot)]); });
}

void BackgroundBlur::build_linear(const Frame &frame, const CoarseMatte &person, float sigma, Pool &pool)
{
	static const Encoding encoding = [] {
		Encoding made{};
		for (size_t light = 0; light < made.size(); ++light)
			made[light] = static_cast<int16_t>(
				std::lrint(level_of(static_cast<double>(light) / kernels::white) * kernels::white));
		return made;
	}();
	choose_scale(frame, sigma);
	resize(frame, pool.threads());
	pool.run(rows_, [&](int y, int slot) {
		measure_light(frame, person, y, slots_[size_t(slot)]);
		convolve_across(y, slots_[size_t(slot)]);
	});
	pool.run(rows_, [&](int y, int slot) { convolve_down(y, &encoding, slots_[size_t(slot)]); });
}

const kernels::ChannelRows &BackgroundBlur::upsampled_row(int y, WorkerScratch &slot)
{
	UpsampledRow &row = slot.upsampled[size_t(y % 2)];
	if (row.cell_row != y) {
		const int16_t *cells = cells_.data() + size_t(y) * size_t(row_values_) + 4;
		kernels::upsample_row(cells, block_, left_.data(), right_.data(), columns_, row.values);
		row.cell_row = y;
	}
	return row.values;
}

void BackgroundBlur::write_row(int y, int slot, int width, uint8_t *row)
{
	const float place = (static_cast<float>(y) + 0.5F) / static_cast<float>(block_) - 0.5F;
	const int upper = static_cast<int>(std::floor(place));
	const auto weight = static_cast<int16_t>(std::lrint((place - static_cast<float>(upper)) * 32767.0F));
	const kernels::ChannelRows &above = upsampled_row(std::max(upper, 0), slots_[size_t(slot)]);
	const kernels::ChannelRows &below = upsampled_row(std::min(upper + 1, rows_ - 1), slots_[size_t(slot)]);
	kernels::blend_rows(above, below, weight, width, y, row);
}

} // namespace kalvio::engine
