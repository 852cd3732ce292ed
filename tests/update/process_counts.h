// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace kalvio::test {

// What this process holds at the moment. One file per system.
int open_handles(); // files and sockets; on Windows every kind of kernel handle
int running_threads();

} // namespace kalvio::test
