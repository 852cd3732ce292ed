// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <array>
#include <cstdint>

namespace kalvio::engine {

// Where skin is, from colour alone. Works on the logarithms of r/g and b/g: brightness drops out, so that dark and
// light skin lie close together, and a light's tint only shifts the picture's points. A broad expectation finds the
// picture's own skin peak; the map is what lies around it.
class SkinModel {
public:
	SkinModel();

	// Counts the colours of a row of cells {r, g, b less 128, ...}.
	void count(const float *cells, int columns);
	// Places the model on the counted colours. Without any that could be skin it stays at the expectation.
	void adapt();
	// For each cell {skin 0..1, luma 0..1, skin * luma, luma * luma}.
	void map(const float *cells, int columns, float *out) const;

private:
	static constexpr int bins = 64;

	static int bin_of(int red, int green, int blue);

	std::array<uint32_t, bins *bins> counts_ = {};
	std::array<float, bins *bins> membership_ = {};
};

// From window means of such cells the line mask = slope * luma + offset that a guided filter fits in each window.
void skin_lines(const float *windows, int columns, float epsilon, float *out);

} // namespace kalvio::engine
