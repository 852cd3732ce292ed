// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kernels/kernels.h"
#include "settings.h"

namespace kalvio::engine {

// Whitening and rosiness as one adjustment of tone.
kernels::ToneGains tone_gains(const Settings &settings);

} // namespace kalvio::engine
