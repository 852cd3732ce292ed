// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/makeup.h"

#include "kernels/makeup_kernels.h"
#include "pool.h"
#include "stages/makeup_items.h"

#include <algorithm>
#include <atomic>
#include <new>

namespace kalvio::engine {

namespace {

// Gains and additions of a row, and what a patch needs to lay its own over them.
size_t plane_floats(int width)
{
	return size_t(width) + 64;
}

} // namespace

void MakeupBox::take(Point point, float margin)
{
	low = {std::min(low.x, point.x - margin), std::min(low.y, point.y - margin)};
	high = {std::max(high.x, point.x + margin), std::max(high.y, point.y + margin)};
}

MakeupGrid grid_of(const MakeupBox &box, const Frame &frame, int pitch)
{
	const auto bound = [pitch](float value, int limit) {
		const auto most = static_cast<float>(limit);
		// Also for what is no number.
		return static_cast<int>(value > 0 ? std::min(value, most) : 0.0F) / pitch;
	};
	const auto cells = [pitch](int pixels) {
		return (pixels + pitch - 1) / pitch;
	};
	MakeupGrid grid;
	grid.pitch = pitch;
	const int first_column = bound(box.low.x, frame.width);
	const int first_row = bound(box.low.y, frame.height);
	grid.left = first_column * pitch;
	grid.top = first_row * pitch;
	grid.columns = std::min(bound(box.high.x, frame.width) + 1, cells(frame.width)) - first_column;
	grid.rows = std::min(bound(box.high.y, frame.height) + 1, cells(frame.height)) - first_row;
	if (!(box.high.x > 0 && box.high.y > 0))
		grid.columns = 0;
	return grid;
}

int detail_pitch(float face_size)
{
	int pitch = 1;
	while (pitch < 16 && face_size > 260.0F * static_cast<float>(pitch))
		pitch *= 2;
	return pitch;
}

bool MakeupStage::is_needed(const Settings &settings)
{
	return settings.lipstick.strength > 0 || settings.blush.strength > 0 || settings.contour.strength > 0 ||
	       settings.eye_shadow.strength > 0 || settings.eye_liner.strength > 0 || settings.eyebrow.strength > 0 ||
	       settings.eyelash.strength > 0 || settings.pupil.strength > 0;
}

void MakeupStage::build(const Frame &frame, const Settings &settings, const SeenFaces &seen, Pool &pool)
{
	face_count_ = static_cast<int>(seen.faces.size());
	lights_.follow(seen.faces, frame, seen.seconds);
	const size_t plane = plane_floats(frame.width);
	slot_floats_ = plane * 10 + 4 * 64;
	rows_.ensure_capacity(slot_floats_ * size_t(pool.threads()));
	std::atomic<bool> out_of_memory = false; // a task of the pool must not throw
	pool.run(face_count_ * parts, [&](int task, int) {
		const size_t index = size_t(task) / parts;
		const MakeupScene scene = {frame, seen.faces[index], lights_.of(index), settings};
		MakeupPatch &patch = patches_[index][size_t(task) % parts];
		try {
			paint(static_cast<Part>(task % parts), scene, patch);
		} catch (const std::bad_alloc &) {
			patch.clear();
			out_of_memory = true;
		}
	});
	if (out_of_memory)
		throw std::bad_alloc();
}

void MakeupStage::paint(Part part, const MakeupScene &scene, MakeupPatch &patch)
{
	switch (part) {
	case Cheeks:
		paint_cheeks(scene, patch);
		break;
	case LeftEye:
	case RightEye:
		paint_eye(scene, part == LeftEye, patch);
		break;
	default:
		paint_lips(scene, patch);
	}
}

void MakeupStage::apply_row(int y, int slot, int width, uint8_t *row)
{
	float *scratch = rows_.data() + slot_floats_ * size_t(slot);
	for (size_t face = 0; face < size_t(face_count_); ++face)
		apply_face(face, y, scratch, width, row);
}

void MakeupStage::apply_face(size_t face, int y, float *scratch, int width, uint8_t *row) const
{
	int first = width;
	int end = 0;
	for (const MakeupPatch &patch : patches_[face]) {
		if (patch.grid().empty() || !patch.has_row(y))
			continue;
		first = std::min(first, patch.first_pixel());
		end = std::max(end, patch.end_pixel());
	}
	if (first >= end)
		return;

	const size_t plane = plane_floats(width);
	std::array<float *, 3> gain;
	std::array<float *, 3> add;
	const auto count = size_t(end - first);
	for (size_t channel = 0; channel < 3; ++channel) {
		gain[channel] = scratch + channel * plane;
		add[channel] = scratch + (channel + 3) * plane;
		std::fill_n(gain[channel], count + kernels::makeup_padding, 1.0F);
		std::fill_n(add[channel], count + kernels::makeup_padding, 0.0F);
	}
	for (const MakeupPatch &patch : patches_[face]) {
		if (patch.grid().empty() || !patch.has_row(y))
			continue;
		const int offset = patch.first_pixel() - first;
		float *const gains[3] = {gain[0] + offset, gain[1] + offset, gain[2] + offset};
		float *const adds[3] = {add[0] + offset, add[1] + offset, add[2] + offset};
		patch.lay_row(y, gains, adds, scratch + 6 * plane, &patch == patches_[face].data());
	}
	kernels::makeup_row(row + size_t(first) * bytes_per_pixel, std::min(end, width) - first,
			    {{gain[0], gain[1], gain[2]}, {add[0], add[1], add[2]}});
}

} // namespace kalvio::engine
