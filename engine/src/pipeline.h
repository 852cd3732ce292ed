// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>

struct kl_engine;

namespace kalvio::engine {

inline constexpr int bytes_per_pixel = 4;

// One frame as the boundary hands it over, checked: RGBA rows from top to bottom, two buffers that do not overlap.
struct Frame {
	const uint8_t *input;
	uint8_t *output;
	int width;
	int height;
	int stride_bytes;
};

// Writes the whole output according to the engine's settings and loaded effects.
void process_frame(kl_engine &engine, const Frame &frame);

} // namespace kalvio::engine
