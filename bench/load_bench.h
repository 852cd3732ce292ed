// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/libobs_session.h"

// The engine behind the filters that are measured; one of two files is compiled.
namespace kalvio::test {

extern const char *const load_engine_name;

// The module with a bundle that this engine takes; called once, before the session. May throw.
PluginFiles load_plugin();

} // namespace kalvio::test
