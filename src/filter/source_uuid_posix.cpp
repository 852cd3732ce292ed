// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/source_uuid.h"

// Declared here rather than by the host's header, which may be older. Weak: where the host's library lacks it, it is
// null, and nothing refuses to load.
extern "C" {
// NOLINTNEXTLINE(readability-redundant-declaration): newer headers declare it, too, but not as weak
[[gnu::weak, gnu::visibility("default")]] const char *obs_source_get_uuid(const obs_source_t *source);
}

namespace kalvio {

const char *source_uuid(const obs_source_t *source)
{
	return obs_source_get_uuid ? obs_source_get_uuid(source) : nullptr;
}

} // namespace kalvio
