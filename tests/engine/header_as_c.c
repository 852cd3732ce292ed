/* SPDX-License-Identifier: GPL-2.0-or-later */
/* Compiles when the boundary's header is C by itself; nothing here runs. */
#include "kalvio_engine.h"

_Static_assert(sizeof(kl_log_config) == 16 + sizeof(void *), "four integers and a pointer");
_Static_assert(sizeof(kl_engine_config) == 6 * 8 || sizeof(void *) != 8, "six fields of pointer size");

int32_t engine_header_is_usable_from_c(kl_engine *engine)
{
	if (kl_get_api_version() < KL_API_VERSION || (kl_get_capabilities(engine) & KL_CAPABILITY_FACES) == 0)
		return kl_set_smoothing_style(engine, KL_SMOOTHING_STYLE_NATURAL);
	return kl_set_smoothing(engine, 0.5F);
}
