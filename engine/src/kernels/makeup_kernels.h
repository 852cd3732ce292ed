// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>

// Makeup on a row of pixels, compiled for every instruction set and picked at run time; the same bytes on each.
namespace kalvio::engine::kernels {

// What makeup does to the linear light of each pixel: light = light * gain + add, held to 0..1. Gain 1 and add 0 leave
// a pixel's bytes as they are.
struct MakeupPlanes {
	const float *gain[3]; // red, green, blue; readable `makeup_padding` values beyond the last pixel
	const float *add[3];
};
inline constexpr int makeup_padding = 16; // values behind the last pixel; they must leave pixels as they are

// The pixels of `row` from its first on; alpha is kept. Rows can be read and written up to 16 pixels beyond `count`.
void makeup_row(uint8_t *row, int count, const MakeupPlanes &planes);

// The light of an sRGB value 0..1 as makeup_row sees it: a cubic within 0.0017 of IEC 61966-2-1.
constexpr float light_of(float value)
{
	return value * (value * (0.305306F * value + 0.682171F) + 0.0125229F);
}

} // namespace kalvio::engine::kernels
