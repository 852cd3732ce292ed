// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>

// The wall clock of this process: time(), by which the module counts hours and days. A small library, put in front of
// the system's by LD_PRELOAD, answers in its place. It shows the real time until it is put forward; all else that
// measures time (frames, timers, the network's limits) is not touched.
extern "C" void kalvio_probe_put_clock_forward(std::int64_t seconds);
