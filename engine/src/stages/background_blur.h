// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "aligned.h"
#include "frame.h"
#include "kernels/kernels.h"
#include "pixel_tables.h"
#include "stages/coarse_matte.h"

#include <array>
#include <cstdint>
#include <vector>

namespace kalvio::engine {

class ColorKey;
class Pool;

// A Gaussian blur of what the matte calls background. Averaged over blocks of pixels, convolved there, and upsampled by
// linear interpolation; what averaging and interpolation blur is taken off the convolution. Neither the foreground nor
// what is transparent has any weight in the sums, so none of its light bleeds out.
class BackgroundBlur {
public:
	// The standard deviation at full strength, as a fraction of the picture's height.
	static constexpr float strongest_sigma = 0.03F;

	// With a null key everything is background and counts as opaque; another one has seen the frame. `sigma` in
	// pixels.
	void build(const Frame &frame, ColorKey *key, float sigma, Pool &pool);

	// The same in linear light, as a lens blurs: bright lamps stay bright. `person` says what is not background,
	// and reaches a little beyond it; it is read by `build_linear` alone.
	void build_linear(const Frame &frame, const CoarseMatte &person, float sigma, Pool &pool);

	// One row of the blurred background, opaque, into a scratch row or one of whole vectors. With `mix` below 256
	// the blur is weaker than the finest grid can express, and is to be mixed with the captured row in this
	// proportion.
	void write_row(int y, int slot, int width, uint8_t *row);
	int mix() const { return mix_; }

private:
	static constexpr int max_taps = 33;
	static constexpr int max_block = 128;

	// A row of cells upsampled along the row, kept while further picture rows lie next to it.
	struct UpsampledRow {
		int cell_row = -1;
		kernels::ChannelRows values = {};
	};
	struct WorkerScratch {
		Aligned<uint8_t> lines; // four picture rows and their mattes
		Aligned<uint16_t> column_sums;
		Aligned<float> sums;
		Aligned<int16_t> upsampled_values;
		std::array<UpsampledRow, 2> upsampled; // even and odd rows of cells
		std::vector<uint16_t> shares;          // of the background in each 4 x 4 pixels of a row
		std::vector<uint64_t> light;           // {r, b, g, weight} of each cell
		std::vector<float> person;             // a row of the matte
	};
	using Encoding = std::array<int16_t, kernels::white + 1>;

	void choose_scale(const Frame &frame, float sigma);
	void resize(const Frame &frame, int slots);
	void measure_row(const Frame &frame, ColorKey *key, int y, int slot_number);
	void write_shares(const Frame &frame, const CoarseMatte &person, int y, WorkerScratch &slot) const;
	void measure_light(const Frame &frame, const CoarseMatte &person, int y, WorkerScratch &slot);
	void convolve_across(int y, WorkerScratch &slot);
	// With an encoding the cells are linear light.
	void convolve_down(int y, const Encoding *encoding, WorkerScratch &slot);
	float *row_of(Aligned<float> &grid, int y) { return grid.data() + size_t(y) * size_t(row_floats_); }
	const kernels::ChannelRows &upsampled_row(int y, WorkerScratch &slot);

	int block_ = 4; // pixels on a cell's side
	int columns_ = 0;
	int rows_ = 0;
	int row_floats_ = 0;
	int row_values_ = 0;
	int taps_ = 1;
	int mix_ = 256;
	std::array<float, max_taps> weights_ = {};
	alignas(64) std::array<int16_t, max_block * 2> left_ = {};
	alignas(64) std::array<int16_t, max_block * 2> right_ = {};
	Aligned<float> means_;   // {r, b, g, 1} * background
	Aligned<float> across_;  // convolved along the rows
	Aligned<int16_t> cells_; // convolved down as well, and one more at both ends of each row
	std::vector<WorkerScratch> slots_;
};

} // namespace kalvio::engine
