// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "tflite.h"

#include <cstdint>
#include <span>

namespace kalvio::engine {

// `count` bytes as a number. Throws std::runtime_error outside of `bytes`.
uint64_t little_endian(std::span<const uint8_t> bytes, size_t place, size_t count);

// The options of a custom operation: a FlexBuffer that is one map of numbers and lists of integers. Anything else is
// left unread.
void read_custom_options(std::span<const uint8_t> bytes, TfliteOperation &operation);

} // namespace kalvio::engine
