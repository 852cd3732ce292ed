// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/person_matte.h"

#include "kernels/kernels.h"
#include "pool.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kalvio::engine {

namespace {

constexpr int64_t longest_gap_us = 500'000;

// The net misses people in dim pictures: these are brightened to this mean, at most so far, within this time.
constexpr float bright_mean = 0.45F;
constexpr float strongest_gain = 4;
constexpr float gain_follows_s = 0.5F;

} // namespace

PersonMatte::PersonMatte(std::shared_ptr<const Net> net) : runner_(std::move(net)) {}

// Each of `count` parts of the frame is the mean of the cells that it covers, of at least one cell's length of them.
void PersonMatte::Axis::cover(int cells, float cells_in_frame, int count)
{
	spans.clear();
	weights.clear();
	most_taps = 0;
	const float scale = cells_in_frame / static_cast<float>(count);
	const float half = std::max(scale, 1.0F) / 2;
	for (int part = 0; part < count; ++part) {
		const float middle = (static_cast<float>(part) + 0.5F) * scale;
		const int first = std::clamp(static_cast<int>(std::floor(middle - half)), 0, cells - 1);
		const int last = std::clamp(static_cast<int>(std::ceil(middle + half)) - 1, first, cells - 1);
		const Span span = {first, last - first + 1, weights.size()};
		float total = 0;
		for (int cell = first; cell <= last; ++cell) {
			const auto low = static_cast<float>(cell);
			const float covered = std::min(low + 1, middle + half) - std::max(low, middle - half);
			weights.push_back(std::max(covered, 1e-6F));
			total += weights.back();
		}
		for (size_t index = span.weights; index < weights.size(); ++index)
			weights[index] /= total;
		spans.push_back(span);
		most_taps = std::max(most_taps, span.taps);
	}
}

void PersonMatte::resize(const Frame &frame, int slots)
{
	if (frame.width != width_ || frame.height != height_) {
		width_ = frame.width;
		height_ = frame.height;
		const auto block = static_cast<float>(refinement_.block());
		across_.cover(refinement_.columns(), static_cast<float>(width_) / block, SteadyMatte::columns);
		down_.cover(refinement_.rows(), static_cast<float>(height_) / block, SteadyMatte::rows);
	}
	slots_.resize(std::max(slots_.size(), size_t(slots)));
	for (WorkerScratch &slot : slots_) {
		slot.row.ensure_capacity(size_t(refinement_.columns()) * 4 + size_t(kernels::grid_padding));
		slot.rows.resize(std::max(slot.rows.size(), size_t(down_.most_taps)));
	}
}

void PersonMatte::fill_input_row(int y, int slot_number)
{
	WorkerScratch &slot = slots_[size_t(slot_number)];
	const Span &line = down_.spans[size_t(y)];
	for (int tap = 0; tap < line.taps; ++tap)
		slot.rows[size_t(tap)] = refinement_.guide_row(line.first + tap);
	float *row = slot.row.data();
	kernels::convolve_rows(slot.rows.data(), &down_.weights[line.weights], line.taps, refinement_.columns() * 4,
			       row);
	float *out = runner_.input().data() + size_t(y) * SteadyMatte::columns * 3;
	for (const Span &span : across_.spans) {
		const float *cell = row + size_t(span.first) * 4;
		const float *weight = &across_.weights[span.weights];
		float sums[3] = {0, 0, 0};
		for (int tap = 0; tap < span.taps; ++tap, cell += 4) {
			sums[0] += cell[0] * weight[tap];
			sums[1] += cell[2] * weight[tap];
			sums[2] += cell[1] * weight[tap];
		}
		out = std::copy_n(sums, 3, out);
	}
}

void PersonMatte::brighten_input(float seconds, bool is_first)
{
	const std::span<float> input = runner_.input();
	// Summed by rows: a long sum of small numbers loses its last bits.
	float mean = 0;
	for (size_t row = 0; row < input.size(); row += size_t(SteadyMatte::columns) * 3) {
		float sum = 0;
		for (size_t value = row; value < row + size_t(SteadyMatte::columns) * 3; ++value)
			sum += input[value];
		mean += sum / static_cast<float>(input.size());
	}
	const float wanted = std::clamp(bright_mean / std::max(mean, 1e-3F), 1.0F, strongest_gain);
	gain_ += (wanted - gain_) * (is_first ? 1 : std::min(seconds / gain_follows_s, 1.0F));
	for (float &value : input)
		value = std::min(value * gain_, 1.0F);
}

void PersonMatte::update(const Frame &frame, int64_t now_us, Pool &pool, bool is_cut_out)
{
	const int64_t step_us = now_us - time_us_;
	time_us_ = now_us;
	const bool is_first = step_us > longest_gap_us || frame.width != width_ || frame.height != height_;
	if (is_first)
		steady_.restart();
	refinement_.measure(frame, pool);
	resize(frame, pool.threads());
	pool.run(SteadyMatte::rows, [&](int y, int slot) { fill_input_row(y, slot); });
	const float seconds = static_cast<float>(std::clamp(step_us, int64_t{0}, longest_gap_us)) / 1e6F;
	brighten_input(seconds, is_first);
	runner_.run();
	steady_.update(runner_.output(0), seconds);
	if (is_cut_out)
		refinement_.refine(steady_.matte(), pool);
}

} // namespace kalvio::engine
