// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "frame.h"
#include "frame_memory.h"
#include "frame_plan.h"

#include <array>
#include <cstddef>
#include <cstdint>

// What of a row comes after the person: the background, the color filter and stickers.
namespace kalvio::engine {

// A row of one of the rings of FrameMemory::WorkerScratch.
template <class Row, size_t Count>
Row ring_row(const std::array<Row, Count> &ring, int y)
{
	return ring[size_t(y) % Count];
}

// Loads the blurred background of a row, where one is planned. The captured row is in its ring.
void load_background(const FramePlan &plan, FrameMemory &memory, const Frame &frame, int y, int slot_number);

// Draws what of all stickers lies on row `y` from column `first` to before `end`.
void draw_stickers(const FramePlan &plan, int y, int first, int end, uint8_t *row);

// Finishes a part of a worker's row, whose background is loaded, and writes it to the output, unless the worker's row
// is the output's own; then the part is the whole row. The kernels write whole vectors: up to
// kernels::row_padding_bytes behind another part are overwritten in the worker's row.
void finish_part(const FramePlan &plan, const FrameMemory::WorkerScratch &slot, const Frame &frame, int y,
		 const RowPart &part);

} // namespace kalvio::engine
