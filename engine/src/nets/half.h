// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <bit>
#include <cstdint>

namespace kalvio::engine {

// The value of an IEEE 754 half-precision number, exactly.
inline float half_to_float(uint16_t half)
{
	const uint32_t sign = (half & 0x8000U) << 16;
	const uint32_t exponent = (half >> 10) & 31U;
	const uint32_t fraction = half & 1023U;
	if (exponent == 0) { // zero or subnormal: units of 2^-24
		const float magnitude = static_cast<float>(fraction) * 0x1p-24F;
		return sign != 0 ? -magnitude : magnitude;
	}
	const uint32_t wide_exponent = exponent == 31 ? 255U : exponent + 112U;
	return std::bit_cast<float>(sign | (wide_exponent << 23) | (fraction << 13));
}

inline bool is_finite_half(uint16_t half)
{
	return ((half >> 10) & 31U) != 31U;
}

} // namespace kalvio::engine
