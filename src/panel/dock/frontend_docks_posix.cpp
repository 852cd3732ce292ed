// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/dock/frontend_docks.h"

// Declared here rather than by the host's header, which may be older than they are. Weak: where the host's library
// lacks them they are null, and nothing refuses to load.
extern "C" {
[[gnu::weak, gnu::visibility("default")]] bool obs_frontend_add_dock_by_id(const char *id, const char *title,
									   void *widget);
[[gnu::weak, gnu::visibility("default")]] void obs_frontend_remove_dock(const char *id);
}

namespace kalvio {

bool add_frontend_dock(const char *id, const char *title, QWidget *widget)
{
	return obs_frontend_add_dock_by_id && obs_frontend_add_dock_by_id(id, title, widget);
}

void remove_frontend_dock(const char *id)
{
	if (obs_frontend_remove_dock)
		obs_frontend_remove_dock(id);
}

} // namespace kalvio
