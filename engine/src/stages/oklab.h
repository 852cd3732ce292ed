// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cmath>

namespace kalvio::engine {

// A color in Oklab (Ottosson, "A perceptual color space for image processing", 2020): equal steps look equally large,
// and a hue stays the same hue where only lightness or chroma change.
struct Oklab {
	double lightness; // 0 black to 1 white
	double a;         // from green to red
	double b;         // from blue to yellow
};

inline double linear_from_srgb(double value)
{
	return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

// Of a linear color outside 0..1, too.
inline double srgb_from_linear(double value)
{
	return value <= 0.0031308 ? value * 12.92 : 1.055 * std::pow(value, 1 / 2.4) - 0.055;
}

// From linear light of the sRGB primaries.
inline Oklab oklab_from_linear(double red, double green, double blue)
{
	const double l = std::cbrt(0.4122214708 * red + 0.5363325363 * green + 0.0514459929 * blue);
	const double m = std::cbrt(0.2119034982 * red + 0.6806995451 * green + 0.1073969566 * blue);
	const double s = std::cbrt(0.0883024619 * red + 0.2817188376 * green + 0.6299787005 * blue);
	return {0.2104542553 * l + 0.7936177850 * m - 0.0040720468 * s,
		1.9779984951 * l - 2.4285922050 * m + 0.4505937099 * s,
		0.0259040371 * l + 0.7827717662 * m - 0.8086757660 * s};
}

inline void linear_from_oklab(const Oklab &color, double linear[3])
{
	const auto cube = [](double value) {
		return value * value * value;
	};
	const double l = cube(color.lightness + 0.3963377774 * color.a + 0.2158037573 * color.b);
	const double m = cube(color.lightness - 0.1055613458 * color.a - 0.0638541728 * color.b);
	const double s = cube(color.lightness - 0.0894841775 * color.a - 1.2914855480 * color.b);
	linear[0] = 4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s;
	linear[1] = -1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s;
	linear[2] = -0.0041960863 * l - 0.7034186147 * m + 1.7076147010 * s;
}

} // namespace kalvio::engine
