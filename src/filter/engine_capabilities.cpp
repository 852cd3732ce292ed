// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/engine_capabilities.h"

#include <algorithm>
#include <atomic>

namespace kalvio {

namespace {

std::atomic<int32_t> latest_capabilities = all_capabilities;

} // namespace

int32_t engine_capabilities(kl_engine *engine)
{
	return engine_capabilities(engine, find_capabilities_query());
}

int32_t engine_capabilities(kl_engine *engine, int32_t (*query)(kl_engine *))
{
	return query ? std::max(query(engine), 0) : all_capabilities;
}

int32_t latest_engine_capabilities()
{
	return latest_capabilities;
}

void note_engine_capabilities(int32_t capabilities)
{
	latest_capabilities = capabilities;
}

} // namespace kalvio
