// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/call_journal.h"
#include "kit/plugin_copy.h"
#include "kit/recording_engine.h"
#include "load_bench.h"

namespace kalvio::test {

const char *const load_engine_name = "filters with an engine that does nothing";

PluginFiles load_plugin()
{
	static const PluginCopy copy;
	copy.add_placeholder_bundle();
	set_engine_script({.idle = true});
	call_journal().set_enabled(false);
	return copy.files();
}

} // namespace kalvio::test
