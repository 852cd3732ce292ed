// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/skin_map.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

namespace {

// Cell means have 4 fraction bits.
constexpr int steps = 255 * 16 + 1;
constexpr float units_per_octave = 256;
constexpr int units_per_bin = 8;
// The corner of the bins, in units: log2(r/g) from -0.25, log2(b/g) from -1.5 octaves.
constexpr int first_red = -64;
constexpr int first_blue = -384;
// Added to each channel, in levels: the ratios of almost black pixels mean nothing.
constexpr float floor_level = 4;

// Skin in octaves, along the axes sum = log2(r/g) + log2(b/g) (green against magenta) and
// difference = log2(r/g) - log2(b/g) (cold against warm). Lights move it along the second far more than the first.
constexpr float expected_sum = 0.08F;
constexpr float expected_sum_deviation = 0.16F;
constexpr float expected_difference_low = 0.40F;
constexpr float expected_difference_high = 1.20F;
constexpr float expected_difference_deviation = 0.15F;
constexpr float found_sum_deviation = 0.13F;
constexpr float found_difference_deviation = 0.22F;

// Cells darker than the first are no skin, from the second on they may be.
constexpr float dark_luma = 0.05F;
constexpr float lit_luma = 0.14F;

struct LogTable {
	std::array<int16_t, steps> values;

	LogTable()
	{
		for (int step = 0; step < steps; ++step) {
			const double level = step / 16.0 + double{floor_level};
			values[size_t(step)] =
				static_cast<int16_t>(std::lrint(std::log2(level) * double{units_per_octave}));
		}
	}
};

const LogTable &logarithms()
{
	static const LogTable table;
	return table;
}

struct ChromaPoint {
	float sum;
	float difference;
};

ChromaPoint centre_of_bin(int index, int bins)
{
	const float red = (static_cast<float>(first_red + (index % bins) * units_per_bin) + units_per_bin * 0.5F) /
			  units_per_octave;
	const float blue = (static_cast<float>(first_blue + (index / bins) * units_per_bin) + units_per_bin * 0.5F) /
			   units_per_octave;
	return {red + blue, red - blue};
}

float bell(float distance, float deviation)
{
	const float scaled = distance / deviation;
	// Rounded to steps of 2^-16: the last bit of exp differs between math libraries.
	return std::nearbyint(std::exp(-0.5F * scaled * scaled) * 65536.0F) / 65536.0F;
}

float expectation(ChromaPoint point)
{
	const float outside = std::max(
		{expected_difference_low - point.difference, point.difference - expected_difference_high, 0.0F});
	return bell(point.sum - expected_sum, expected_sum_deviation) * bell(outside, expected_difference_deviation);
}

float ramp(float value, float from, float to)
{
	const float position = std::clamp((value - from) / (to - from), 0.0F, 1.0F);
	return position * position * (3 - 2 * position);
}

int step_of(float centred_level)
{
	return std::clamp(static_cast<int>(std::lrint((centred_level + 128.0F) * 16.0F)), 0, steps - 1);
}

float luma_of(const float *cell)
{
	const float level = 0.2126F * cell[0] + 0.7152F * cell[1] + 0.0722F * cell[2] + 128.0F;
	return level / 255.0F;
}

} // namespace

SkinModel::SkinModel() = default;

int SkinModel::bin_of(int red, int green, int blue)
{
	const auto &log = logarithms().values;
	const int green_log = log[size_t(green)];
	const int column = (log[size_t(red)] - green_log - first_red) / units_per_bin;
	const int row = (log[size_t(blue)] - green_log - first_blue) / units_per_bin;
	return std::clamp(row, 0, bins - 1) * bins + std::clamp(column, 0, bins - 1);
}

void SkinModel::count(const float *cells, int columns)
{
	// Every second cell is enough for a histogram.
	for (int column = 0; column < columns; column += 2) {
		const float *cell = cells + size_t(column) * 4;
		if (luma_of(cell) > lit_luma)
			++counts_[size_t(bin_of(step_of(cell[0]), step_of(cell[1]), step_of(cell[2])))];
	}
}

void SkinModel::adapt()
{
	std::array<float, bins * bins> weights;
	float total = 0;
	for (int index = 0; index < bins * bins; ++index) {
		weights[size_t(index)] =
			static_cast<float>(counts_[size_t(index)]) * expectation(centre_of_bin(index, bins));
		total += weights[size_t(index)];
	}

	// Mean shift from the expected middle to the picture's own peak.
	ChromaPoint centre = {expected_sum, 0.5F * (expected_difference_low + expected_difference_high)};
	constexpr int shifts = 6;
	for (int shift = 0; shift < shifts && total > 0; ++shift) {
		float weight_sum = 0;
		ChromaPoint mean = {0, 0};
		for (int index = 0; index < bins * bins; ++index) {
			if (weights[size_t(index)] == 0)
				continue;
			const ChromaPoint point = centre_of_bin(index, bins);
			const float weight = weights[size_t(index)] *
					     bell(point.sum - centre.sum, found_sum_deviation) *
					     bell(point.difference - centre.difference, found_difference_deviation);
			weight_sum += weight;
			mean.sum += weight * point.sum;
			mean.difference += weight * point.difference;
		}
		if (weight_sum <= 0)
			break;
		centre = {mean.sum / weight_sum, mean.difference / weight_sum};
	}

	for (int index = 0; index < bins * bins; ++index) {
		const ChromaPoint point = centre_of_bin(index, bins);
		const float near = bell(point.sum - centre.sum, found_sum_deviation) *
				   bell(point.difference - centre.difference, found_difference_deviation);
		membership_[size_t(index)] = ramp(near * std::sqrt(expectation(point)), 0.10F, 0.40F);
	}
}

void SkinModel::map(const float *cells, int columns, float *out) const
{
	for (int column = 0; column < columns; ++column) {
		const float *cell = cells + size_t(column) * 4;
		const int bin = bin_of(step_of(cell[0]), step_of(cell[1]), step_of(cell[2]));
		const float luma = luma_of(cell);
		const float skin = membership_[size_t(bin)] * ramp(luma, dark_luma, lit_luma);
		float *result = out + size_t(column) * 4;
		result[0] = skin;
		result[1] = luma;
		result[2] = skin * luma;
		result[3] = luma * luma;
	}
}

void skin_lines(const float *windows, int columns, float epsilon, float *out)
{
	for (int column = 0; column < columns; ++column) {
		const float *window = windows + size_t(column) * 4;
		const float covariance = window[2] - window[0] * window[1];
		const float variance = std::max(window[3] - window[1] * window[1], 0.0F);
		const float slope = covariance / (variance + epsilon);
		float *line = out + size_t(column) * 4;
		line[0] = slope;
		line[1] = window[0] - slope * window[1];
		line[2] = 0;
		line[3] = 0;
	}
}

} // namespace kalvio::engine
