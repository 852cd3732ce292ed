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

constexpr int max_cell_pixels = 8;
constexpr int rows_per_task = 8;

// About a 270th of a frame's height, so that the grid sees the same of a face in any of them. With a skin map no cell
// is smaller than 4 pixels: noise would make the map restless.
int cell_pixels_for(int frame_height, bool masked)
{
	constexpr int small_frame = 600;
	constexpr int large_frame = 1600;
	if (frame_height < small_frame && !masked)
		return 2;
	return frame_height < large_frame ? 4 : max_cell_pixels;
}

// The skin map's edges are refined in windows of about a fortieth of the frame's height.
int skin_radius(int frame_height, int cell_pixels)
{
	return std::max(1, (frame_height + 45 * cell_pixels) / (90 * cell_pixels));
}

// What smoothing takes for a pixel of a frame of 1080 rows: by the largest face as far as it is sure, else by the
// frame.
float smoothing_scale(const Frame &frame, const std::optional<SeenFaces> &seen)
{
	// A face of a person at a desk, and how far a closer or a smaller one moves the scale.
	constexpr float usual_face = 120.0F;
	constexpr float smallest = 0.6F;
	constexpr float largest = 1.8F;
	const float by_frame = static_cast<float>(frame.height) / 1080.0F;
	float scale = by_frame;
	float largest_face = 0;
	if (!seen)
		return scale;
	for (const TrackedFace &face : seen->faces) {
		if (face.size <= largest_face)
			continue;
		largest_face = face.size;
		const float by_face = std::clamp(face.size / usual_face, smallest * by_frame, largest * by_frame);
		scale = by_frame + face.presence * (by_face - by_frame);
	}
	return scale;
}

// The guided refinement of the skin map: luma variation below it does not count as an edge.
constexpr float skin_edge_sigma = 6.0F;

int16_t to_fixed(float value, float one)
{
	return static_cast<int16_t>(std::lrint(std::clamp(value * one, -32767.0F, 32767.0F)));
}

} // namespace

bool RetouchField::is_needed(const Settings &settings)
{
	const bool toned = settings.whitening > 0 || settings.rosiness > 0;
	return settings.smoothing > 0 || (settings.skin_only && (toned || settings.sharpening > 0));
}

void RetouchField::resize(const Frame &frame, int slots)
{
	cell_pixels_ = cell_pixels_for(frame.height, masked_);
	width_ = frame.width;
	columns_ = (frame.width + cell_pixels_ - 1) / cell_pixels_;
	rows_ = (frame.height + cell_pixels_ - 1) / cell_pixels_;
	radius_ = skin_radius(frame.height, cell_pixels_);
	row_floats_ = (columns_ * 4 + kernels::grid_padding + 15) / 16 * 16;
	cell_values_ = masked_ ? kernels::masked_field_values : kernels::field_values;
	row_field_values_ = (columns_ + 2) * cell_values_ + kernels::grid_padding;

	const size_t grid_floats = size_t(row_floats_) * size_t(rows_);
	means_.ensure_capacity(grid_floats);
	if (masked_) {
		skin_.ensure_capacity(grid_floats);
		skin_line_.ensure_capacity(grid_floats);
		skin_cells_.resize(size_t(rows_));
	}
	field_.ensure_capacity(size_t(row_field_values_) * size_t(rows_));
	slots_.resize(std::max(slots_.size(), size_t(slots)));
	for (WorkerScratch &slot : slots_) {
		slot.sums.ensure_capacity(size_t(row_floats_) + size_t(radius_) * 8);
		slot.windows.ensure_capacity(size_t(row_floats_));
		slot.row.ensure_capacity(size_t(row_field_values_));
	}
}

void RetouchField::measure_row(const Frame &frame, int y, WorkerScratch &slot)
{
	const uint8_t *rows[max_cell_pixels];
	for (int line = 0; line < cell_pixels_; ++line)
		rows[line] = frame.input_row(std::min(y * cell_pixels_ + line, frame.height - 1));

	float *out = grid_row(means_, y);
	const int whole = frame.width / cell_pixels_;
	kernels::cell_means(rows, cell_pixels_, whole, out);
	if (whole < columns_) {
		// The last cell is filled up with the last pixel of its rows.
		const uint8_t *edge_rows[max_cell_pixels];
		for (int line = 0; line < cell_pixels_; ++line) {
			for (int column = 0; column < cell_pixels_; ++column) {
				const int x = std::min(whole * cell_pixels_ + column, frame.width - 1);
				std::memcpy(slot.edge[line] + column * 4, rows[line] + size_t(x) * 4, 4);
			}
			edge_rows[line] = slot.edge[line];
		}
		kernels::cell_means(edge_rows, cell_pixels_, 1, out + size_t(whole) * 4);
	}
}

const float *RetouchField::window_row(Aligned<float> &grid, int y, WorkerScratch &slot)
{
	constexpr int max_radius = (KL_MAX_FRAME_SIZE + 45 * max_cell_pixels) / (90 * max_cell_pixels);
	constexpr int max_window = 2 * max_radius + 1;
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

void RetouchField::write_skin(int y, const float *windows)
{
	int16_t *field = field_row(y) + cell_values_;
	CellSpan span = {columns_, 0};
	for (int column = 0; column < columns_; ++column, field += cell_values_) {
		const float *line = windows + size_t(column) * 4;
		const int16_t slope = to_fixed(line[0], 4096.0F);
		const int16_t offset = to_fixed(line[1], 2048.0F);
		if (slope != 0 || offset > 0) // else the mask is 0 whatever the pixel
			span = {std::min(span.first, column), column + 1};
		for (int value = 0; value < 8; ++value) {
			field[16 + value] = slope;
			field[24 + value] = offset;
		}
	}
	skin_cells_[size_t(y)] = span;
}

void RetouchField::repeat_edge_cells(int y)
{
	int16_t *row = field_row(y);
	const size_t cell_bytes = size_t(cell_values_) * sizeof(int16_t);
	std::memcpy(row, row + cell_values_, cell_bytes);
	int16_t *end = row + size_t(columns_ + 1) * size_t(cell_values_);
	std::memcpy(end, end - cell_values_, cell_bytes);
}

CellGrid RetouchField::means_grid() const
{
	return {means_.data(), row_floats_, columns_, rows_, static_cast<float>(cell_pixels_)};
}

void RetouchField::build(const Frame &frame, const Settings &settings, Pool &pool, const std::optional<SeenFaces> &seen)
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
	if (smoothing)
		smoothing_.resize(columns_, rows_, pool.threads());
	if (smoothing || masked_) {
		for_rows([&](int y, WorkerScratch &slot) {
			measure_row(frame, y, slot);
			if (smoothing)
				smoothing_.take_row(y, grid_row(means_, y));
		});
	}
	if (smoothing) {
		smoothing_.build({settings.smoothing_style, settings.smoothing, smoothing_scale(frame, seen),
				  static_cast<float>(cell_pixels_)},
				 pool);
	}
	if (masked_) {
		if (seen) {
			face_skin_.follow(seen->faces, means_grid(), seen->seconds);
			for_rows([&](int y, WorkerScratch &) { face_skin_.map(means_grid(), y, grid_row(skin_, y)); });
		} else {
			skin_model_.begin();
			for (int y = 0; y < rows_; y += 2)
				skin_model_.count(grid_row(means_, y), columns_, y, rows_);
			skin_model_.adapt();
			for_rows([&](int y, WorkerScratch &) {
				skin_model_.map(grid_row(means_, y), columns_, grid_row(skin_, y));
			});
		}
		for_rows([&](int y, WorkerScratch &slot) {
			constexpr float edge = skin_edge_sigma / 255.0F;
			skin_lines(window_row(skin_, y, slot), columns_, edge * edge, grid_row(skin_line_, y));
		});
	}
	pool.run(tasks, [&](int task, int slot) {
		const int end = std::min(rows_, (task + 1) * rows_per_task);
		for (int y = task * rows_per_task; y < end; ++y) {
			if (smoothing)
				smoothing_.write_row(y, slot, cell_values_, field_row(y) + cell_values_);
			else
				std::memset(field_row(y), 0, size_t(row_field_values_) * sizeof(int16_t));
			if (masked_)
				write_skin(y, window_row(skin_line_, y, slots_[size_t(slot)]));
			repeat_edge_cells(y);
		}
	});
}

RetouchField::RowPlace RetouchField::place_of(int y) const
{
	// How far the middle of the pixel row lies below the middle of its cell, in cells.
	const int cell = y / cell_pixels_;
	const int below = (2 * (y % cell_pixels_) + 1 - cell_pixels_) * 16384 / cell_pixels_;
	return {std::max(below < 0 ? cell - 1 : cell, 0), std::min(below < 0 ? cell : cell + 1, rows_ - 1),
		static_cast<int16_t>(below < 0 ? 32768 + below : below)};
}

RowPart RetouchField::skin_part(int y) const
{
	const RowPlace place = place_of(y);
	const CellSpan &upper = skin_cells_[size_t(place.upper)];
	const CellSpan &lower = skin_cells_[size_t(place.lower)];
	const int first = std::min(upper.first, lower.first);
	const int end = std::max(upper.end, lower.end);
	if (first >= end)
		return {0, 0};
	// A cell shows in its neighbors.
	const int left = std::max((first - 1) * cell_pixels_ - kernels::max_sharpen_step, 0);
	const int right = (end + 1) * cell_pixels_ + kernels::max_sharpen_step;
	const int x = left / part_pixels * part_pixels;
	return {x, std::min((right + part_pixels - 1) / part_pixels * part_pixels, width_) - x};
}

const int16_t *RetouchField::row(int y, const RowPart &part, int slot)
{
	const RowPlace place = place_of(y);
	const int cells = (part.width + cell_pixels_ - 1) / cell_pixels_;
	const size_t first = size_t(part.x / cell_pixels_) * size_t(cell_values_); // of the cell before the part
	int16_t *out = slots_[size_t(slot)].row.data() + first;
	kernels::lerp_rows(field_row(place.upper) + first, field_row(place.lower) + first, place.weight_of_lower,
			   (cells + 2) * cell_values_, out);
	return out + cell_values_;
}

} // namespace kalvio::engine
