// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>

// The refinement of a matte, compiled for every instruction set and picked at run time; the same bytes on each.
namespace kalvio::engine::kernels {

// A matte is refined tile by tile, on a grid of cells. Each window of the filter reaches 4 cells in each direction, and
// there are two passes, so that a tile is made from twice that around it.
inline constexpr int matte_tile = 16; // cells on a side
inline constexpr int matte_window_radius = 4;
inline constexpr int matte_tile_reach = 2 * matte_window_radius;
inline constexpr int matte_loaded = matte_tile + 2 * matte_tile_reach;

// What a tile is made from, row by row: the colors of the frame and the coarse matte, 0..1.
struct MatteTileInput {
	enum Plane { Red, Green, Blue, Matte, planes };
	alignas(64) float values[planes][matte_loaded * matte_loaded];
};

// What a cell says about its pixels: their matte as a line of their colors, and the colors of what is in front and
// behind where both are seen at once.
enum MattePlane {
	MatteRed, // factors
	MatteGreen,
	MatteBlue,
	MatteOffset,
	FrontRed,
	FrontGreen,
	FrontBlue,
	BackRed,
	BackGreen,
	BackBlue,
	matte_planes
};

struct MatteTileScratch {
	static constexpr int middle = matte_tile + 2 * matte_window_radius;
	static constexpr int padding = 16;
	static constexpr int moments = 13;
	alignas(64) float product[matte_loaded + padding];
	alignas(64) float triples[matte_loaded + padding];
	alignas(64) float across[matte_loaded * middle];
	alignas(64) float triple_rows[matte_loaded * middle];
	alignas(64) float means[moments][middle * middle];
};

// The guided filter of He, Sun and Tang ("Guided Image Filtering", 2013) with a guide of three channels. `out` are the
// planes' first values of the tile, `row_floats` from a row to the next.
void refine_matte_tile(const MatteTileInput &input, float epsilon, MatteTileScratch &scratch,
		       float *const out[matte_planes], ptrdiff_t row_floats);

// How a line's value becomes a matte: (value - low) * scale, held to 0..1.
struct MatteCurve {
	float low;
	float scale;
};

// The matte of `width` pixels, 4 equal bytes per pixel, 0 background to 255 foreground, and the same pixels of `row`
// moved by what their foreground differs from what was captured. `planes` hold a value per pixel. Pixels are
// worked on in groups of up to 16. Without `correct`, the planes from FrontRed on are not read and `row` is kept.
void matte_pixels(const float *const planes[matte_planes], const uint8_t *captured, int width, const MatteCurve &curve,
		  bool correct, uint8_t *row, uint8_t *matte);

// Values per pixel from values per cell: `cells` + 1 gaps between neighbors of a row of `cells` + 2, each cut into
// `block` (a multiple of 4) pixels. out = cell + (next - cell) * parts[pixel].
void widen_cells(const float *row, int cells, int block, const float *parts, float *out);

// out = above + (below - above) * weight
void mix_cells(const float *above, const float *below, float weight, int count, float *out);

} // namespace kalvio::engine::kernels
