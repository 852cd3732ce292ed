// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "engine_fixture.h"

#include <array>
#include <cstdint>
#include <vector>

// Made portraits whose skin is known, to measure the skin map by: every tone under every light before every background.
namespace kalvio::engine::testing {

inline constexpr int skin_tone_count = 10;
inline constexpr int skin_light_count = 3;
inline constexpr int skin_background_count = 7;

// Behind these come a green, a blue and a red screen, which no person is looked for in front of.
inline constexpr int screen_backgrounds = skin_background_count;

extern const std::array<const char *, skin_light_count> skin_light_names;
extern const std::array<const char *, skin_background_count> skin_background_names;

// The individual typology angle of a tone, in degrees: above 55 very light, below -30 dark.
int typology_angle(int tone);

enum class Region : uint8_t { Other, Skin, Unclear };

struct SkinScene {
	Picture picture;
	std::vector<Region> regions; // a pixel each; Unclear within a cell's width of an outline, and the lips
};

struct Pose {
	double right = 0; // of the middle, in half frame heights
	double down = 0;
	double scale = 1;
};

// A person from the chest up with hair, a shirt and shadows, in the noise of a camera. 384 x 216 pixels.
SkinScene make_skin_scene(int tone, int light, int background, const Pose &pose = {});

struct SkinScore {
	double precision; // part of what was taken for skin that is skin
	double recall;    // part of the skin that was taken for it
};

// How the engine's "skin only" splits the scene, measured from outside: by how much of a strong whitening arrives
// where.
SkinScore score_skin_map(kl_engine *engine, const SkinScene &scene);

} // namespace kalvio::engine::testing
