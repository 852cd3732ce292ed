// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "frame.h"
#include "kernels/key_kernels.h"

#include <array>
#include <cstdint>
#include <vector>

namespace kalvio::engine {

class Pool;

// Where the screen of a chroma key is and what its light is there, and what the foreground's color is, on cells of 16 x
// 16 pixels. A cell without either takes it from the cells around it, by pull-push over a pyramid of means (Gortler et
// al., "The Lumigraph", 1996).
class ScreenField {
public:
	// Measures a frame. The same frames give the same values with any number of threads. Allocates when the frame's
	// size changes alone.
	void build(const Frame &frame, const kernels::KeyChannel &key, Pool &pool);

	// Whether the frame has a screen at all. Without one the light below is that of a pure screen.
	bool is_found() const { return is_found_; }
	// The standard deviation of the screen's noise, in parts of its color difference.
	float noise() const { return noise_; }
	// The screen's usual level in the key's channel.
	float level() const;
	// Whether most of the picture is another one than in the frame before.
	bool is_cut() const { return is_cut_; }

	int columns() const { return levels_.empty() ? 0 : levels_.front().columns; }
	// The cells that row `y` of the frame lies in.
	const kernels::KeyCell *cells(int y) const;
	// 1 / the screen's color difference in the middle of the cells at the height of row `y`, with one cell more on
	// both sides, 11 fraction bits: `inverse` has columns() + 2 values.
	void write_inverse(int y, int16_t *inverse) const;

private:
	struct Light {
		std::array<float, 3> sum = {}; // red, green, blue; weighted
		float weight = 0;
	};
	struct Cell {
		Light screen;
		Light front;
		float noise_sum = 0; // of differences between neighbors on the screen
		int noise_count = 0;
		int screen_count = 0;
		bool is_border = false; // of the screen and something else
		int count = 0;          // of the pixels that were looked at
		float level = 0;        // their mean
		float before = 0;       // the same of the frame before
	};
	struct Level {
		int columns;
		int rows;
		std::vector<Light> cells;
	};

	void resize(const Frame &frame);
	void measure_screen(const Frame &frame, const kernels::KeyChannel &key, int row);
	void measure_front(const Frame &frame, const kernels::KeyChannel &key, int row);
	void judge_screen(const kernels::KeyChannel &key);
	void spread(float least_weight);
	void widen_front();
	void take_screen(const kernels::KeyChannel &key);
	void take_front(const kernels::KeyChannel &key);
	void find_border();

	int width_ = 0;
	int height_ = 0;
	bool is_found_ = false;
	bool is_cut_ = true;
	float noise_ = 0;
	float reference_ = 0;       // the screen's usual color difference
	float reference_light_ = 0; // and its light in the key's channel
	std::vector<Cell> cells_;
	std::vector<Level> levels_; // of the pyramid, the finest first
	std::vector<kernels::KeyCell> key_cells_;
	std::vector<float> inverse_; // columns + 2 per row
};

} // namespace kalvio::engine
