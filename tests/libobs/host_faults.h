// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>

// Functions of the host that fail on demand, in the real host. The executable defines them and so is asked before the
// host's library; each forwards to the library unless a test has armed it. Only what our module calls can fail: the
// host's own calls, and those of a test, pass untouched.
namespace kalvio::test {

enum class HostFunction {
	gs_texrender_create,      // fails with null
	gs_texrender_begin,       // false
	gs_texrender_get_texture, // null
	gs_stagesurface_create,   // null
	gs_stagesurface_map,      // false
	gs_texture_create,        // null
	obs_filter_get_target,    // null
	obs_source_get_ref,       // null
	count
};

constexpr int every_time = -1;

// The next `times` calls by the module fail.
void make_fail(HostFunction function, int times = every_time);

// What a map that succeeds hands out instead of the surface's own memory.
enum class MappedRows {
	Surface,   // the surface's own memory
	NullData,  // true, but a null pointer
	WidePitch, // the surface's pixels in rows that are 52 bytes longer, the gap filled with 0xEE
	ShortPitch // the surface's pixels without the last 4 bytes of each row
};

void set_mapped_rows(MappedRows result);

// Calls by the module since the last reset, failed ones included.
int module_calls(HostFunction function);

// Nothing fails, and every count is 0.
void reset_host_faults();

} // namespace kalvio::test
