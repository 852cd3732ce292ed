// SPDX-License-Identifier: GPL-2.0-or-later
#include "load_bench.h"

namespace kalvio::test {

const char *const load_engine_name = "filters with the shipped engine";

PluginFiles load_plugin()
{
	return built_plugin();
}

} // namespace kalvio::test
