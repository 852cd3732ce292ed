// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/recording_capabilities.h"

#include <atomic>
#include <kalvio_engine.h>

namespace {

std::atomic<int32_t> answer = 0;

} // namespace

void kalvio::test::set_engine_capabilities(int32_t capabilities)
{
	answer = capabilities;
}

int32_t kl_get_api_version(void)
{
	return KL_API_VERSION;
}

int32_t kl_get_capabilities(kl_engine * /*engine*/)
{
	return answer;
}
