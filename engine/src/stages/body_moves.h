// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kalvio_engine.h"
#include "stages/body_shape.h"
#include "stages/displacement_grid.h"

#include <array>
#include <span>

namespace kalvio::engine {

using BodyAmounts = std::array<float, KL_BODY_RESHAPE_COUNT>; // by kl_body_reshape, 0..1

// What is to be done to which figures.
struct BodyRequest {
	BodyAmounts amounts{};
	std::span<const BodyFigure> figures;
};

// No edge of a figure comes nearer to the torso's middle than by this part of its distance.
inline constexpr float most_body_squeeze = 0.1F;
// Beside the silhouette, and below the feet, the displacement fades within so many face sizes.
inline constexpr float body_band_in_sizes = 1.2F;

// Whether any of the amounts changes this figure: those of the legs do so on a whole figure alone.
bool moves_body(const BodyFigure &figure, const BodyAmounts &amounts);

// Where the displacement is not zero: the bounds of it in frame coordinates, clipped to the frame.
struct BodyExtent {
	float left = 0;
	float top = 0;
	float right = 0; // at least `left`
	float bottom = 0;
};
BodyExtent body_extent(const BodyFigure &figure, int width, int height);

// Adds what the amounts do to a figure to a grid whose nodes cover it, in a frame of this size.
//
// Each row of the silhouette is squeezed towards the torso's middle, in proportion to the distance from it, and each
// part of the body is moved up or down, all by smooth functions of the height. The bust grows about two centers. Beside
// the silhouette all of it fades to zero within the band, and so it does at the frame's left and right edges.
void add_body_moves(const BodyFigure &figure, const BodyAmounts &amounts, int width, int height,
		    DisplacementGrid &grid);

} // namespace kalvio::engine
