// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/picture.h"

#include <cstdint>
#include <vector>

// Made people in front of colored screens, of whom each pixel's true alpha and color are known: hair, a head, a shirt,
// a hand in motion, a glass and smoke. All is mixed in linear light, as a lens does.
namespace kalvio::test {

enum class KeyCodec {
	None,
	Jpeg422, // quality 75, chroma of half the width: webcams
	Jpeg420, // quality 60, chroma of half the width and height: stands for H.264 of a weak encoder
};

struct KeySceneRecipe {
	const char *name;
	int color; // of the screen: 0 green, 1 blue
	Rgba screen;
	double unevenness; // part of the screen's light that is lost in the corners
	double shadow;     // part that the person takes away beside them
	double spill;      // parts of the screen's light on the person
	double noise;      // standard deviation in levels
	KeyCodec codec;
};

struct KeyScene {
	Picture camera; // the person, the screen, spill and noise
	Picture person; // the truth: straight alpha, no spill
};

const std::vector<KeySceneRecipe> &key_scene_recipes();
KeyScene make_key_scene(const KeySceneRecipe &recipe, uint32_t seed = 5);

struct KeyQuality {
	double alpha;     // root mean square error, in levels
	double composite; // the same of the picture put over dark, bright and colored, all channels
};

// Composites are mixed in levels, as the host mixes them.
KeyQuality judge_key(const Picture &result, const Picture &truth);

} // namespace kalvio::test
