// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "frame.h"

#include <functional>
#include <vector>

namespace kalvio::bench {

// Where each pixel of a rectangle of the frame is read, in the frame's pixels: x, y, row by row.
struct RemapPlaces {
	int width;
	int height;
	std::vector<float> places;
};

// The same with another library's bilinear resampling, on one thread; empty where it is not installed.
std::function<void()> make_remap_peer(const engine::Frame &frame, const RemapPlaces &places);

} // namespace kalvio::bench
