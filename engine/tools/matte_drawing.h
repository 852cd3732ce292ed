// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "image.h"
#include "stages/person_matte.h"

namespace kalvio::engine {

// The matte of `input`, which `matte` was last updated with, for this use: a gray picture of the same size, black
// background to white person, opaque.
void draw_matte(PersonMatte &matte, const Image &input, MatteUse use, Image &output);

} // namespace kalvio::engine
