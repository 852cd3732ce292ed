// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kalvio {

// Text from outside (a scene collection, the network, the engine) for one line of the log: control characters, which
// could begin a line of their own, become '?', and a text of more than `longest_bytes` is cut between two UTF-8
// characters. Any thread; throws nothing but std::bad_alloc.
std::string sanitize_for_log(std::string_view text, std::size_t longest_bytes = 256);

} // namespace kalvio
