// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

// The host's Sources dock, whose selection the panel follows if the user wants that. User-interface thread.
namespace kalvio {

// With the preference "follow_sources": when another source has been selected in the dock since the last call, and a
// filter sits on it, the panel drives that filter. What the user then chooses in the panel stays until the next
// selection. For each poll; with the preference off it costs nothing.
void follow_sources_dock();

} // namespace kalvio
