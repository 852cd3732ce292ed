// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_tracker.h"
#include "image.h"

#include <span>

namespace kalvio::engine {

// Draws what is known of faces over a picture: every point, the lines of the parts, greener the more their part can be
// relied on and redder the less, and below the face a bar for each part's confidence in the order of FaceGroup.
void draw_faces(std::span<const TrackedFace> faces, Image &image);

} // namespace kalvio::engine
