// SPDX-License-Identifier: GPL-2.0-or-later
#include "run_tests.h"

int main(int argc, char **argv)
{
	return kalvio::test::run_tests(argc, argv);
}
