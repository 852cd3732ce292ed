// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/retouch_field.h"

#include "kalvio_engine.h"
#include "kernels/kernels.h"
#include "pool.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace kalvio::engine {

namespace {

constexpr int cell_pixels = 4;
constexpr int rows_per_task = 8;

// How a smoothing style treats what the grid sees and what it does not.
struct SmoothingStyleData {
	float deviation; // levels: variation below it is smoothed, above it is kept
	float fine;      // 0 keeps the finest detail, 1 takes it with the rest
};

// In the order of the style numbers: natural, texture, smooth.
constexpr SmoothingStyleData smoothing_styles[] = {{15.0F, 0.55F}, {13.0F, 0.0F}, {19.0F, 1.0F}};

// The guided refinement of the skin map: luma variation below it does not count as an edge.
constexpr float skin_edge_deviation = 6.0F;

int16_t to_fixed(float value, float one)
{
	return static_cast<int16_t>(std::lrint(std::clamp(value * one, -32767.0F, 32767.0F)));
}

// The channels of one pixel, twice.
void write_group(int16_t *group, int16_t red, int16_t green, int16_t blue)
{
	for (int pixel = 0; pixel < 2; ++pixel) {
		group[pixel * 4 + 0] = red;
		group[pixel * 4 + 1] = green;
		group[pixel * 4 + 2] = blue;
		group[pixel * 4 + 3] = 0;
	}
}

} // namespace

bool RetouchField::is_needed(const Settings &settings)
{
	return settings.smoothing > 0 || settings.whitening > 0 || settings.rosiness > 0 ||
	       (settings.sharpening > 0 && settings.skin_only);
}

void RetouchField::resize(const Frame &frame, int slots)
{
	columns_ = (frame.width + cell_pixels - 1) / cell_pixels;
	rows_ = (frame.height + cell_pixels - 1) / cell_pixels;
	// A window of about a fiftieth of the picture's height whatever its size.
	radius_ = std::max(1, (frame.height + 180) / 360);
	row_floats_ = (columns_ * 4 + kernels::grid_padding + 15) / 16 * 16;
	cell_values_ = masked_ ? kernels::masked_field_values : kernels::field_values;
	row_field_values_ = (columns_ + 2) * cell_values_ + kernels::grid_padding;

	const size_t grid_floats = size_t(row_floats_) * size_t(rows_);
	means_.require(grid_floats);
	coefficients_.require(grid_floats);
	if (masked_) {
		skin_.require(grid_floats);
		skin_line_.require(grid_floats);
	}
	field_.require(size_t(row_field_values_) * size_t(rows_));
	slots_.resize(std::max(slots_.size(), size_t(slots)));
	for (Slot &slot : slots_) {
		slot.sums.require(size_t(row_floats_) + size_t(radius_) * 8);
		slot.windows.require(size_t(row_floats_));
		slot.row.require(size_t(row_field_values_));
	}
}

void RetouchField::measure_row(const Frame &frame, int y, Slot &slot)
{
	const uint8_t *rows[4];
	for (int line = 0; line < cell_pixels; ++line)
		rows[line] = frame.input_row(std::min(y * cell_pixels + line, frame.height - 1));

	float *out = grid_row(means_, y);
	const int whole = frame.width / cell_pixels;
	kernels::cell_means(rows, whole, out);
	if (whole < columns_) {
		// The last cell is filled up with the last pixel of its rows.
		const uint8_t *edge_rows[4];
		for (int line = 0; line < cell_pixels; ++line) {
			for (int column = 0; column < cell_pixels; ++column) {
				const int x = std::min(whole * cell_pixels + column, frame.width - 1);
				std::memcpy(slot.edge[line] + column * 4, rows[line] + size_t(x) * 4, 4);
			}
			edge_rows[line] = slot.edge[line];
		}
		kernels::cell_means(edge_rows, 1, out + size_t(whole) * 4);
	}
}

const float *RetouchField::window_row(Aligned<float> &grid, int y, Slot &slot)
{
	constexpr int max_window = 2 * ((KL_MAX_FRAME_SIZE + 180) / 360) + 1;
	const float *rows[max_window];
	const int window = 2 * radius_ + 1;
	for (int step = 0; step < window; ++step)
		rows[step] = grid_row(grid, std::clamp(y + step - radius_, 0, rows_ - 1));

	float *sums = slot.sums.data();
	float *first = sums + size_t(radius_) * 4;
	float *last = first + size_t(columns_ - 1) * 4;
	kernels::add_rows(rows, window, columns_ * 4, first);
	for (int step = 1; step <= radius_; ++step) {
		std::memcpy(first - step * 4, first, 4 * sizeof(float));
		std::memcpy(last + step * 4, last, 4 * sizeof(float));
	}
	kernels::box_cells(sums, radius_, columns_, 1.0F / static_cast<float>(window * window), slot.windows.data());
	return slot.windows.data();
}

void RetouchField::write_smoothing(int y, const float *windows, float strength, float fine)
{
	const float *means = grid_row(means_, y);
	const float *coefficients = grid_row(coefficients_, y);
	int16_t *field = field_row(y) + cell_values_;
	for (int column = 0; column < columns_; ++column, field += cell_values_) {
		const float *mean = means + size_t(column) * 4;
		// The mean over all windows that hold the cell is smooth but softens edges, next to which most windows
		// see nothing; the cell's own window knows best there. Its own keep factor says which of the two to
		// trust.
		const float *own = coefficients + size_t(column) * 4;
		const float *around = windows + size_t(column) * 4;
		float window[4];
		for (int value = 0; value < 4; ++value)
			window[value] = around[value] + own[3] * (own[value] - around[value]);
		const float lost = 1 - window[3];
		// The filter's answer for what the grid saw, and for each single pixel: `fine` mixes the two.
		int16_t offset[3];
		for (int channel = 0; channel < 3; ++channel) {
			const float coarse = window[channel] - lost * mean[channel];
			const float whole = window[channel] + 128.0F * lost;
			offset[channel] = to_fixed(strength * ((1 - fine) * coarse + fine * whole), 64.0F);
		}
		write_group(field, offset[0], offset[1], offset[2]);
		const int16_t gain = to_fixed(-strength * fine * lost, 32767.0F);
		write_group(field + 8, gain, gain, gain);
	}
}

void RetouchField::write_skin(int y, const float *windows)
{
	int16_t *field = field_row(y) + cell_values_;
	for (int column = 0; column < columns_; ++column, field += cell_values_) {
		const float *line = windows + size_t(column) * 4;
		const int16_t slope = to_fixed(line[0], 4096.0F);
		const int16_t offset = to_fixed(line[1], 2048.0F);
		for (int value = 0; value < 8; ++value) {
			field[16 + value] = slope;
			field[24 + value] = offset;
		}
	}
}

void RetouchField::repeat_edge_cells(int y)
{
	int16_t *row = field_row(y);
	const size_t cell_bytes = size_t(cell_values_) * sizeof(int16_t);
	std::memcpy(row, row + cell_values_, cell_bytes);
	int16_t *end = row + size_t(columns_ + 1) * size_t(cell_values_);
	std::memcpy(end, end - cell_values_, cell_bytes);
}

void RetouchField::build(const Frame &frame, const Settings &settings, Pool &pool)
{
	masked_ = settings.skin_only;
	resize(frame, pool.threads());
	const int tasks = (rows_ + rows_per_task - 1) / rows_per_task;
	const auto for_rows = [&](auto &&work) {
		pool.run(tasks, [&](int task, int slot) {
			const int end = std::min(rows_, (task + 1) * rows_per_task);
			for (int y = task * rows_per_task; y < end; ++y)
				work(y, slots_[size_t(slot)]);
		});
	};

	const bool smoothing = settings.smoothing > 0;
	const SmoothingStyleData &style = smoothing_styles[settings.smoothing_style];
	const float epsilon = 3 * style.deviation * style.deviation;
	const float strength = settings.smoothing;

	if (smoothing || masked_)
		for_rows([&](int y, Slot &slot) { measure_row(frame, y, slot); });
	if (smoothing) {
		for_rows([&](int y, Slot &slot) {
			kernels::keep_and_offset(window_row(means_, y, slot), columns_, epsilon,
						 grid_row(coefficients_, y));
		});
	}
	if (masked_) {
		skin_model_.begin();
		for (int y = 0; y < rows_; y += 2)
			skin_model_.count(grid_row(means_, y), columns_, y, rows_);
		skin_model_.adapt();
		for_rows([&](int y, Slot &) { skin_model_.map(grid_row(means_, y), columns_, grid_row(skin_, y)); });
		for_rows([&](int y, Slot &slot) {
			constexpr float edge = skin_edge_deviation / 255.0F;
			skin_lines(window_row(skin_, y, slot), columns_, edge * edge, grid_row(skin_line_, y));
		});
	}
	for_rows([&](int y, Slot &slot) {
		if (smoothing)
			write_smoothing(y, window_row(coefficients_, y, slot), strength, style.fine);
		else
			std::memset(field_row(y), 0, size_t(row_field_values_) * sizeof(int16_t));
		if (masked_)
			write_skin(y, window_row(skin_line_, y, slot));
		repeat_edge_cells(y);
	});
}

const int16_t *RetouchField::row(int y, int slot)
{
	// Pixel rows lie 3/8 and 1/8 of a cell above and below the middle of theirs.
	constexpr int16_t weights_of_lower[] = {20480, 28672, 4096, 12288};
	const int cell = y / cell_pixels;
	const int part = y % cell_pixels;
	const int upper = std::max(part < 2 ? cell - 1 : cell, 0);
	const int lower = std::min(part < 2 ? cell : cell + 1, rows_ - 1);
	int16_t *out = slots_[size_t(slot)].row.data();
	kernels::lerp_rows(field_row(upper), field_row(lower), weights_of_lower[part], (columns_ + 2) * cell_values_,
			   out);
	return out + cell_values_;
}

} // namespace kalvio::engine
