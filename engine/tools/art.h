// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "image.h"

#include <nlohmann/json_fwd.hpp>

#include <string>

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
//   "hairs"    fills the area with hairs instead, which may reach beyond it: {"count", "length": [shortest, longest],
//              "width" at the root, "ways": [[x, y, degrees clockwise from the right], ...]}; all optional: "spread"
//              and "bend" in degrees to both sides, "vary" of the brightness, 0..1, "seed" (not for groups)
//   "noise"    multiplies the alpha by a cloudy pattern: {"size": of a cloud, one number or [x, y], "range": the least
//              and the most, which may lie beyond 0..1, "seed": optional}
//   "clip"     a shape: only where it would draw, as much as its alpha
//   "blur"     standard deviation in pixels, of the shape or of the whole group
//   "move"     [dx, dy]
//   "scale"    factor or [x, y]
//   "rotate"   degrees; scale and rotation are about "about": [x, y]; those of a group apply to its shapes
//   "repeat"   {"count", "dx", "dy", "turn", "about"}: draws the shape that often, each time moved on, or turned on by
//              this many degrees about a point
//   "mirror"   x: draws the shape a second time, mirrored there
// The picture itself is a group. "dither": false beside the size rounds plainly: for flat or small art, which then
// packs smaller. "colors" there gives names to colors: {"wing": "#aa3300", ...}; a shape may say the name instead.
// Supersampled, and always the same pixels. Throws for what it does not know.
Image draw_art(const nlohmann::json &definition);

// The definition of one picture of several. One that is {"like": NAME, ...} is that other, but for what it says itself.
// Throws where that other is like one, too.
nlohmann::json art_of(const nlohmann::json &pictures, const std::string &name);

} // namespace kalvio::engine
