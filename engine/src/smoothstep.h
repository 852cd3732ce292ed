// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <algorithm>
#include <type_traits>

namespace kalvio::engine {

// 0 up to `from`, 1 beyond `to`, straight between them. `from` above `to` gives the falling line.
template <typename Number>
Number ramp(std::type_identity_t<Number> from, std::type_identity_t<Number> to, Number value)
{
	return std::clamp<Number>((value - from) / (to - from), 0, 1);
}

// The same with the cubic that has level ends between them.
template <typename Number>
Number smoothstep(std::type_identity_t<Number> from, std::type_identity_t<Number> to, Number value)
{
	const Number place = ramp(from, to, value);
	return place * place * (3 - 2 * place);
}

} // namespace kalvio::engine
