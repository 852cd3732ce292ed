// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <graphics/graphics.h>

namespace kalvio {

// The three GPU objects of one frame size: all null, or all valid for width x height pixels. They must be made, used
// and released inside the host's graphics context, which is why no destructor does it.
struct FrameResources {
	gs_texrender_t *render_target = nullptr;   // the source is drawn into it
	gs_stagesurf_t *staging_surface = nullptr; // read back from it
	gs_texture_t *upload_texture = nullptr;    // the processed frame goes into it
	uint32_t width = 0;
	uint32_t height = 0;

	// What was last drawn, one of the textures above, and the host's time of that frame. Null when it must not be
	// drawn again: a setting has changed since.
	gs_texture_t *result = nullptr;
	uint64_t result_time_ns = 0;
};

} // namespace kalvio
