// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/matte_refinement.h"

#include "kernels/kernels.h"
#include "pool.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace kalvio::engine {

namespace {

using kernels::matte_planes;
using kernels::matte_tile;
using kernels::matte_tile_reach;
using kernels::MatteTileInput;

constexpr int64_t least_refined_cells = 320 * 180;
constexpr int lines_per_sum = 4; // picture rows that are summed at a time

// Color variance below it does not count as an edge.
constexpr float edge_variance = 4e-3F;

// Beyond these values all around, a tile is what its matte says, and nothing is computed.
constexpr float surely_background = 0.06F;
constexpr float surely_person = 0.94F;

// What a guided filter leaves of an edge is stretched to the full range. Behind a picture both ends count alike.
constexpr kernels::MatteCurve picture_curve = {0.12F, 1 / 0.76F};
constexpr kernels::MatteCurve blur_curve = {0.08F, 1 / 0.54F};

} // namespace

void MatteRefinement::resize(const Frame &frame, int slots)
{
	if (frame.width != width_ || frame.height != height_) {
		width_ = frame.width;
		height_ = frame.height;
		block_ = 1;
		while (int64_t{width_} * height_ >= least_refined_cells * 4 * block_ * block_)
			block_ *= 2;
		columns_ = (width_ + block_ - 1) / block_;
		rows_ = (height_ + block_ - 1) / block_;
		tile_columns_ = (columns_ + matte_tile - 1) / matte_tile;
		tile_rows_ = (rows_ + matte_tile - 1) / matte_tile;
		guide_row_floats_ = columns_ * 4 + kernels::grid_padding;
		guide_.ensure_capacity(size_t(guide_row_floats_) * size_t(rows_));
		row_floats_ = front + tile_columns_ * matte_tile + 2 * matte_tile;
		plane_floats_ = row_floats_ * tile_rows_ * matte_tile;
		planes_.ensure_capacity(size_t(plane_floats_) * matte_planes);
		tile_kinds_.assign(size_t(tile_columns_) * size_t(tile_rows_), TileKind::Unknown);
		coarse_columns_.clear();
		coarse_rows_.clear();
		parts_.resize(size_t(block_));
		for (int pixel = 0; pixel < block_; ++pixel)
			parts_[size_t(pixel)] = (static_cast<float>(pixel) + 0.5F) / static_cast<float>(block_);
	}
	const size_t line_bytes = frame.row_bytes() + size_t(kernels::row_padding_bytes);
	const size_t sums = size_t(columns_) * size_t(block_) * 2 + size_t(kernels::grid_padding);
	slots_.resize(std::max(slots_.size(), size_t(slots)));
	for (WorkerScratch &slot : slots_) {
		slot.lines.ensure_capacity(line_bytes * lines_per_sum);
		slot.column_sums.ensure_capacity(sums * 2);
		slot.pixels.ensure_capacity(size_t(matte_planes) * size_t((matte_tile + 1) * block_ + matte_tile));
		if (!slot.input) {
			slot.input = std::make_unique<MatteTileInput>();
			slot.tile = std::make_unique<kernels::MatteTileScratch>();
		}
	}
}

// At the right and lower edge the last pixels stand for those beyond.
void MatteRefinement::measure_blocks(const Frame &frame, int y, WorkerScratch &slot)
{
	const size_t line_bytes = frame.row_bytes() + size_t(kernels::row_padding_bytes);
	uint16_t *values = slot.column_sums.data();
	const kernels::ChannelSums sums = {values, values + size_t(columns_) * size_t(block_) * 2 +
							   size_t(kernels::grid_padding)};
	for (int first = 0; first < block_; first += lines_per_sum) {
		const uint8_t *rows[lines_per_sum];
		for (int line = 0; line < lines_per_sum; ++line) {
			const uint8_t *row = frame.input_row(std::min(y * block_ + first + line, frame.height - 1));
			if (!frame.has_rows_of_whole_vectors()) {
				uint8_t *copy = slot.lines.data() + size_t(line) * line_bytes;
				std::memcpy(copy, row, frame.row_bytes());
				row = copy;
			}
			rows[line] = row;
		}
		kernels::sum_rows(rows, frame.width * 4, first > 0, sums);
	}
	for (uint16_t *channels : {sums.red_blue, sums.green_alpha}) {
		for (int x = frame.width; x < columns_ * block_; ++x)
			std::copy_n(channels + (frame.width - 1) * 2, 2, channels + x * 2);
	}
	kernels::average_blocks(sums, block_, columns_, true, guide_.data() + size_t(y) * size_t(guide_row_floats_));
}

// Blocks of one or two pixels on a side.
void MatteRefinement::measure_pixels(const Frame &frame, int y)
{
	float *out = guide_.data() + size_t(y) * size_t(guide_row_floats_);
	const float scale = 1 / (255.0F * static_cast<float>(block_ * block_));
	for (int column = 0; column < columns_; ++column, out += 4) {
		int sums[3] = {0, 0, 0};
		for (int line = 0; line < block_; ++line) {
			const uint8_t *row = frame.input_row(std::min(y * block_ + line, frame.height - 1));
			for (int step = 0; step < block_; ++step) {
				const uint8_t *pixel = row + std::min(column * block_ + step, frame.width - 1) * 4;
				for (int channel = 0; channel < 3; ++channel)
					sums[channel] += pixel[channel];
			}
		}
		out[0] = static_cast<float>(sums[0]) * scale;
		out[1] = static_cast<float>(sums[2]) * scale;
		out[2] = static_cast<float>(sums[1]) * scale;
		out[3] = 1;
	}
}

void MatteRefinement::measure(const Frame &frame, Pool &pool)
{
	resize(frame, pool.threads());
	pool.run(rows_, [&](int y, int slot) {
		if (block_ < lines_per_sum)
			measure_pixels(frame, y);
		else
			measure_blocks(frame, y, slots_[size_t(slot)]);
	});
}

void MatteRefinement::place_coarse_cells(const CoarseMatte &coarse)
{
	if (!coarse_columns_.empty())
		return;
	const auto place = [this](int cells, int pixels, int coarse_cells, std::vector<CoarsePlace> &places) {
		places.reserve(size_t(cells));
		const float scale =
			static_cast<float>(block_) * static_cast<float>(coarse_cells) / static_cast<float>(pixels);
		for (int cell = 0; cell < cells; ++cell)
			places.emplace_back((static_cast<float>(cell) + 0.5F) * scale - 0.5F, coarse_cells);
	};
	place(columns_, width_, coarse.columns, coarse_columns_);
	place(rows_, height_, coarse.rows, coarse_rows_);
}

MatteRefinement::TileKind MatteRefinement::classify(const CoarseMatte &coarse, int first_column, int first_row) const
{
	const auto place = [](const std::vector<CoarsePlace> &places, int cell) {
		return places[size_t(std::clamp(cell, 0, static_cast<int>(places.size()) - 1))];
	};
	constexpr int beyond = matte_tile + matte_tile_reach - 1;
	const int left = place(coarse_columns_, first_column - matte_tile_reach).first;
	const int right = place(coarse_columns_, first_column + beyond).second;
	const int top = place(coarse_rows_, first_row - matte_tile_reach).first;
	const int bottom = place(coarse_rows_, first_row + beyond).second;
	float lowest = 1;
	float highest = 0;
	for (int y = top; y <= bottom; ++y) {
		const auto [low, high] = std::minmax_element(coarse.row(y) + left, coarse.row(y) + right + 1);
		lowest = std::min(lowest, *low);
		highest = std::max(highest, *high);
		if (lowest < surely_person && highest > surely_background)
			return TileKind::Mixed;
	}
	return highest <= surely_background ? TileKind::Background : TileKind::Person;
}

void MatteRefinement::load_tile(const CoarseMatte &coarse, int first_column, int first_row, MatteTileInput &input) const
{
	int index = 0;
	for (int line = 0; line < kernels::matte_loaded; ++line) {
		const int y = std::clamp(first_row - matte_tile_reach + line, 0, rows_ - 1);
		const CoarsePlace &row = coarse_rows_[size_t(y)];
		const float *guide = guide_row(y);
		for (int step = 0; step < kernels::matte_loaded; ++step, ++index) {
			const int x = std::clamp(first_column - matte_tile_reach + step, 0, columns_ - 1);
			const float *cell = guide + size_t(x) * 4;
			input.values[MatteTileInput::Red][index] = cell[0];
			input.values[MatteTileInput::Blue][index] = cell[1];
			input.values[MatteTileInput::Green][index] = cell[2];
			const CoarsePlace &column = coarse_columns_[size_t(x)];
			const float above = column.mix(coarse.row(row.first));
			const float below = column.mix(coarse.row(row.second));
			input.values[MatteTileInput::Matte][index] = above + (below - above) * row.part;
		}
	}
}

void MatteRefinement::fill_tile(int first_column, int first_row, TileKind kind)
{
	for (int plane = 0; plane < matte_planes; ++plane) {
		const float value = plane == kernels::MatteOffset && kind == TileKind::Person ? 1.0F : 0.0F;
		for (int y = first_row; y < first_row + matte_tile; ++y)
			std::fill_n(plane_row(plane, y) + first_column, matte_tile, value);
	}
}

void MatteRefinement::repeat_edge_cells(int tile_column, int first_row)
{
	for (int plane = 0; plane < matte_planes; ++plane) {
		for (int y = first_row; y < first_row + matte_tile; ++y) {
			float *row = plane_row(plane, y);
			if (tile_column == 0)
				row[-1] = row[0];
			if (tile_column == tile_columns_ - 1) {
				float *end = row + tile_columns_ * matte_tile;
				std::fill_n(end, matte_tile, end[-1]);
			}
		}
	}
}

void MatteRefinement::refine(const CoarseMatte &coarse, Pool &pool)
{
	place_coarse_cells(coarse);
	pool.run(tile_columns_ * tile_rows_, [&](int tile, int slot_number) {
		const int tile_column = tile % tile_columns_;
		const int first_column = tile_column * matte_tile;
		const int first_row = tile / tile_columns_ * matte_tile;
		const TileKind kind = classify(coarse, first_column, first_row);
		TileKind &held = tile_kinds_[size_t(tile)];
		if (kind == TileKind::Mixed) {
			WorkerScratch &slot = slots_[size_t(slot_number)];
			load_tile(coarse, first_column, first_row, *slot.input);
			float *out[matte_planes];
			for (int plane = 0; plane < matte_planes; ++plane)
				out[plane] = plane_row(plane, first_row) + first_column;
			kernels::refine_matte_tile(*slot.input, edge_variance, *slot.tile, out, row_floats_);
		} else if (kind != held) {
			fill_tile(first_column, first_row, kind);
		}
		if (kind == TileKind::Mixed || kind != held)
			repeat_edge_cells(tile_column, first_row);
		held = kind;
	});
}

void MatteRefinement::write_mixed(int y, int tile, int count, MatteUse use, const uint8_t *captured, uint8_t *row,
				  uint8_t *matte, WorkerScratch &slot)
{
	const float place = (static_cast<float>(y) + 0.5F) / static_cast<float>(block_) - 0.5F;
	const float above = std::floor(place);
	const int upper = std::clamp(static_cast<int>(above), 0, rows_ - 1);
	const int lower = std::clamp(static_cast<int>(above) + 1, 0, rows_ - 1);
	const bool correct = use == MatteUse::Picture;
	const int planes = correct ? matte_planes : kernels::FrontRed;
	const float *pixels[matte_planes] = {};
	float *out = slot.pixels.data();
	for (int plane = 0; plane < planes; ++plane) {
		// The tile's cells with a neighbor on either side.
		alignas(64) float cells[matte_tile + 16];
		const int first = tile * matte_tile - 1;
		kernels::mix_cells(plane_row(plane, upper) + first, plane_row(plane, lower) + first, place - above,
				   matte_tile + 2, cells);
		pixels[plane] = out + block_ / 2;
		if (block_ == 1) {
			std::copy_n(cells + 1, matte_tile, out);
		} else if (block_ == 2) {
			for (int gap = 0; gap <= matte_tile; ++gap) {
				for (size_t pixel = 0; pixel < 2; ++pixel)
					out[size_t(gap) * 2 + pixel] =
						cells[gap] + (cells[gap + 1] - cells[gap]) * parts_[pixel];
			}
		} else {
			kernels::widen_cells(cells, matte_tile, block_, parts_.data(), out);
		}
		out += (matte_tile + 1) * block_ + matte_tile;
	}
	const size_t first_byte = size_t(tile) * matte_tile * size_t(block_) * bytes_per_pixel;
	kernels::matte_pixels(pixels, captured + first_byte, count, correct ? picture_curve : blur_curve, correct,
			      row + first_byte, matte + first_byte);
}

void MatteRefinement::write_row(int y, int slot, int width, MatteUse use, const uint8_t *captured, uint8_t *row,
				uint8_t *matte)
{
	const TileKind *kinds = &tile_kinds_[size_t(y / block_ / matte_tile) * size_t(tile_columns_)];
	const int tile_pixels = matte_tile * block_;
	for (int tile = 0; tile < tile_columns_; ++tile) {
		const int first = tile * tile_pixels;
		const int count = std::min(tile_pixels, width - first);
		if (kinds[tile] == TileKind::Mixed)
			write_mixed(y, tile, count, use, captured, row, matte, slots_[size_t(slot)]);
		else
			std::memset(matte + size_t(first) * bytes_per_pixel, kinds[tile] == TileKind::Person ? 255 : 0,
				    size_t(count) * bytes_per_pixel);
	}
}

} // namespace kalvio::engine
