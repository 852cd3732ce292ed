// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>

namespace kalvio {

// True for a regular file of at most `largest_bytes`, also through links: one that libobs can read safely. libobs sizes
// its buffer by seeking to the end: a directory reports a huge size, and a FIFO blocks. `path` is UTF-8. Any thread;
// throws nothing but std::bad_alloc.
bool is_small_file(const char *path, std::uintmax_t largest_bytes);

} // namespace kalvio
