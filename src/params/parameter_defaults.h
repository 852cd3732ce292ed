// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "params/parameter_set.h"

#include <cstddef>

namespace kalvio {

// A record in which every parameter has its default. Lives as long as the process.
const ParameterSet &default_parameters();

// The default of `field`, which is a field of `set` or an element of an array in it: what stands at its place in the
// defaults. Lives as long as the process.
template <class T>
const T &default_of(const ParameterSet &set, const T &field)
{
	const auto offset = reinterpret_cast<const std::byte *>(&field) - reinterpret_cast<const std::byte *>(&set);
	return *reinterpret_cast<const T *>(reinterpret_cast<const std::byte *>(&default_parameters()) + offset);
}

} // namespace kalvio
