// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kernels/kernels.h"
#include "settings.h"

namespace kalvio::engine {

// The key in the colour-difference plane. `similarity` is a distance there (the key colours lie about 0.53, 0.51 and
// 0.52 from grey), `smoothness` the width of the ramp behind it.
kernels::ColorKey color_key(const ChromaKeySettings &settings);

} // namespace kalvio::engine
