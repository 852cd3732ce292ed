// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/dock/sources_dock.h"

#include "panel/model/panel_model.h"
#include "panel/model/ui_preferences.h"

#include <obs-frontend-api.h>
#include <obs.hpp>
#include <string>

namespace kalvio {
namespace {

// Called with each item of a scene from the bottom up; `found` is an obs_source_t *, the source of the uppermost
// selected item. True: go on.
bool find_selected(obs_scene_t *, obs_sceneitem_t *item, void *found)
{
	if (obs_sceneitem_is_group(item))
		obs_sceneitem_group_enum_items(item, find_selected, found);
	if (obs_sceneitem_selected(item))
		*static_cast<obs_source_t **>(found) = obs_sceneitem_get_source(item);
	return true;
}

// The source that is selected in the dock, which shows the preview's scene in Studio Mode; null without one.
OBSSourceAutoRelease selected_source()
{
	const OBSSourceAutoRelease scene = obs_frontend_preview_program_mode_active()
						   ? obs_frontend_get_current_preview_scene()
						   : obs_frontend_get_current_scene();
	obs_source_t *found = nullptr;
	if (obs_scene_t *items = obs_scene_from_source(scene))
		obs_scene_enum_items(items, find_selected, static_cast<void *>(&found));
	return obs_source_get_ref(found);
}

} // namespace

void follow_sources_dock()
{
	// By its name, which no two sources share: a reference would outlive the host's sources.
	std::string &followed = panel_model().followed_source;
	if (!ui_preferences().follow_sources) {
		followed.clear();
		return;
	}
	const OBSSourceAutoRelease selected = selected_source();
	const char *name = obs_source_get_name(selected);
	if (!name || followed == name)
		return;
	followed = name;
	select_filter_on(selected);
}

} // namespace kalvio
