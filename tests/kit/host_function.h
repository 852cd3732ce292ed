// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace kalvio::test {

// The host library's own function of this name, for a double that has taken its place and calls it. Cast it to its
// type. Null when the library has none.
void (*host_function(const char *name))();

} // namespace kalvio::test
