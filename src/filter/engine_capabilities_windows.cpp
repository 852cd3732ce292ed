// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/engine_capabilities.h"

#include "kalvio_config.h"

#include <windows.h>

namespace kalvio {

int32_t (*find_capabilities_query())(kl_engine *)
{
	// The module is linked with the engine library, which is therefore loaded.
	const HMODULE engine_library = GetModuleHandleW(engine_file_name);
	if (!engine_library)
		return nullptr;
	void *const found = reinterpret_cast<void *>(GetProcAddress(engine_library, "kl_get_capabilities"));
	return reinterpret_cast<int32_t (*)(kl_engine *)>(found);
}

} // namespace kalvio
