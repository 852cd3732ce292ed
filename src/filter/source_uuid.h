// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <obs.h>

namespace kalvio {

// The name that the host keeps for a source over restarts, and over its removal and return by the host's undo. Belongs
// to the host. Null in a host before version 29.1, which has none.
const char *source_uuid(const obs_source_t *source);

} // namespace kalvio
