// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "nets/net_file.h"
#include "tflite.h"

#include <string>
#include <vector>

namespace kalvio::engine {

// An output that a converted net shall have.
struct NetOutputRecipe {
	std::string name; // of the model's tensor
	Shape shape;
	// How it refines points: not at all, those of the list by which its crop was cut out, or those that follow.
	enum class Refines { Nothing, PointsOfItsCrop, PointsFrom } refines = Refines::Nothing;
	uint16_t first_point = 0; // PointsFrom
};

// The model as steps: constants folded in, additions and activations joined to the convolutions before them. The
// weights keep their values. Throws std::runtime_error for what the steps cannot express.
NetFile convert_model(const TfliteModel &model, const std::vector<NetOutputRecipe> &outputs);

} // namespace kalvio::engine
