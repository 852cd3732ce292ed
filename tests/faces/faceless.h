// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "canvas.h"

#include <cstdint>

namespace kalvio::engine::testing {

// Pictures of things that are no faces of people, and that a detector may take for some: animals, balls, patterns,
// chairs, and people from behind, in turn by their number.
inline constexpr int faceless_kinds = 5;
const char *name_of_faceless(int number);
// 480 x 270, without noise.
Canvas paint_faceless(int number);

} // namespace kalvio::engine::testing
