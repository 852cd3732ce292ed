// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_geometry.h"
#include "made_face.h"

#include <cstdint>
#include <optional>

// A made person from head to feet: a made face on a drawn body of an adult's usual measures, who stands upright before
// a plain wall with arms hanging down. Everything about the body is known in centimeters below the eyes.
namespace kalvio::engine::testing {

// What a figure's body is measured by.
namespace figure_cm {
inline constexpr float shoulders = 22;  // below the eyes
inline constexpr float chest = 37;      // where two spots are painted
inline constexpr float spot_offset = 8; // of their centers from the middle
inline constexpr float spot_radius = 3;
inline constexpr float waist = 55;
inline constexpr float hips = 72;
inline constexpr float crotch = 84;
inline constexpr float knees = 114; // where each leg has a bright band
inline constexpr float feet = 163;
} // namespace figure_cm

struct FigureRecipe {
	int width = 1280;
	int height = 720;
	uint32_t seed = 3;      // of the face
	Point eyes = {640, 80}; // between them, in pixels
	float eye_distance = 25;
	bool has_face = true;      // else seen from behind: hair alone
	std::optional<float> pole; // center of a straight vertical stripe of the wall, 6 pixels wide
	float lean = 0;            // cm to the right per cm down

	float pixels_per_cm() const { return eye_distance / 6.3F; }
	float y_at(float cm_below_eyes) const { return eyes.y + cm_below_eyes * pixels_per_cm(); }
};

// Colors of the picture that no other part has.
inline constexpr uint8_t pole_color[3] = {20, 40, 250};

// Paints the figure over a wall of its own.
void paint_figure(FacePainter &painter, const FigureRecipe &recipe, Image &image);
// Paints another one into the picture, which has the recipe's size.
void add_figure(FacePainter &painter, const FigureRecipe &recipe, Image &image);

} // namespace kalvio::engine::testing
