// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <kalvio_engine.h>

namespace kalvio {

// All of kl_capability: what an engine that cannot be asked is taken to have.
inline constexpr int32_t all_capabilities = KL_CAPABILITY_FACES | KL_CAPABILITY_PERSON_MATTE | KL_CAPABILITY_BODY;

// What the engine (not null) can draw now, a sum of kl_capability. 0 when the engine does not say. The caller
// serializes the calls on the engine.
int32_t engine_capabilities(kl_engine *engine);

// The same by the answer of `query`, which is null for an engine library without kl_get_capabilities.
int32_t engine_capabilities(kl_engine *engine, int32_t (*query)(kl_engine *));

// kl_get_capabilities, looked up at run time: an engine library need not export it. Null without it. One file per
// system.
int32_t (*find_capabilities_query())(kl_engine *);

// What the engine that was made last can draw; all_capabilities before the first one. Every engine of a process has the
// same library and data. Any thread.
int32_t latest_engine_capabilities();
void note_engine_capabilities(int32_t capabilities);

} // namespace kalvio
