// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "host/graphics.h"

#include <cstdint>

namespace kalvio {

// The three GPU objects of one frame size: all null, or all valid for width x height pixels. Must be empty, or be
// destroyed inside the graphics context.
struct FrameResources {
	TextureRenderPtr render_target;    // the source is drawn into it
	StagingSurfacePtr staging_surface; // read back from it
	TexturePtr upload_texture;         // the processed frame goes into it
	uint32_t width = 0;
	uint32_t height = 0;

	// What was last drawn, one of the textures above, and the host's time of that frame. Null when it must not be
	// drawn again: a setting has changed since.
	gs_texture_t *result = nullptr;
	uint64_t result_time_ns = 0;
};

// Releases what is there and sets the size to 0 x 0. Inside the graphics context.
inline void release_gpu_resources(FrameResources &gpu)
{
	gpu = {};
}

} // namespace kalvio
