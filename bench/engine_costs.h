// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "engine_report.h"

#include <string>

// How the engine's cost grows, and what memory it takes. All of it with the whole look.
namespace kalvio::bench {

// Nanoseconds a pixel from 360p to 2160p.
void measure_sizes(const std::string &data_folder, Report &report);
// Processor time a frame for one to four engines that work at once.
void measure_engines(const std::string &data_folder, Report &report);
// Heap allocations of a steady frame, and the peak memory of one engine at 1920 x 1080 with as many threads as the
// engine ever takes on its own.
void measure_memory(const std::string &data_folder, Report &report);

// What a fresh process does for measure_memory: prints how many bytes its peak of resident memory has grown by.
void print_engine_memory(const std::string &data_folder);

} // namespace kalvio::bench
