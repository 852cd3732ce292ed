// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/ui_preferences.h"

#include "panel/model/ui_file.h"
#include "panel/text/translations.h"

namespace kalvio {

UiPreferences &ui_preferences()
{
	static UiPreferences preferences;
	return preferences;
}

bool load_ui_prefs(int language)
{
	UiPreferences &preferences = ui_preferences();
	bool open_on_startup = true;
	if (const OBSDataAutoRelease file = read_ui_file()) {
		if (obs_data_has_user_value(file, "open_on_startup"))
			open_on_startup = obs_data_get_bool(file, "open_on_startup");
		else if (obs_data_has_user_value(file, "panel_visible")) // its name in older versions
			open_on_startup = obs_data_get_bool(file, "panel_visible");
		if (obs_data_has_user_value(file, "apply_global"))
			preferences.apply_global = obs_data_get_bool(file, "apply_global");
		preferences.follow_sources = obs_data_get_bool(file, "follow_sources");
	}
	set_language(language);
	preferences.open_on_startup = open_on_startup;
	return open_on_startup;
}

void save_ui_prefs()
{
	rewrite_ui_file([](obs_data_t *file) {
		const UiPreferences &preferences = ui_preferences();
		obs_data_set_bool(file, "open_on_startup", preferences.open_on_startup);
		// The language follows the host; older versions kept a choice of their own.
		obs_data_erase(file, "lang");
		obs_data_set_bool(file, "apply_global", preferences.apply_global);
		obs_data_set_bool(file, "follow_sources", preferences.follow_sources);
	});
}

} // namespace kalvio
