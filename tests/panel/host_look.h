// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace kalvio::test {

// Gives the application the look of a real host: the style sheet and the palette that the case ControlsHaveTheirSizes
// of tests/obs kept from OBS. KALVIO_HOST_LOOK names them (PATH for PATH.qss and PATH.json), KALVIO_HOST_THEMES the
// folder of the pictures that the sheet names. Without KALVIO_HOST_LOOK nothing happens; with a look that cannot be
// read the process ends.
void use_host_look();

// Whether there is one.
bool has_host_look();

} // namespace kalvio::test
