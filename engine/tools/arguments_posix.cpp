// SPDX-License-Identifier: GPL-2.0-or-later
#include "arguments.h"

namespace kalvio::engine {

std::vector<std::string> utf8_arguments(int argc, char **argv)
{
	return {argv, argv + argc};
}

} // namespace kalvio::engine
