// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

// The panel's choices that outlive OBS, kept in "ui.json" in the module's configuration folder. User-interface thread.
namespace kalvio {

struct UiPreferences {
	bool open_on_startup = true; // show the dock when OBS starts
	bool apply_global = false;   // the panel drives all filters at once
	bool follow_sources = false; // the panel drives what is selected in the host's Sources dock
	bool dirty = false;          // differs from the file; not stored itself
};

// The one record of the process.
UiPreferences &ui_preferences();

// Reads the file, which may be missing or broken, and makes `language` the current one. Returns open_on_startup.
bool load_ui_prefs(int language);

// Writes the choices, keeping every key of others. Nothing is reported; without a configuration folder nothing happens.
void save_ui_prefs();

} // namespace kalvio
