// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "image.h"

#include <array>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// What a skin retouch does to a picture, as numbers. All of them compare pictures in and out, so that any method can be
// measured.
namespace kalvio::bench {

using engine::Image;
using Method = std::function<Image(const Image &)>;

// A part of a picture, in shares of its height from its left upper corner.
struct Part {
	float left;
	float top;
	float right;
	float bottom;
};

struct Spot {
	float x; // in shares of the picture's height
	float y;
};

// A picture whose parts are known by eye.
struct Subject {
	std::string name;
	Image picture;           // at its own size
	std::vector<Spot> spots; // on skin, where blemishes are planted
	std::vector<Part> skin;
	std::vector<Part> features; // eyes and lips
	std::vector<Part> hair;
};

// Skin without anything else, with slow shading, pores and a camera's noise.
Subject make_skin(const char *name, int red, int green, int blue);
// scripts/assets/portrait.png; null where it is not found.
std::optional<Subject> load_portrait(const std::string &path);
// scikit-image's picture of an astronaut; null where it is not installed.
std::optional<Subject> load_astronaut_subject(const std::string &path);

// The picture with `height` rows, by Catmull-Rom interpolation that is widened where it becomes smaller.
Image resampled(const Image &picture, int height);

inline constexpr std::array<float, 4> blemish_sigmas = {1.5F, 3, 6, 12}; // pixels of a frame of 1080 rows

// How much of planted blemishes is left, 0..1 and beyond: the part of their difference from the clean picture that is
// still there when both are retouched. `sigma` is for 1080 rows. Blemishes darken and redden as real ones do.
double blemish_left(const Subject &subject, const Image &scaled, float sigma, const Method &method);
// The same for pores: noise of a pixel's width, 3 levels deep, on the skin.
double pores_left(const Subject &subject, const Image &scaled, const Method &method);

// Mean structural similarity of luma over the parts (Wang et al., "Image Quality Assessment: From Error Visibility to
// Structural Similarity", 2004), with its Gaussian window.
double similarity(const Image &left, const Image &right, const std::vector<Part> &parts);

// Coefficient of variation, over squares of 24 pixels, of the deviation of fine detail: how patchy texture is.
double texture_variation(const Image &picture, const std::vector<Part> &parts);

// Other libraries' ways, each with its name; none where these are not installed.
std::vector<std::pair<std::string, Method>> peer_methods();
// OpenCV's edge-preserving filter; empty where its photo module is not installed.
Method photo_method();

} // namespace kalvio::bench
