// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/engine_capabilities.h"

// The product looks for the function in the engine's library; here it lies in the program.
int32_t (*kalvio::find_capabilities_query())(kl_engine *)
{
	return kl_get_capabilities;
}
