// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace kalvio::engine {

// The point on the other side of the face that corresponds to this one; a point of the middle itself. Known are the
// points that effects are made of; others come back as they are.
int mirrored_point(int point);

} // namespace kalvio::engine
