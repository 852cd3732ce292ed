// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "aligned.h"
#include "bundle.h"

#include <cstdint>
#include <vector>

namespace kalvio::engine {

// A color filter: 33 x 33 x 33 colors, red fastest, each r, g, b in 0..65535, sRGB-encoded like the picture.
struct Lut3d {
	static constexpr int side = 33;
	static constexpr size_t values = size_t(side) * side * side * 3;
	static constexpr const char *entry = "table.rgb16";

	std::vector<uint16_t> colors;
};

// Reads a bundle of the kind "filter".
ReadResult load_lut3d(const char *path, Lut3d &lut);

// A LUT, mixed with the identity, laid out for interpolation in tetrahedra: of a cell's eight corners the four that
// surround a color are found with two loads (kernels::LutCell).
class TetrahedralLut {
public:
	// `intensity` 0..1. The mix may be made here since the interpolation of no change is exactly no change.
	void build(const Lut3d &lut, float intensity);
	void clear() { cells_.release(); }

	const int16_t *cells() const { return cells_.data(); }

private:
	Aligned<int16_t> cells_;
};

} // namespace kalvio::engine
