// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

// The front end's undo history. Modules can add to it since version 29.1 of the host; an older one lacks the function
// and has to load the module all the same. User-interface thread.
namespace kalvio {

// What the host calls, on the user-interface thread, with the data of the entry that is undone or redone. Must let no
// exception out.
using UndoCallback = void (*)(const char *data);

// Adds an entry of this name, or nothing where the host cannot. `restore` gets `undo_data` or `redo_data`, which the
// host copies. Entries that are repeatable, follow one another within three seconds and bear the same name become one
// with the undo data of the first and the redo data of the last.
void add_frontend_undo(const char *name, UndoCallback restore, const char *undo_data, const char *redo_data,
		       bool is_repeatable);

} // namespace kalvio
