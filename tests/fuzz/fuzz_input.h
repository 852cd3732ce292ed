// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>

namespace kalvio::test {

// What holds for every input; a breach ends the run and keeps the input.
inline void require(bool fact)
{
	if (!fact)
		std::abort();
}

// The bytes of an input, read from the front as values. Beyond the end all are 0.
class FuzzInput {
public:
	FuzzInput(const uint8_t *data, size_t size) : next_(data), end_(data + size) {}

	bool empty() const { return next_ == end_; }
	uint8_t byte() { return empty() ? uint8_t{0} : *next_++; }
	int below(int count) { return byte() % count; }

	int32_t integer()
	{
		constexpr int32_t extremes[] = {std::numeric_limits<int32_t>::min(),
						std::numeric_limits<int32_t>::max(), -1, 1 << 20};
		const int value = byte();
		return value >= 252 ? extremes[value - 252] : value - 16;
	}

	// Mostly -1..1 in steps of 1/100, and what no number should be.
	float number()
	{
		using Limits = std::numeric_limits<float>;
		constexpr float extremes[] = {Limits::quiet_NaN(),
					      Limits::infinity(),
					      -Limits::infinity(),
					      Limits::max(),
					      Limits::lowest(),
					      Limits::denorm_min(),
					      -0.0F,
					      1e-20F,
					      2.0F};
		constexpr int plain = 256 - static_cast<int>(std::size(extremes));
		const int value = byte();
		return value < plain ? static_cast<float>(value - 100) / 100.0F : extremes[value - plain];
	}

	// What is left.
	std::string rest()
	{
		std::string text(next_, end_);
		next_ = end_;
		return text;
	}

private:
	const uint8_t *next_;
	const uint8_t *end_;
};

} // namespace kalvio::test
