// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "platform.h"
#include "read_result.h"

#include <cstdint>

namespace kalvio::engine {

// Opens a regular file of 1..`max_bytes` bytes; `size` receives its length.
ReadResult open_file(const char *path, int64_t max_bytes, platform::File &file, int64_t &size);

// Reads a whole regular file of at most `max_bytes`.
ReadResult read_file(const char *path, int64_t max_bytes, Bytes &bytes);

} // namespace kalvio::engine
