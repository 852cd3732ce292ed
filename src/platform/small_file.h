// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>

namespace kalvio {

// True for a regular file of at most `largest_bytes`, also through links: one that the host's reader can be trusted
// with. That takes the memory that a seek to the end asks for, which for a folder is all there is, and waits at a pipe.
// `path` is UTF-8. Any thread; throws nothing but std::bad_alloc.
bool is_small_file(const char *path, std::uintmax_t largest_bytes);

} // namespace kalvio
