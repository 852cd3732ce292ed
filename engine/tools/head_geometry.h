// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "nets/net_library.h"

#include <cstdint>
#include <span>
#include <vector>

namespace kalvio::engine {

// The head out of the protocol buffer that comes with the face mesh. Throws std::runtime_error.
HeadGeometry read_head_model(std::span<const uint8_t> bytes);

// The bytes of "nets/head_geometry.bin" (docs/net-format.md).
std::vector<uint8_t> write_head_geometry(const HeadGeometry &head);

} // namespace kalvio::engine
