// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "image.h"

#include <nlohmann/json_fwd.hpp>

namespace kalvio::engine {

// Draws a picture from its definition: {"width", "height", "shapes": [...]}, coordinates in pixels, drawn in order.
// A shape is one of
//   "path"     M, L, C, Q, Z with absolute coordinates, as in SVG; filled by the non-zero rule
//   "ellipse"  [center x, center y, radius x, radius y]
//   "rect"     [x, y, width, height] or, with round corners, [x, y, width, height, radius]
//   "shapes"   a group
// with
//   "fill"     "#rrggbb", "#rrggbbaa", {"linear": [x0, y0, x1, y1], "stops": [[0, color], ...]} or
//              {"radial": [x, y, radius], "stops": [...]}
//   "line"     draws the outline this many pixels wide instead of the area (not for groups)
//   "blur"     standard deviation in pixels, of the shape or of the whole group
//   "move"     [dx, dy]
//   "scale"    factor or [x, y]
//   "rotate"   degrees; scale and rotation are about "about": [x, y]; those of a group apply to its shapes
//   "repeat"   {"count", "dx", "dy"}: draws the shape that often, each time moved on
//   "mirror"   x: draws the shape a second time, mirrored there
// "dither": false beside the size rounds plainly: for flat art, which then packs smaller.
// Supersampled, and always the same pixels. Throws for what it does not know.
Image draw_art(const nlohmann::json &definition);

} // namespace kalvio::engine
