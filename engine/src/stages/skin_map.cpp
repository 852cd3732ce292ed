// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/skin_map.h"

#include "smoothstep.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

namespace {

// Cell means have 4 fraction bits.
constexpr int distance_steps = 255 * 16 + 1;
constexpr float units_per_octave = 256;
// The corner of the bins and their sizes, in units. The first axis is log2(r/g) + log2(b/g), the second log2(r/b), the
// third log2 of the luma level.
constexpr int first_sum = -108;
constexpr int units_per_sum = 8;
constexpr int first_difference = -77;
constexpr int units_per_difference = 16;
constexpr int first_luma = 4 * 256;
constexpr int units_per_luma = 64;
// Added to each channel, in levels: the ratios of almost black pixels mean nothing.
constexpr float floor_level = 4;

// Skin in octaves. Lights move it from cold to warm far more than from green to magenta.
constexpr float expected_sum = 0.10F;
constexpr float expected_sum_sigma = 0.14F;
constexpr float expected_difference_low = 0.24F;
constexpr float expected_difference_high = 1.20F;
constexpr float expected_difference_sigma = 0.10F;
constexpr float found_sum_sigma = 0.13F;
constexpr float found_difference_sigma = 0.24F;
constexpr float found_luma_sigma = 0.5F;
// Blemishes and flushed cheeks are skin, too: towards red both reach further.
constexpr float redder = 1.6F;
// Shadowed skin lies up to so many octaves below the peak, its highlights any number above.
constexpr float shadow_from = 0.6F;
constexpr float shadow_to = 1.25F;

// How much more a color of the frame's edges counts than one of the middle.
constexpr float border_factor = 6.0F;

struct LogTable {
	std::array<int16_t, distance_steps> values;

	LogTable()
	{
		for (int step = 0; step < distance_steps; ++step) {
			const double level = step / 16.0 + double{floor_level};
			values[size_t(step)] =
				static_cast<int16_t>(std::lrint(std::log2(level) * double{units_per_octave}));
		}
	}
};

const std::array<int16_t, distance_steps> &logarithms()
{
	static const LogTable table;
	return table.values;
}

float gaussian(float distance, float sigma)
{
	const float scaled = distance / sigma;
	// Rounded to steps of 2^-16: the last bit of exp differs between math libraries.
	return std::nearbyint(std::exp(-0.5F * scaled * scaled) * 65536.0F) / 65536.0F;
}

float skewed_gaussian(float distance, float sigma)
{
	return gaussian(distance, distance > 0 ? sigma * redder : sigma);
}

float expectation(float sum, float difference)
{
	const float outside =
		std::max({expected_difference_low - difference, difference - expected_difference_high, 0.0F});
	return skewed_gaussian(sum - expected_sum, expected_sum_sigma) * gaussian(outside, expected_difference_sigma);
}

// The middle of a bin, in octaves.
float center(int first, int units, size_t index)
{
	return (static_cast<float>(first) + static_cast<float>(units) * (static_cast<float>(index) + 0.5F)) /
	       units_per_octave;
}

float sum_at(size_t index)
{
	return center(first_sum, units_per_sum, index);
}

float difference_at(size_t index)
{
	return center(first_difference, units_per_difference, index);
}

float luma_at(size_t index)
{
	return center(first_luma, units_per_luma, index);
}

// 1 at 0, falling to 0 at 1.
float compact_window(float distance)
{
	const float inside = std::max(0.0F, 1 - distance * distance);
	return inside * inside;
}

size_t step_of(float level)
{
	return static_cast<size_t>(std::clamp(static_cast<int>(level * 16.0F), 0, distance_steps - 1));
}

float luma_of(const float *cell)
{
	return 0.2126F * cell[0] + 0.7152F * cell[1] + 0.0722F * cell[2] + 128.0F;
}

} // namespace

CellColor cell_color(const float *cell)
{
	const auto &log = logarithms();
	const int red = log[step_of(cell[0] + 128.0F)];
	const int green = log[step_of(cell[1] + 128.0F)];
	const int blue = log[step_of(cell[2] + 128.0F)];
	const int luma = log[step_of(luma_of(cell))];
	constexpr float octave = 1 / units_per_octave;
	return {static_cast<float>(red + blue - 2 * green) * octave, static_cast<float>(red - blue) * octave,
		static_cast<float>(luma) * octave};
}

float luma_of_cell(const float *cell)
{
	return luma_of(cell);
}

SkinModel::SkinModel()
{
	for (size_t sum = 0; sum < sums; ++sum) {
		for (size_t difference = 0; difference < differences; ++difference)
			expectation_[sum * differences + difference] =
				expectation(sum_at(sum), difference_at(difference));
	}
	begin();
}

void SkinModel::begin()
{
	foreground_histogram_.fill({});
	border_histogram_.fill({});
}

SkinModel::Bin SkinModel::bin_of(const float *cell)
{
	const auto &log = logarithms();
	const int red = log[step_of(cell[0] + 128.0F)];
	const int green = log[step_of(cell[1] + 128.0F)];
	const int blue = log[step_of(cell[2] + 128.0F)];
	const int luma = log[step_of(luma_of(cell))];
	const auto index = [](int units, int first, int units_per_bin, size_t bins) {
		return static_cast<size_t>(std::clamp((units - first) / units_per_bin, 0, static_cast<int>(bins) - 1));
	};
	const size_t light = index(luma, first_luma, units_per_luma, lumas);
	const float place = static_cast<float>(luma - first_luma) / units_per_luma;
	return {index(red + blue - 2 * green, first_sum, units_per_sum, sums) * differences +
			index(red - blue, first_difference, units_per_difference, differences),
		light, std::clamp(place - static_cast<float>(light) - 0.5F, -0.5F, 0.5F)};
}

void SkinModel::count(const float *cells, int columns, int y, int rows)
{
	const float down = (static_cast<float>(y) + 0.5F) / static_cast<float>(rows);
	const float vertical = compact_window((down - 0.42F) / 0.5F);
	const bool top = down < 0.1F;
	const bool beside = down < 0.75F;
	const float column_share = 1 / static_cast<float>(columns);
	// Every second cell is enough for a histogram.
	for (int column = 0; column < columns; column += 2) {
		const float along = (static_cast<float>(column) + 0.5F) * column_share;
		const Bin bin = bin_of(cells + size_t(column) * 4);
		foreground_histogram_[bin.chroma][bin.luma] +=
			compact_window((along - 0.5F) / 0.45F) * vertical + 0.03F;
		if (top || (beside && (along < 0.1F || along > 0.9F)))
			border_histogram_[bin.chroma][bin.luma] += 1;
	}
}

// Binomial along each axis, so that noise and the edges of bins do not matter; then the whole becomes 1.
void SkinModel::blur(Histogram &histogram)
{
	const auto mix = [](const LumaRow &below, const LumaRow &middle, const LumaRow &above, LumaRow &out) {
		for (size_t luma = 0; luma < lumas; ++luma)
			out[luma] = 0.5F * middle[luma] + 0.25F * (below[luma] + above[luma]);
	};
	const auto along_chroma = [&](size_t step, size_t count) {
		scratch_ = histogram;
		for (size_t chroma = 0; chroma < histogram.size(); ++chroma) {
			const size_t place = chroma / step % count;
			mix(scratch_[place > 0 ? chroma - step : chroma], scratch_[chroma],
			    scratch_[place + 1 < count ? chroma + step : chroma], histogram[chroma]);
		}
	};
	for (int round = 0; round < 2; ++round) {
		along_chroma(differences, sums);
		along_chroma(1, differences);
	}
	float total = 0;
	for (LumaRow &row : histogram) {
		for (int round = 0; round < 2; ++round) {
			const LumaRow sharp = row;
			for (size_t luma = 0; luma < lumas; ++luma)
				row[luma] = 0.5F * sharp[luma] + 0.25F * (sharp[luma > 0 ? luma - 1 : 0] +
									  sharp[luma + 1 < lumas ? luma + 1 : luma]);
		}
		for (const float value : row)
			total += value;
	}
	const float scale = total > 0 ? 1 / total : 0.0F;
	for (LumaRow &row : histogram) {
		for (float &value : row)
			value *= scale;
	}
}

bool SkinModel::compare_with_border()
{
	float best = 0;
	float best_weight = 0;
	for (size_t chroma = 0; chroma < foreground_histogram_.size(); ++chroma) {
		for (size_t luma = 0; luma < lumas; ++luma) {
			const float person = foreground_histogram_[chroma][luma];
			const float all = person + border_factor * border_histogram_[chroma][luma];
			const float share = all > 0 ? person / all : 0.0F;
			membership_[chroma][luma] = share;
			const float weight = person * expectation_[chroma] * share * share * share;
			best_weight += weight;
			best += weight * share;
		}
	}
	if (best_weight <= 0)
		return false;
	// Compared with the best there is: a face that reaches the edges is a face as long as nothing else looks more
	// like one.
	const float scale = best_weight / best;
	for (size_t chroma = 0; chroma < foreground_histogram_.size(); ++chroma) {
		for (size_t luma = 0; luma < lumas; ++luma) {
			float &share = membership_[chroma][luma];
			share = std::min(share * scale, 1.0F);
			foreground_histogram_[chroma][luma] *= expectation_[chroma] * share * share;
		}
	}
	return true;
}

// Mean shift from the middle of the bright parts.
SkinModel::Peak SkinModel::find_peak() const
{
	Peak peak = {};
	std::array<float, sums> near_sum;
	std::array<float, differences> near_difference;
	LumaRow near_luma;
	near_sum.fill(1);
	near_difference.fill(1);
	for (size_t luma = 0; luma < lumas; ++luma) {
		const float doubled = static_cast<float>(luma) / 4; // four bins an octave
		near_luma[luma] = doubled * doubled * doubled;
	}
	constexpr int shifts = 5;
	for (int shift = 0; shift < shifts; ++shift) {
		Peak mean = {};
		float total = 0;
		for (size_t chroma = 0; chroma < foreground_histogram_.size(); ++chroma) {
			const size_t sum = chroma / differences;
			const size_t difference = chroma % differences;
			float weight = 0;
			float light = 0;
			for (size_t luma = 0; luma < lumas; ++luma) {
				const float part = foreground_histogram_[chroma][luma] * near_luma[luma];
				weight += part;
				light += part * luma_at(luma);
			}
			const float near = near_sum[sum] * near_difference[difference];
			weight *= near;
			total += weight;
			mean.sum += weight * sum_at(sum);
			mean.difference += weight * difference_at(difference);
			mean.luma += light * near;
		}
		if (total <= 0)
			break;
		peak = {mean.sum / total, mean.difference / total, mean.luma / total};
		for (size_t sum = 0; sum < sums; ++sum)
			near_sum[sum] = gaussian(sum_at(sum) - peak.sum, found_sum_sigma);
		for (size_t difference = 0; difference < differences; ++difference)
			near_difference[difference] =
				gaussian(difference_at(difference) - peak.difference, found_difference_sigma);
		for (size_t luma = 0; luma < lumas; ++luma)
			near_luma[luma] = gaussian(luma_at(luma) - peak.luma, found_luma_sigma);
	}
	return peak;
}

void SkinModel::adapt()
{
	blur(foreground_histogram_);
	blur(border_histogram_);
	if (!compare_with_border()) {
		membership_.fill({});
		return;
	}
	const Peak peak = find_peak();
	LumaRow lit;
	for (size_t luma = 0; luma < lumas; ++luma)
		lit[luma] = 1 - smoothstep(shadow_from, shadow_to, peak.luma - luma_at(luma));
	for (size_t chroma = 0; chroma < membership_.size(); ++chroma) {
		const float near =
			skewed_gaussian(sum_at(chroma / differences) - peak.sum, found_sum_sigma) *
			gaussian(difference_at(chroma % differences) - peak.difference, found_difference_sigma);
		const float likely = smoothstep(0.10F, 0.40F, near * std::sqrt(expectation_[chroma]));
		for (size_t luma = 0; luma < lumas; ++luma)
			membership_[chroma][luma] =
				likely * lit[luma] * smoothstep(0.15F, 0.5F, membership_[chroma][luma]);
	}
}

void SkinModel::map(const float *cells, int columns, float *out) const
{
	for (int column = 0; column < columns; ++column) {
		const float *cell = cells + size_t(column) * 4;
		const Bin bin = bin_of(cell);
		const float luma = luma_of(cell) / 255.0F;
		// Between two luma bins: a shadow that grows slowly must not end the skin at a line.
		const LumaRow &row = membership_[bin.chroma];
		const size_t next =
			bin.beyond < 0 ? std::max(bin.luma, size_t{1}) - 1 : std::min(bin.luma + 1, lumas - 1);
		const float skin = row[bin.luma] + std::abs(bin.beyond) * (row[next] - row[bin.luma]);
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
