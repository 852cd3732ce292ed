// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/platform.h"

// Opens the address that it is given. Ends with 0 when the system took it.
int main(int argc, char **argv)
{
	return argc == 2 && kalvio::open_url(argv[1]) ? 0 : 1;
}
