// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/frontend_undo.h"

// Declared here rather than by the host's header, which may be older. Weak: where the host's library lacks it, it is
// null, and nothing refuses to load.
extern "C" {
[[gnu::weak, gnu::visibility("default")]] void
obs_frontend_add_undo_redo_action(const char *name, kalvio::UndoCallback undo, kalvio::UndoCallback redo,
				  const char *undo_data, const char *redo_data, bool repeatable);
}

namespace kalvio {

void add_frontend_undo(const char *name, UndoCallback restore, const char *undo_data, const char *redo_data,
		       bool is_repeatable)
{
	if (obs_frontend_add_undo_redo_action)
		obs_frontend_add_undo_redo_action(name, restore, restore, undo_data, redo_data, is_repeatable);
}

} // namespace kalvio
