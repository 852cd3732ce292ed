// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace kalvio::engine {

// The SHA-256 of some bytes (FIPS 180-4), as 64 lower-case hexadecimal digits.
std::string sha256(std::span<const uint8_t> bytes);

} // namespace kalvio::engine
