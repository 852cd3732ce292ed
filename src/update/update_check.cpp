// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/update_check.h"

// No manifest is fetched in this build, so no update is known and none is forced.
namespace kalvio {

void load_update_dismissal() {}

bool update_is_forced()
{
	return false;
}

UpdateStatus update_status()
{
	return {};
}

void start_update_check_if_due() {}

void dismiss_update() {}

void open_update_download() {}

void stop_update_service() {}

} // namespace kalvio
