// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "aligned.h"
#include "kernels/net_kernels.h"
#include "nets/net_file.h"

#include <cstddef>
#include <vector>

namespace kalvio::engine {

// A net made ready to run: weights as the kernels read them, and a place for each tensor in the memory of a run. Shared
// by all runs; does not change.
struct NetProgram {
	// Where a tensor lies in the memory of a run, in floats.
	struct Place {
		size_t first; // of the upper left pixel, inside of the border
		Shape shape;
		ptrdiff_t pixel;
		ptrdiff_t row;

		kernels::NetTensor in(float *memory) const
		{
			return {memory + first, shape.height, shape.width, shape.channels, pixel, row};
		}
	};
	// Where a step's numbers begin among `weights`.
	struct Constants {
		size_t weights = 0;
		size_t bias = 0;
		size_t slopes = 0;
	};

	explicit NetProgram(NetFile file);

	NetFile file;                     // without its weights
	std::vector<Constants> constants; // one for each step
	std::vector<Place> places;        // one for each tensor
	size_t memory_values = 0;         // of a run's tensors
	Aligned<float> weights;

private:
	void place_tensors();
	void pack_weights();
};

} // namespace kalvio::engine
