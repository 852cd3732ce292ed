// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/source_uuid.h"

// The oldest host on this system is one that has it.
namespace kalvio {

const char *source_uuid(const obs_source_t *source)
{
	return obs_source_get_uuid(source);
}

} // namespace kalvio
