// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "stages/sticker_bundle.h"
#include "stages/sticker_drawing.h"

#include <cstdint>

namespace kalvio::engine {

// The moving sprites when the animation has run for `age_us` microseconds, at least 0. Always the same for the same age
// and size. `placed` has room for max_moving_sprites; the number placed is returned.
int place_sprites(const Sticker &sticker, int64_t age_us, int width, int height, PlacedSprite *placed);

} // namespace kalvio::engine
