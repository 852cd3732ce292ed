// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace kalvio::engine {

// The color of a cell {r, g, b less 128, ...} as a light's tint and strength move it least.
struct CellColor {
	float sum;        // log2(r / g) + log2(b / g): from green to magenta
	float difference; // log2(r / b): from cold to warm
	float luma;       // log2 of the level
};
CellColor cell_color(const float *cell);
float luma_of_cell(const float *cell); // 0..255

// Where skin is, from color and from what lies where. Works on the logarithms of r/g, b/g and luma: light skin and
// dark skin have nearly the same ratios, and a light's tint only shifts the picture's points. A broad expectation of
// those ratios is narrowed down to this picture's own skin:
//   - colors that are common at the frame's border are background, even a wall of the color of skin;
//   - of what is left around the middle, skin is the bright part: hair of the same hue is darker.
// Both are ratios of counts, without thresholds, so that noise cannot make the map jump from frame to frame.
class SkinModel {
public:
	SkinModel();

	// Forgets the last picture.
	void begin();
	// Counts the colors of row `y` of `rows` rows of cells {r, g, b less 128, ...}.
	void count(const float *cells, int columns, int y, int rows);
	// Places the model on the counted colors. Without any that could be skin nothing is.
	void adapt();
	// For each cell {skin 0..1, luma 0..1, skin * luma, luma * luma}.
	void map(const float *cells, int columns, float *out) const;

private:
	// The three axes of the bins: green against magenta, cold against warm, dark against bright.
	static constexpr size_t sums = 32;
	static constexpr size_t differences = 32;
	static constexpr size_t lumas = 16;
	using LumaRow = std::array<float, lumas>;
	using Histogram = std::array<LumaRow, sums * differences>;

	// Where the most of something lies, in octaves along the three axes.
	struct Peak {
		float sum;
		float difference;
		float luma;
	};

	struct Bin {
		size_t chroma;
		size_t luma;
		float beyond; // the middle of the luma bin, in bins, -0.5..0.5
	};
	static Bin bin_of(const float *cell);
	void blur(Histogram &histogram);
	// Divides the counts of the middle by those of the border; false when nothing could be skin.
	bool compare_with_border();
	Peak find_peak() const;

	Histogram foreground_histogram_; // counts, weighted towards the middle of the frame; then of what could be skin
	Histogram border_histogram_;     // counts along the upper edges
	Histogram membership_;           // how surely a color is skin
	Histogram scratch_;
	std::array<float, sums * differences> expectation_; // of skin under any light
};

// From window means of such cells the line mask = slope * luma + offset that a guided filter fits in each window.
void skin_lines(const float *windows, int columns, float epsilon, float *out);

} // namespace kalvio::engine
