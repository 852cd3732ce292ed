// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "stages/background_picture.h"
#include "stages/color_lut.h"
#include "stages/sticker_bundle.h"

#include <optional>

namespace kalvio::engine {

// The effects that were loaded from files. A loader that fails leaves its place as it was.
struct Effects {
	std::optional<Lut3d> filter;
	TetrahedralLut lookup;
	// The mix that `lookup` was built with; negative: it has to be built.
	float lookup_intensity = -1;

	std::optional<BackgroundPicture> picture;

	std::optional<Sticker> sticker;
	// The engine's clock at the first frame since it was loaded: its animation begins there.
	std::optional<int64_t> sticker_start_us;
	std::optional<Sticker3d> sticker_3d;
};

} // namespace kalvio::engine
