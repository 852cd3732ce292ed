// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "engine_fixture.h"
#include "faces/face_geometry.h"
#include "made_face.h"

#include <array>
#include <functional>
#include <string>
#include <vector>

// Made faces for makeup, where its items belong on them, and how much an eye sees of a change.
namespace kalvio::engine::testing {

// CIE L*a*b* of an sRGB pixel, D65.
using Lab = std::array<double, 3>;
Lab lab_of(const uint8_t *pixel);
Lab lab_of(unsigned hex);
double delta_e(const Lab &left, const Lab &right); // CIE 1976

struct MakeupFace {
	Picture picture;
	FacePoints points;
	float size;
};

// A face that looks into the camera, 640 x 360. Tone 0 light to 3 dark.
inline constexpr int makeup_tone_count = 4;
FaceRecipe makeup_recipe(int tone);
MakeupFace paint_face(FacePainter &painter, const FaceRecipe &recipe, uint32_t noise_seed = 1);

enum class FacePart { Lips, Teeth, Cheeks, Face, Nose, Lids, LidLine, Brows, Lashes, Irises, EyeWhites };

// Which pixels of the face's picture belong to a part, widened by `margin` of the face's size.
std::vector<bool> part_pixels(const MakeupFace &face, FacePart part, float margin = 0);

// What a change of pixels is within a part.
struct PartChange {
	double mean = 0;        // of delta E
	double share = 0;       // of its pixels that change by 2 or more
	Lab before = {0, 0, 0}; // means over the pixels that change so
	Lab after = {0, 0, 0};
};
PartChange change_in(const std::vector<bool> &part, const Picture &before, const Picture &after);

} // namespace kalvio::engine::testing
