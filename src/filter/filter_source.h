// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <obs.h>

namespace kalvio {

// The registration record of the source type "kalvio_filter". Its callbacks let no exception reach the host: they log
// it and fall back to nothing done or, when drawing, to the unprocessed source.
obs_source_info filter_source_info();

} // namespace kalvio
