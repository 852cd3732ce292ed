// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <obs.h>

namespace kalvio {

// The source type's video_render: draws the source into a texture, reads it back, has the engine process it and draws
// the result in its place. Whatever fails, the source is drawn unprocessed and the next frame tries again. A further
// call within the same frame of the host, with size and settings unchanged, draws the result that is there. A filter
// that sits on no source, or is just being removed from it, draws nothing. Graphics thread, inside the graphics
// context. `data` is the filter instance; null draws nothing. `effect` is not used.
void filter_video_render(void *data, gs_effect_t *effect);

} // namespace kalvio
