// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "stages/coarse_matte.h"

#include <array>
#include <span>

namespace kalvio::engine {

// Steadies what a net says about each frame: noise is averaged over frames, motion is followed at once, and whether
// anybody is there at all is decided slowly.
//
// While nobody is there, everything is background: a streamer who leaves the chair does not show the room that was
// hidden so far, and what the net takes for bits of people in an empty room does not flicker.
class SteadyMatte {
public:
	static constexpr int columns = 256;
	static constexpr int rows = 144;
	static constexpr size_t cell_count = size_t(columns) * size_t(rows);

	// Takes in the next frame's matte, `cell_count` values 0..1, `seconds` (at least 0) after the last one. The
	// first one, and the first one after `restart`, is taken as it is.
	void update(std::span<const float> matte, float seconds);
	// Forgets what was seen.
	void restart() { is_fresh_ = true; }

	CoarseMatte matte() const { return {shown_.data(), columns, rows}; }
	// The same, grown by a cell on all sides.
	CoarseMatte widened() const { return {widened_.data(), columns, rows}; }
	// How far somebody is there, 0..1.
	float presence() const;

private:
	void follow_presence(std::span<const float> matte, float seconds);
	void follow_cells(std::span<const float> matte, float seconds);
	void publish();

	bool is_fresh_ = true;
	bool somebody_ = false;
	float contrary_s_ = 0; // for how long the frames have said the contrary of `somebody_`
	float fade_ = 0;       // 0..1
	std::array<float, cell_count> steady_{};
	std::array<float, cell_count> shown_{};
	std::array<float, cell_count> widened_{};
};

} // namespace kalvio::engine
