// SPDX-License-Identifier: GPL-2.0-or-later
#include "finished_row.h"

#include "kernels/kernels.h"
#include "stages/background_picture.h"
#include "stages/sticker_drawing.h"

#include <cstring>

namespace kalvio::engine {

namespace {

// What is cut out comes before its background, or stays alone.
void lay_over_background(const FramePlan &plan, const FrameMemory::WorkerScratch &slot, int y, const RowPart &part)
{
	const size_t first = part.first_byte();
	if (plan.picture != nullptr)
		kernels::composite_row(slot.row + first, part.width, slot.matte + first, plan.picture->row(y) + first);
	else if (plan.blur_sigma > 0)
		kernels::composite_row(slot.row + first, part.width, slot.matte + first, slot.background + first);
	else
		kernels::scale_alpha_by_matte(slot.row + first, part.width, slot.matte + first);
}

} // namespace

void load_background(const FramePlan &plan, FrameMemory &memory, const Frame &frame, int y, int slot_number)
{
	if (!plan.has_matte() || plan.picture != nullptr || plan.blur_sigma <= 0)
		return;
	const FrameMemory::WorkerScratch &slot = memory.slots[size_t(slot_number)];
	memory.blur.write_row(y, slot_number, frame.width, slot.background);
	if (memory.blur.mix() < 256)
		kernels::mix_row(slot.background, frame.width, ring_row(slot.captured, y), 256 - memory.blur.mix());
}

void draw_stickers(const FramePlan &plan, int y, int first, int end, uint8_t *row)
{
	draw_sprites(plan.face_sprites.data(), static_cast<int>(plan.face_sprites.size()), y, first, end, row);
	draw_sprites(plan.sprites.data(), plan.sprite_count, y, first, end, row);
}

void finish_part(const FramePlan &plan, const FrameMemory::WorkerScratch &slot, const Frame &frame, int y,
		 const RowPart &part)
{
	uint8_t *row = slot.row;
	const size_t first = part.first_byte();
	if (plan.has_matte())
		lay_over_background(plan, slot, y, part);
	if (plan.lookup != nullptr)
		kernels::lookup_row(row + first, part.width, plan.lookup, row + first);
	draw_stickers(plan, y, part.x, part.x + part.width, row);
	if (row != frame.output_row(y))
		std::memcpy(frame.output_row(y) + first, row + first, part.byte_count());
}

} // namespace kalvio::engine
