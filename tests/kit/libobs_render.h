// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/picture.h"

#include <cstdint>
#include <obs.h>

// One frame of a source, as its filters leave it. Everything is drawn on the host's graphics thread.
namespace kalvio::test {

// Renders the source once with its filters, at its own size, and gives the pixels it drew, alpha included.
Picture render(obs_source_t *source);

// The same for a source whose size is not that of the wanted picture.
Picture render(obs_source_t *source, uint32_t width, uint32_t height);

// The same at once, inside the graphics context of the host's graphics thread: for more than one picture of a frame.
Picture render_now(obs_source_t *source, uint32_t width, uint32_t height);

// Makes `source` what the host shows and gives the next whole canvas that it composes: what a viewer sees, blended over
// black.
Picture render_canvas(obs_source_t *source);

} // namespace kalvio::test
