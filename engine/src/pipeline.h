// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "frame.h"

struct kl_engine;

namespace kalvio::engine {

// Writes the whole output according to the engine's settings and loaded effects.
void process_frame(kl_engine &engine, const Frame &frame);

} // namespace kalvio::engine
