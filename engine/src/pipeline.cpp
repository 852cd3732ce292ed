// SPDX-License-Identifier: GPL-2.0-or-later

// A frame's way through the engine. First what needs the whole picture is measured on reduced grids; then bands of rows
// go through all stages while they are in the cache. A stage without effect is not entered. The order:
//
//   measured on grids    smoothing field, skin map        stages/retouch_field, stages/skin_map
//                        faces                            faces/face_tracker, where a stage asks for them
//                        makeup on each face              stages/makeup, where an item is on
//                        people's matte                   stages/person_matte, where a background or a body asks for it
//                        bodies                           stages/body_shape, where bodies are to be reshaped
//                        reshape field                    stages/reshape_field, stages/body_moves
//                        stickers on faces                stages/face_sticker, stages/head_depth
//                        the screen behind a key          stages/screen_field
//                        blurred background               stages/background_blur
//   row by row           smoothing, skin mask             kernels retouch_row
//                        whitening, rosiness              stages/tone, kernels lookup_row
//                        sharpening                       kernels sharpen_row
//                        makeup                           stages/makeup, kernels makeup_row
//                        key or matte                     stages/color_key or stages/person_matte
//                        background                       kernels composite_row
//                        color filter                     stages/color_lut
//                        stickers                         stages/sticker_drawing
//   again round people   reshape                          kernels warp_row, of what is in front and of its matte
//                        background, filter, stickers     as above
//
// The matte is reshaped together with the person, so that a slimmer face does not bend the background behind it. What a
// reshaped pixel is read from lies in other rows, too: the rows round faces are kept before the background comes in,
// and all rows are done before the first is reshaped.
#include "pipeline.h"

#include "engine.h"
#include "finished_row.h"
#include "frame_plan.h"
#include "kernels/kernels.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <optional>
#include <span>

namespace kalvio::engine {

namespace {

// Fixed, so that the work is cut the same way however many threads there are.
constexpr int rows_per_band = 32;

// The kernels write whole vectors: between two parts of a row they must not reach over what lies between. Pixels.
constexpr int least_gap = kernels::row_padding_bytes / bytes_per_pixel;

void copy_frame(const Frame &frame)
{
	if (frame.row_bytes() == size_t(frame.stride_bytes)) {
		std::memcpy(frame.output, frame.input, frame.row_bytes() * size_t(frame.height));
		return;
	}
	for (int y = 0; y < frame.height; ++y)
		std::memcpy(frame.output_row(y), frame.input_row(y), frame.row_bytes());
}

SeenFaces follow_faces(kl_engine &engine, const Frame &frame, int64_t now_us)
{
	if (!engine.faces)
		engine.faces = std::make_unique<FaceTracker>(face_nets(*engine.nets), engine.nets->head);
	const int64_t step_us = now_us - engine.faces_time_us;
	engine.faces_time_us = now_us;
	engine.faces->update(frame, static_cast<double>(now_us) / 1e6, *engine.pool);
	constexpr int64_t longest_step_us = 1'000'000;
	return {engine.faces->faces(), static_cast<float>(std::clamp(step_us, int64_t{0}, longest_step_us)) / 1e6F};
}

void follow_person(kl_engine &engine, const Frame &frame, int64_t now_us, bool is_cut_out)
{
	if (!engine.person)
		engine.person = std::make_unique<PersonMatte>(engine.nets->person_matte);
	engine.person->update(frame, now_us, *engine.pool, is_cut_out);
}

void resize(FrameMemory &memory, const Frame &frame, int slots)
{
	constexpr size_t single_rows = 4;
	constexpr size_t rows_per_slot = std::tuple_size_v<decltype(FrameMemory::WorkerScratch::retouched)> +
					 std::tuple_size_v<decltype(FrameMemory::WorkerScratch::captured_copies)> +
					 single_rows;
	memory.slots.resize(std::max(memory.slots.size(), size_t(slots)));
	const size_t row_bytes = (frame.row_bytes() + 2 * kernels::row_padding_bytes + 63) / 64 * 64;
	for (FrameMemory::WorkerScratch &slot : memory.slots) {
		uint8_t *bytes = slot.bytes.ensure_capacity(row_bytes * rows_per_slot) + kernels::row_padding_bytes;
		for (const std::span<uint8_t *> ring :
		     {std::span<uint8_t *>(slot.retouched), std::span<uint8_t *>(slot.captured_copies)}) {
			for (uint8_t *&row : ring) {
				row = bytes;
				bytes += row_bytes;
			}
		}
		slot.row = bytes;
		slot.matte = bytes + row_bytes;
		slot.background = bytes + 2 * row_bytes;
		slot.toned = bytes + 3 * row_bytes;
	}
}

// Puts the captured row into its ring: the frame's own row where the kernels stay within it, else a copy.
void load_captured(FrameMemory::WorkerScratch &slot, const Frame &frame, int y)
{
	const size_t place = size_t(y) % slot.captured.size();
	slot.captured[place] = frame.input_row(y);
	if (frame.has_rows_of_whole_vectors())
		return;
	std::memcpy(slot.captured_copies[place], frame.input_row(y), frame.row_bytes());
	slot.captured[place] = slot.captured_copies[place];
}

// What of a row retouching may change.
RowPart retouched_part(const FramePlan &plan, const FrameMemory &memory, const Frame &frame, int y)
{
	return plan.masked ? memory.field.skin_part(y) : RowPart{0, frame.width};
}

// Smoothing, whitening and rosiness. With a skin mask it takes alpha's place in the retouched part.
void retouch(const FramePlan &plan, FrameMemory &memory, const Frame &frame, int y, int slot, uint8_t *row)
{
	if (plan.tone != nullptr && !plan.retouch && frame.has_rows_of_whole_vectors()) {
		kernels::lookup_row(frame.input_row(y), frame.width, plan.tone, row);
		return;
	}
	std::memcpy(row, frame.input_row(y), frame.row_bytes());
	const RowPart part = retouched_part(plan, memory, frame, y);
	if (part.width == 0)
		return;
	uint8_t *pixels = row + part.first_byte();
	if (plan.retouch)
		kernels::retouch_row(pixels, part.width, memory.field.row(y, part, slot), memory.field.cell_pixels(),
				     plan.masked, y);
	if (plan.tone == nullptr)
		return;
	if (plan.masked) {
		uint8_t *toned = memory.slots[size_t(slot)].toned;
		std::memcpy(toned, pixels, part.byte_count());
		kernels::lookup_row(toned, part.width, plan.tone, toned);
		kernels::mix_row_by_alpha(pixels, part.width, toned);
	} else {
		kernels::lookup_row(pixels, part.width, plan.tone, pixels);
	}
}

// The matte looks at the captured colors; what it leaves is freed from the background's light.
void cut_out(const FramePlan &plan, kl_engine &engine, const Frame &frame, int y, int slot_number)
{
	const FrameMemory::WorkerScratch &slot = engine.memory.slots[size_t(slot_number)];
	const uint8_t *captured = ring_row(slot.captured, y);
	if (plan.person) {
		const MatteUse use = plan.picture != nullptr ? MatteUse::Picture : MatteUse::Blur;
		engine.person->write_row(y, slot_number, frame.width, use, captured, slot.row, slot.matte);
	} else {
		const std::array<const uint8_t *, 3> rows = {
			ring_row(slot.captured, std::max(y - 1, 0)), captured,
			ring_row(slot.captured, std::min(y + 1, frame.height - 1))};
		engine.memory.key.write_row(y, slot_number, frame.width, rows, slot.row, slot.matte);
	}
}

// From the captured rows straight to the output: copies on the way would take as long as the work.
void sharpen_band(const FramePlan &plan, const Frame &frame, int first, int end)
{
	for (int y = first; y < end; ++y)
		kernels::sharpen_row(frame.input_row(std::max(y - plan.sharpen_step, 0)), frame.input_row(y),
				     frame.input_row(std::min(y + plan.sharpen_step, frame.height - 1)), frame.width,
				     plan.sharpen_step, plan.sharpening, false, frame.output_row(y));
}

// What the rows from `first` on need of the rows before them.
void begin_rows(const FramePlan &plan, FrameMemory &memory, const Frame &frame, int first, int slot_number)
{
	FrameMemory::WorkerScratch &slot = memory.slots[size_t(slot_number)];
	if (plan.sharpening > 0) {
		const int end = std::min(first + plan.sharpen_step, frame.height);
		for (int y = std::max(first - plan.sharpen_step, 0); y < end; ++y)
			retouch(plan, memory, frame, y, slot_number, ring_row(slot.retouched, y));
	}
	if (plan.has_matte()) {
		for (int y = std::max(first - 1, 0); y <= first; ++y)
			load_captured(slot, frame, y);
	}
}

// The person's own row: smoothed, toned, sharpened and made up, with the captured alpha. Rows come one after the other,
// after begin_rows. The captured rows that a matte looks at are in their ring afterwards.
void produce_row(const FramePlan &plan, FrameMemory &memory, const Frame &frame, int y, int slot_number, uint8_t *row)
{
	FrameMemory::WorkerScratch &slot = memory.slots[size_t(slot_number)];
	const RowPart part = retouched_part(plan, memory, frame, y);
	const size_t first = part.first_byte();
	if (plan.sharpening > 0) {
		const int step = plan.sharpen_step;
		if (y + step < frame.height)
			retouch(plan, memory, frame, y + step, slot_number, ring_row(slot.retouched, y + step));
		if (part.width < frame.width)
			std::memcpy(row, frame.input_row(y), frame.row_bytes());
		if (part.width > 0)
			kernels::sharpen_row(ring_row(slot.retouched, std::max(y - step, 0)) + first,
					     ring_row(slot.retouched, y) + first,
					     ring_row(slot.retouched, std::min(y + step, frame.height - 1)) + first,
					     part.width, step, plan.sharpening, plan.masked, row + first);
	} else {
		retouch(plan, memory, frame, y, slot_number, row);
	}
	if (plan.has_matte() && y + 1 < frame.height)
		load_captured(slot, frame, y + 1);
	if (plan.masked && part.width > 0) { // the skin mask travelled in the row's alpha
		if (!plan.has_matte())
			load_captured(slot, frame, y);
		kernels::copy_alpha(ring_row(slot.captured, y) + first, part.width, row + first);
	}
	if (plan.makeup)
		memory.makeup.apply_row(y, slot_number, frame.width, row);
}

// The part of row `y` that lies in a region; empty where none does.
RowPart part_in(const ReshapeField::Region &region, int y, const Frame &frame)
{
	const DisplacementGrid &grid = region.grid;
	const int line = (y - grid.y) >> grid.cell_shift;
	if (y < grid.y || line >= grid.rows - 1)
		return {0, 0};
	const int end = std::min(grid.x + (grid.columns - 1) * grid.cell(), frame.width);
	return {grid.x, end - grid.x};
}

// The pixels of row `y` that a region displaces; empty where it does none.
RowPart displaced_part(const ReshapeField::Region &region, int y, const Frame &frame)
{
	const DisplacementGrid &grid = region.grid;
	if (part_in(region, y, frame).width == 0)
		return {0, 0};
	const auto [first, end] = region.spans[size_t((y - grid.y) >> grid.cell_shift)];
	if (first >= end)
		return {0, 0};
	const int x = grid.x + first * grid.cell();
	return {x, std::min(grid.x + end * grid.cell(), frame.width) - x};
}

// What of a row is not displaced. The rest is finished when it is reshaped.
void finish_resting_parts(const FramePlan &plan, FrameMemory &memory, const Frame &frame, int y, int slot_number)
{
	load_background(plan, memory, frame, y, slot_number);
	const FrameMemory::WorkerScratch &slot = memory.slots[size_t(slot_number)];
	// The next displaced part from a column on.
	const auto next_displaced = [&](int x) {
		RowPart next = {frame.width, 0};
		for (const ReshapeField::Region &region : memory.reshape.regions()) {
			const RowPart part = displaced_part(region, y, frame);
			if (part.width >= least_gap && part.x >= x && part.x < next.x)
				next = part;
		}
		return next;
	};
	for (int x = 0; x < frame.width;) {
		const RowPart gap = plan.reshape ? next_displaced(x) : RowPart{frame.width, 0};
		if (gap.x > x)
			finish_part(plan, slot, frame, y, {x, gap.x - x});
		x = gap.x + gap.width;
	}
}

// Keeps of a row what reshaped pixels may be read from.
void keep_row(const FramePlan &plan, FrameMemory &memory, const Frame &frame, int y, const uint8_t *row,
	      const uint8_t *matte)
{
	const size_t line = size_t(y) * frame.row_bytes();
	for (const ReshapeField::Region &region : memory.reshape.regions()) {
		const RowPart part = part_in(region, y, frame);
		const size_t first = part.first_byte();
		std::memcpy(memory.front.data() + line + first, row + first, part.byte_count());
		if (plan.has_matte())
			std::memcpy(memory.front_matte.data() + line + first, matte + first, part.byte_count());
	}
}

// Straight from the captured rows to the output.
void pass_band(const FramePlan &plan, FrameMemory &memory, const Frame &frame, int first, int end)
{
	if (plan.sharpening > 0)
		sharpen_band(plan, frame, first, end);
	for (int y = first; y < end; ++y) {
		uint8_t *row = frame.output_row(y);
		if (plan.lookup != nullptr)
			kernels::lookup_row(frame.input_row(y), frame.width, plan.lookup, row);
		else if (plan.sharpening == 0)
			std::memcpy(row, frame.input_row(y), frame.row_bytes());
		else if (plan.reshape)
			keep_row(plan, memory, frame, y, row, nullptr);
		draw_stickers(plan, y, 0, frame.width, row);
	}
}

void process_band(const FramePlan &plan, kl_engine &engine, const Frame &frame, int band, int slot_number)
{
	FrameMemory &memory = engine.memory;
	FrameMemory::WorkerScratch &slot = memory.slots[size_t(slot_number)];
	const int first = band * rows_per_band;
	const int end = std::min(frame.height, first + rows_per_band);
	if (plan.leaves_rows_alone() || (plan.only_finishes() && frame.has_rows_of_whole_vectors()) ||
	    (plan.does_nothing_but_sharpen() && frame.width >= kernels::unpadded_pixels)) {
		pass_band(plan, memory, frame, first, end);
		return;
	}

	begin_rows(plan, memory, frame, first, slot_number);
	for (int y = first; y < end; ++y) {
		if (plan.stays_within_rows() && frame.has_rows_of_whole_vectors())
			slot.row = frame.output_row(y);
		produce_row(plan, memory, frame, y, slot_number, slot.row);
		if (plan.has_matte())
			cut_out(plan, engine, frame, y, slot_number);
		if (plan.reshape)
			keep_row(plan, memory, frame, y, slot.row, slot.matte);
		finish_resting_parts(plan, memory, frame, y, slot_number);
	}
}

// The pixels of a row that are displaced, once more: the kept ones in their new places.
void reshape_row(const FramePlan &plan, FrameMemory &memory, const Frame &frame, const ReshapeField::Region &region,
		 int y, int slot_number)
{
	const RowPart part = displaced_part(region, y, frame);
	if (part.width == 0)
		return;
	const DisplacementGrid &grid = region.grid;
	const auto [first, end] = region.spans[size_t((y - grid.y) >> grid.cell_shift)];
	FrameMemory::WorkerScratch &slot = memory.slots[size_t(slot_number)];
	const kernels::WarpLine line = region.line(y, first);
	const int cells = end - first;
	const auto warp = [&](const uint8_t *pixels, size_t row_bytes, uint8_t *out) {
		const kernels::WarpSource source = {pixels, static_cast<ptrdiff_t>(row_bytes), frame.width,
						    frame.height};
		kernels::warp_row(source, line, cells, out + part.first_byte());
	};
	if (plan.leaves_rows_alone())
		warp(frame.input, size_t(frame.stride_bytes), slot.row);
	else
		warp(memory.front.data(), frame.row_bytes(), slot.row);
	if (plan.has_matte()) {
		warp(memory.front_matte.data(), frame.row_bytes(), slot.matte);
		load_captured(slot, frame, y);
		load_background(plan, memory, frame, y, slot_number);
	}
	finish_part(plan, slot, frame, y, part);
}

void reshape_band(const FramePlan &plan, FrameMemory &memory, const Frame &frame, int band, int slot_number)
{
	const int first = band * rows_per_band;
	const int end = std::min(frame.height, first + rows_per_band);
	for (const ReshapeField::Region &region : memory.reshape.regions()) {
		for (int y = first; y < end; ++y)
			reshape_row(plan, memory, frame, region, y, slot_number);
	}
}

// Where the faces and bodies are to go. Without a face on the frame nothing is reshaped.
void plan_reshape(FramePlan &plan, kl_engine &engine, const Frame &frame, const SeenFaces &seen)
{
	FrameMemory &memory = engine.memory;
	BodyRequest bodies;
	if (seen.faces.empty()) {
		memory.bodies.restart();
	} else if (plan.bodies) {
		memory.bodies.update(engine.person->coarse(), engine.person->presence(), frame.width, frame.height,
				     seen.faces, seen.seconds);
		bodies = {engine.settings.body_reshape, memory.bodies.figures()};
	}
	memory.reshape.build(frame.width, frame.height, engine.settings.face_reshape, seen.faces, *engine.pool, bodies);
	plan.reshape = !memory.reshape.regions().empty();
	if (!plan.reshape || plan.leaves_rows_alone())
		return;
	const size_t bytes = frame.row_bytes() * size_t(frame.height);
	memory.front.ensure_capacity(bytes);
	if (plan.has_matte())
		memory.front_matte.ensure_capacity(bytes);
}

// A picture that is ready takes effect, and one that is still loaded learns what size it will be needed in.
void take_in_background_load(kl_engine &engine, const Frame &frame)
{
	engine.settle_background_load();
	engine.frame_width = frame.width;
	engine.frame_height = frame.height;
	if (engine.background_load)
		engine.background_load->set_frame_size(frame.width, frame.height);
}

void process_with_memory(kl_engine &engine, const Frame &frame)
{
	const int64_t start = engine.clock_us();
	take_in_background_load(engine, frame);
	FramePlan plan = plan_frame(engine, frame, start);
	if (!plan.bodies)
		engine.memory.bodies.restart();
	if (plan.is_neutral()) {
		copy_frame(frame);
		return;
	}
	Pool &pool = *engine.pool;
	FrameMemory &memory = engine.memory;
	resize(memory, frame, pool.threads());
	std::optional<SeenFaces> seen;
	if (needs_faces(engine, plan))
		seen = follow_faces(engine, frame, start);
	if (plan.face_stickers)
		place_face_stickers(plan, engine, frame, seen->faces);
	if (plan.person || (plan.bodies && !seen->faces.empty()))
		follow_person(engine, frame, start, plan.person);
	if (plan.reshape)
		plan_reshape(plan, engine, frame, *seen);
	if (plan.retouch)
		memory.field.build(frame, engine.settings, pool, seen);
	if (plan.makeup)
		memory.makeup.build(frame, engine.settings, *seen, pool);
	if (plan.keyed)
		memory.key.update(frame, engine.settings.chroma_key, start, pool);
	if (plan.blur_sigma > 0 && plan.person)
		memory.blur.build_linear(frame, engine.person->widened(), plan.blur_sigma, pool);
	else if (plan.blur_sigma > 0)
		memory.blur.build(frame, plan.keyed ? &memory.key : nullptr, plan.blur_sigma, pool);
	const int64_t measured = engine.clock_us();
	const int bands = (frame.height + rows_per_band - 1) / rows_per_band;
	pool.run(bands, [&](int band, int slot) { process_band(plan, engine, frame, band, slot); });
	if (plan.reshape)
		pool.run(bands, [&](int band, int slot) { reshape_band(plan, memory, frame, band, slot); });
	const int64_t end = engine.clock_us();
	engine.record({measured - start, end - measured, end - start}, end);
}

} // namespace

void process_frame(kl_engine &engine, const Frame &frame)
{
	if (!engine.is_memory_whole) {
		engine.memory = FrameMemory();
		engine.faces.reset();
		engine.person.reset();
	}
	engine.is_memory_whole = false;
	process_with_memory(engine, frame);
	engine.is_memory_whole = true;
}

} // namespace kalvio::engine
