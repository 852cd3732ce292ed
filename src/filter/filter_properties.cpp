// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_properties.h"

#include "filter/filter_instance.h"
#include "filter/panel_hooks.h"
#include "host/callback_shim.h"
#include "params/settings_lock.h"

#include <memory>
#include <obs-module.h>
#include <obs.hpp>

namespace kalvio {

namespace {

// The host stores whatever text it once showed under the hint's name; a stored text would take the hint's place.
void forget_stored_hint(obs_source_t *source)
{
	const OBSDataAutoRelease settings = obs_source_get_settings(source);
	const SettingsLock lock;
	if (*obs_data_get_string(settings, "panel_hint"))
		obs_data_set_string(settings, "panel_hint", "");
}

} // namespace

obs_properties_t *filter_get_properties(void *data)
{
	std::unique_ptr<obs_properties_t, decltype(&obs_properties_destroy)> properties(obs_properties_create(),
											obs_properties_destroy);

	obs_property_t *hint = obs_properties_add_text(properties.get(), "panel_hint",
						       obs_module_text("Kalvio.PropertiesHint"), OBS_TEXT_INFO);
	obs_property_text_set_info_word_wrap(hint, false);

	const auto *instance = static_cast<const FilterInstance *>(data);
	if (instance && instance->source)
		forget_stored_hint(instance->source);

	obs_properties_add_button(properties.get(), "open_panel", obs_module_text("Kalvio.OpenPanel"),
				  Shim<open_panel_clicked>::call);
	panel_hooks.schedule_prop_center();
	return properties.release();
}

bool open_panel_clicked(obs_properties_t * /*properties*/, obs_property_t * /*property*/, void * /*data*/)
{
	panel_hooks.show_dock();
	return false;
}

} // namespace kalvio
