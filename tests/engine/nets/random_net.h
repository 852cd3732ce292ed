// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "nets/net_file.h"

#include <cstdint>
#include <random>
#include <vector>

namespace kalvio::engine::testing {

// A number between -1 and 1, the same for each seed everywhere.
double random_number(std::mt19937 &random);

// A small net with each operation in it, of random sizes, weights and operands. The same seed gives the same net.
NetFile random_net(uint32_t seed);

// The least net of use: one convolution.
NetFile small_net();

std::vector<float> random_input(const Shape &shape, uint32_t seed);

} // namespace kalvio::engine::testing
