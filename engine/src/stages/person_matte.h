// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "frame.h"
#include "nets/net.h"
#include "stages/matte_refinement.h"
#include "stages/steady_matte.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace kalvio::engine {

class Pool;

// Tells people from what is behind them: a net looks at the whole frame, its answer is steadied from frame to frame and
// brought to the frame's edges. However many people there are, all are in front. Within the frame, without delay. The
// same frames at the same times give the same bytes with any number of threads.
class PersonMatte {
public:
	// `net` is NetLibrary::person_matte.
	explicit PersonMatte(std::shared_ptr<const Net> net);

	// Looks at the next frame, taken at `now_us` of a clock that does not run backwards. A frame of another size
	// than the last one, or more than half a second after it, starts from nothing. Allocates in such a frame alone.
	// Where nobody is cut out, the matte need not be brought to the frame's edges: then `write_row` has nothing to
	// say about this frame.
	void update(const Frame &frame, int64_t now_us, Pool &pool, bool is_cut_out = true);

	// The last frame's people on a coarse grid, faded by their presence.
	CoarseMatte coarse() const { return steady_.matte(); }
	// The same, and a little beyond them.
	CoarseMatte widened() const { return steady_.widened(); }
	float presence() const { return steady_.presence(); }

	// See MatteRefinement::write_row.
	void write_row(int y, int slot, int width, MatteUse use, const uint8_t *captured, uint8_t *row, uint8_t *matte)
	{
		refinement_.write_row(y, slot, width, use, captured, row, matte);
	}

private:
	// Which cells of the guide a row or column of the net's input is the mean of.
	struct Span {
		int first;
		int taps;
		size_t weights; // the first of them
	};
	struct Axis {
		std::vector<Span> spans;
		std::vector<float> weights;
		int most_taps = 0;

		void cover(int cells, float cells_in_frame, int count);
	};

	void resize(const Frame &frame, int slots);
	void fill_input_row(int y, int slot);
	void brighten_input(float seconds, bool is_first);

	NetRunner runner_;
	MatteRefinement refinement_;
	SteadyMatte steady_;
	int width_ = 0;
	int height_ = 0;
	int64_t time_us_ = 0;
	float gain_ = 1; // of the net's input
	Axis across_;
	Axis down_;
	struct WorkerScratch {
		Aligned<float> row;
		std::vector<const float *> rows;
	};
	std::vector<WorkerScratch> slots_;
};

} // namespace kalvio::engine
