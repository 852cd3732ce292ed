// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "pool.h"
#include "settings.h"
#include "stages/color_lut.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace kalvio::engine {

// Whitening and rosiness as one table of colors, worked out in Oklab: lightness, chroma and hue change as the tones
// say, the darker the skin the less its lightness, and chroma follows lightness so that dark skin does not become
// ashen. What does not look like skin in any light (gray, eyes, teeth, lips, blue and green cloth) changes little,
// black and white not at all.
class ToneTable {
public:
	// The cells for kernels::lookup_row; null where the settings change no tone. Takes memory and a millisecond
	// when they differ from those of the last call, and 20 ms of one thread for a tone that no other engine has.
	const int16_t *prepare(const Settings &settings, Pool &pool);

private:
	// What a tone at full strength adds to each color of a table, in 0..1. Engines that have the tone share it.
	using Changes = std::shared_ptr<const std::vector<float>>;
	static Changes shared_changes(int tone, Pool &pool);

	Changes whitening_;
	Changes rosiness_;
	int32_t whitening_style_ = -1; // of `whitening_`
	Lut3d table_;
	TetrahedralLut lookup_;
	float built_whitening_ = 0; // strengths that `lookup_` is for
	float built_rosiness_ = 0;
	int32_t built_style_ = -1;
};

} // namespace kalvio::engine
