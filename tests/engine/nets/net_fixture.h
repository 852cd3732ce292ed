// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "engine_fixture.h"
#include "nets/net_library.h"
#include "nets/reference_net.h"

#include <span>
#include <string>
#include <vector>

namespace kalvio::engine::testing {

// Picks the instruction sets for what follows; 0: all that the machine has, of which the best is used.
void use_targets(int64_t targets);
// Those of the machine that the kernels are compiled for, one by one.
std::vector<int64_t> machine_targets();

// The shipped nets; a test that asks for them fails where the build was made without.
const NetLibrary &shipped_nets();

// The sample portrait, scaled to the net's input by plain means, in its range of values.
std::vector<float> portrait_input(const Shape &shape, float low, float high);

std::vector<std::vector<float>> outputs_of(NetRunner &runner, std::span<const float> input);

// The largest difference, as a part of the largest number of the expected ones, at least 1.
double worst_difference(std::span<const float> actual, const Values &expected);

Values values_of(const Shape &shape, std::span<const float> numbers);

} // namespace kalvio::engine::testing
