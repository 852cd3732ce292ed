// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <vector>

// Pictures that tests make up, send through a filter and compare. No graphics and no host here.
namespace kalvio::test {

using Rgba = std::array<uint8_t, 4>;

// 8-bit RGBA, rows from top to bottom, width * 4 bytes each without padding.
struct Picture {
	uint32_t width = 0;
	uint32_t height = 0;
	std::vector<uint8_t> rgba;

	Picture() = default;
	Picture(uint32_t picture_width, uint32_t picture_height);

	Rgba at(uint32_t x, uint32_t y) const;
	void set(uint32_t x, uint32_t y, Rgba pixel);

	bool operator==(const Picture &) const = default;
};

// Says where two pictures part instead of printing their bytes: the test framework finds it by its name.
void PrintTo(const Picture &picture, std::ostream *out);

Picture make_picture(uint32_t width, uint32_t height, const std::function<Rgba(uint32_t x, uint32_t y)> &pixel_at);

Picture solid_picture(uint32_t width, uint32_t height, Rgba pixel);

// Opaque. Neighbors differ in every channel, and a picture that is turned, mirrored, shifted or has its channels
// swapped differs from it.
Picture pattern_picture(uint32_t width, uint32_t height);

// Every alpha value against strong colors: one column an alpha (256 wide), one row a color. The colors are straight:
// they do not depend on the alpha.
Picture alpha_ramp_picture();

// Each color channel turned to 255 - value, the alpha kept.
Picture inverted(Picture picture);

// The largest difference of any byte; 256 when the sizes differ.
int largest_difference(const Picture &left, const Picture &right);

} // namespace kalvio::test
