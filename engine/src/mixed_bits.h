// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>

namespace kalvio::engine {

// 64 evenly spread bits for a number and a purpose, the same on every system: the mixing steps of SplitMix64 (Steele,
// Lea, Flood, "Fast Splittable Pseudorandom Number Generators", 2014).
constexpr uint64_t mixed_bits(uint64_t number, uint64_t purpose)
{
	uint64_t value = number * 0x9E3779B97F4A7C15ULL + purpose * 0xBF58476D1CE4E5B9ULL + 1;
	value ^= value >> 30;
	value *= 0xBF58476D1CE4E5B9ULL;
	value ^= value >> 27;
	value *= 0x94D049BB133111EBULL;
	value ^= value >> 31;
	return value;
}

} // namespace kalvio::engine
