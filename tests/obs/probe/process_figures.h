// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QJsonObject>
#include <cstdint>

// What this process holds and what OBS has drawn, at one moment. Main thread.
namespace kalvio::probe {

struct ProcessFigures {
	double resident_mib = 0; // memory that no file stands behind
	double heap_mib = 0;     // of it, what was allocated and not freed
	int handles = 0;         // open files, sockets and pipes
	int threads = 0;
	int host_allocations = 0; // blocks of OBS's own allocator that are not freed
	double frame_ms = 0;      // OBS's mean time of a frame
	uint32_t drawn = 0;       // frames since the start of OBS
	uint32_t missed = 0;      // of these, drawn too late for their turn
};

ProcessFigures process_figures();

// Gives back what the C library keeps for later allocations, as after a moment with twice the filters.
void give_back_free_memory();

QJsonObject as_json(const ProcessFigures &figures);

} // namespace kalvio::probe
