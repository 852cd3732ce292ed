// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "aligned.h"

#include <array>
#include <cstdint>
#include <vector>

namespace kalvio::engine {

class Pool;

// What smoothing is asked for.
struct SmoothingRequest {
	int style;         // kl_smoothing_style
	float strength;    // 0..1
	float scale;       // pixels of the frame for one of a face in a frame of 1080 rows
	float cell_pixels; // of the grid
};

// The smoothing of skin on a grid of cell means: skin is taken apart into scales, each of which a style keeps or takes
// away, and the strength mixes the result with the picture. The scales are those of an edge-avoiding wavelet (Dammertz
// et al., "Edge-Avoiding A-Trous Wavelet Transform for fast Global Illumination Filtering", 2010; Fattal,
// "Edge-Avoiding Wavelets and their Applications", 2009), whose edges are told by Tukey's biweight of the color
// difference (Black et al., "Robust Anisotropic Diffusion", 1998). The tolerance is a part of the brightness, so that
// dark skin is smoothed like light skin, above a floor for the camera's noise.
//
// Where a whole neighborhood is rough, as hair, brows, eyes and cloth are, less is taken away; a blemish on calm skin
// is smoothed however deep it is.
class Smoothing {
public:
	// Takes the memory for a grid and `slots` workers.
	void resize(int columns, int rows, int slots);
	// One row of cells {r, g, b less 128, weight 0..1}. What has no weight enters no other cell.
	void take_row(int y, const float *cells);
	// After all rows were taken.
	void build(const SmoothingRequest &request, Pool &pool);
	// Groups 0 and 1 of the field's cells (kernels.h), `cell_values` apart.
	void write_row(int y, int slot, int cell_values, int16_t *field);

private:
	struct WorkerScratch {
		Aligned<float> sums;
		Aligned<float> windows;
	};

	float *colors_row(int plane_set, int y) { return colors_[size_t(plane_set)].data() + row_start(y) * 3; }
	size_t row_start(int y) const { return size_t(y) * size_t(stride_); }
	void repeat_ends(float *line) const;
	template <typename Work>
	void for_rows(Pool &pool, const Work &work);

	int columns_ = 0;
	int rows_ = 0;
	int stride_ = 0; // floats of a line with its padding
	int window_ = 1; // radius of the neighborhood whose roughness counts, in cells
	SmoothingRequest request_ = {};
	// Three lines a row, red, green and blue. The first is kept, the scales go to the others in turn.
	std::array<Aligned<float>, 3> colors_;
	Aligned<float> weights_;
	Aligned<float> correction_; // three lines a row: what all scales together take away
	Aligned<float> roughness_;
	std::vector<WorkerScratch> slots_;
};

} // namespace kalvio::engine
