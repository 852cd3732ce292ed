// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/smoothing.h"

#include "kernels/kernels.h"
#include "kernels/smooth_kernels.h"
#include "pool.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace kalvio::engine {

namespace {

constexpr int grid_rows_per_task = 8;
constexpr int max_levels = 6;
constexpr int max_window = 15;

// How a style treats what it finds.
struct StyleData {
	// Parts that are taken away of detail of 2, 4, 8, 16, 32 and 64 pixels of a frame of 1080 rows. Nothing is
	// taken of 128 pixels and more: that is the shape of a face.
	std::array<float, 6> parts;
	float spots; // part of the fine detail that goes with a spot that the grid sees
	kernels::Tolerance tolerance;
	// Mean roughness of a neighborhood that leaves half of the effect.
	float roughness;
};

// In the order of the style numbers: natural, texture, smooth.
constexpr StyleData styles[] = {
	{{0.01F, 0.57F, 0.90F, 0.90F, 0.75F, 0.0F}, 0.20F, {5.0F, 0.18F}, 0.28F},
	{{0.00F, 0.40F, 0.80F, 0.80F, 0.60F, 0.0F}, 0.0F, {5.0F, 0.16F}, 0.28F},
	{{0.20F, 1.00F, 1.00F, 1.00F, 1.00F, 0.6F}, 0.45F, {5.0F, 0.20F}, 0.27F},
};

// Half the width of the neighborhood whose roughness counts, in pixels of a frame of 1080 rows.
constexpr float window_pixels = 14;

// Roughness is of 3 x 3 cells, whatever the style.
constexpr kernels::Tolerance rough_tolerance = {4.0F, 0.12F};

// A correction of so much is a spot, not a pore.
constexpr kernels::Tolerance spot_depth = {1.5F, 0.03F};

// The part that a style takes away of detail of `pixels` of a frame of 1080 rows.
float part_of(const StyleData &style, float pixels)
{
	const float octave = std::clamp(std::log2(pixels) - 1, 0.0F, 6.0F);
	const auto index = static_cast<size_t>(octave);
	const auto part = [&](size_t place) {
		return place < style.parts.size() ? style.parts[place] : 0.0F;
	};
	// Rounded: the last bit of log2 differs between math libraries.
	const float mixed = part(index) + (octave - static_cast<float>(index)) * (part(index + 1) - part(index));
	return std::nearbyint(mixed * 65536.0F) / 65536.0F;
}

} // namespace

void Smoothing::resize(int columns, int rows, int slots)
{
	columns_ = columns;
	rows_ = rows;
	stride_ = (columns + 2 * kernels::plane_padding + 15) / 16 * 16;
	const size_t line_floats = size_t(stride_) * size_t(rows) + kernels::grid_padding;
	for (Aligned<float> &colors : colors_)
		colors.ensure_capacity(line_floats * 3);
	correction_.ensure_capacity(line_floats * 3);
	weights_.ensure_capacity(line_floats);
	roughness_.ensure_capacity(line_floats);
	slots_.resize(std::max(slots_.size(), size_t(slots)));
	for (WorkerScratch &slot : slots_) {
		slot.sums.ensure_capacity(size_t(stride_) + kernels::grid_padding);
		slot.windows.ensure_capacity(size_t(stride_) + kernels::grid_padding);
	}
}

// Beyond its ends a line goes on with its first and its last cell. `line` is where its padding begins.
void Smoothing::repeat_ends(float *line) const
{
	float *first = line + kernels::plane_padding;
	std::fill_n(line, kernels::plane_padding, *first);
	std::fill_n(first + columns_, kernels::plane_padding, first[columns_ - 1]);
}

template <typename Work>
void Smoothing::for_rows(Pool &pool, const Work &work)
{
	pool.run((rows_ + grid_rows_per_task - 1) / grid_rows_per_task, [&](int task, int) {
		const int end = std::min(rows_, (task + 1) * grid_rows_per_task);
		for (int y = task * grid_rows_per_task; y < end; ++y)
			work(y);
	});
}

void Smoothing::take_row(int y, const float *cells)
{
	float *colors = colors_row(0, y);
	float *weights = weights_.data() + row_start(y);
	kernels::split_cells(cells, columns_, stride_, colors + kernels::plane_padding,
			     weights + kernels::plane_padding);
	for (int channel = 0; channel < 3; ++channel)
		repeat_ends(colors + channel * stride_);
	repeat_ends(weights);
}

void Smoothing::build(const SmoothingRequest &request, Pool &pool)
{
	request_ = request;
	const StyleData &style = styles[request.style];
	const float cell = request.cell_pixels / request.scale;
	window_ = std::clamp(static_cast<int>(std::lround(window_pixels / cell)), 1, max_window);

	const auto rows_at = [&](int plane_set, int y, int step) {
		kernels::PlaneRows rows = {{}, {}, stride_};
		for (int row = 0; row < 3; ++row) {
			const int place = std::clamp(y + (row - 1) * step, 0, rows_ - 1);
			rows.colors[row] = colors_row(plane_set, place) + kernels::plane_padding;
			rows.weights[row] = weights_.data() + row_start(place) + kernels::plane_padding;
		}
		return rows;
	};
	for_rows(pool, [&](int y) {
		float *line = roughness_.data() + row_start(y);
		kernels::roughness(rows_at(0, y, 1), columns_, rough_tolerance, line + kernels::plane_padding);
		repeat_ends(line);
	});
	int from = 0;
	for (int level = 0; level < max_levels; ++level) {
		const int step = 1 << level;
		const float part = part_of(style, cell * static_cast<float>(step));
		if (level > 0 && part == 0)
			break;
		const int to = from == 1 ? 2 : 1;
		for_rows(pool, [&](int y) {
			float *out = colors_row(to, y);
			kernels::smooth_planes(rows_at(from, y, step), step, columns_, style.tolerance, part,
					       level == 0, out + kernels::plane_padding,
					       correction_.data() + row_start(y) * 3 + kernels::plane_padding);
			for (int channel = 0; channel < 3; ++channel)
				repeat_ends(out + channel * stride_);
		});
		from = to;
	}
}

void Smoothing::write_row(int y, int slot_number, int cell_values, int16_t *field)
{
	const float *lines[2 * max_window + 1];
	for (int step = -window_; step <= window_; ++step)
		lines[step + window_] = roughness_.data() + row_start(std::clamp(y + step, 0, rows_ - 1));
	WorkerScratch &slot = slots_[size_t(slot_number)];
	const int width = 2 * window_ + 1;
	kernels::add_rows(lines, width, stride_, slot.sums.data());
	kernels::box_line(slot.sums.data() + kernels::plane_padding - window_, window_, columns_, slot.windows.data());

	const StyleData &style = styles[request_.style];
	const kernels::SmoothingLine line = {
		colors_row(0, y) + kernels::plane_padding,
		correction_.data() + row_start(y) * 3 + kernels::plane_padding,
		slot.windows.data(),
		weights_.data() + row_start(y) + kernels::plane_padding,
		stride_,
		1 / (style.roughness * static_cast<float>(width * width)),
		request_.strength,
		part_of(style, 0.5F * request_.cell_pixels / request_.scale),
		style.spots,
		spot_depth,
	};
	kernels::store_smoothing(line, columns_, cell_values, field);
}

} // namespace kalvio::engine
