// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace kalvio::test {

// All tests of the library that the program is linked to, which is also the host that the module finds: a program could
// not be both. Gives the exit code.
int run_tests(int argc, char **argv);

} // namespace kalvio::test
