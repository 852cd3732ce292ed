// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/dock/frontend_docks.h"

#include <obs-frontend-api.h>

// The oldest host on this system is one that has them.
namespace kalvio {

bool add_frontend_dock(const char *id, const char *title, QWidget *widget)
{
	return obs_frontend_add_dock_by_id(id, title, widget);
}

void remove_frontend_dock(const char *id)
{
	obs_frontend_remove_dock(id);
}

} // namespace kalvio
