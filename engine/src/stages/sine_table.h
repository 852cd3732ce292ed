// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace kalvio::engine {

// A sine that is the same on every machine: whole turns in 1024 steps, 14 fraction bits.
class Sines {
public:
	Sines()
	{
		constexpr double turn = 6.28318530717958647692;
		for (size_t step = 0; step < values_.size(); ++step) {
			const double value =
				std::sin(turn * static_cast<double>(step) / static_cast<double>(values_.size()));
			values_[step] = static_cast<int16_t>(std::lrint(value * 16384));
		}
	}

	// Between two steps by a straight line: a slow motion would be seen to move from step to step.
	float at(float turns) const
	{
		const float place = turns * 1024.0F;
		const float whole = std::floor(place);
		const auto step = static_cast<int64_t>(whole);
		const float here = value(step);
		return here + (value(step + 1) - here) * (place - whole);
	}

private:
	float value(int64_t step) const
	{
		return static_cast<float>(values_[static_cast<size_t>(step & 1023)]) / 16384.0F;
	}

	std::array<int16_t, 1024> values_;
};

inline const Sines &sines()
{
	static const Sines table;
	return table;
}

} // namespace kalvio::engine
