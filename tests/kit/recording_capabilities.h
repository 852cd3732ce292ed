// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>

// The calls of the engine's boundary that an engine need not have, apart from the recording engine: the library that is
// made of that lacks them. They are not recorded.
namespace kalvio::test {

// What kl_get_capabilities answers from now on; initially 0.
void set_engine_capabilities(int32_t capabilities);

} // namespace kalvio::test
