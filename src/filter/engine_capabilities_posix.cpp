// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/engine_capabilities.h"

// Weak: where the engine library lacks it, it is null, and nothing refuses to link or to load.
#pragma weak kl_get_capabilities

namespace kalvio {

int32_t (*find_capabilities_query())(kl_engine *)
{
	return kl_get_capabilities;
}

} // namespace kalvio
