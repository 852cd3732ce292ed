// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/frontend_undo.h"

#include <obs-frontend-api.h>

// The oldest host on this system is one that has it.
namespace kalvio {

void add_frontend_undo(const char *name, UndoCallback restore, const char *undo_data, const char *redo_data,
		       bool is_repeatable)
{
	obs_frontend_add_undo_redo_action(name, restore, restore, undo_data, redo_data, is_repeatable);
}

} // namespace kalvio
