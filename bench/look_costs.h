// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

namespace kalvio::bench {

// Prints what frames of 1920 x 1080 with a person cost an engine on one thread and on two, with the effects that most
// people use and with all of them, beside two plain copies of the frame in the same run. False when a ratio is above
// its bar. Throws std::runtime_error where the bundle cannot be read.
bool bench_looks(const std::string &bundle);

} // namespace kalvio::bench
