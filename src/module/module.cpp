// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_source.h"
#include "filter/panel_hooks.h"
#include "host/callback_shim.h"
#include "kalvio_config.h"
#include "panel/dock/dock_host.h"
#include "update/update_check.h"

#include <obs-module.h>
#include <util/text-lookup.h>

// The functions that the host looks up by name, and the two things they keep. The host calls them on its main thread,
// in this order: set_pointer, ver, set_locale, load, post_load, then at the end unload and free_locale, either first.

namespace {

obs_module_t *module_handle = nullptr;
lookup_t *module_texts = nullptr; // null until a locale is set; every text is then its key

} // namespace

obs_module_t *obs_current_module(void)
{
	return module_handle;
}

const char *obs_module_text(const char *lookup_string)
{
	const char *text = lookup_string;
	text_lookup_getstr(module_texts, lookup_string, &text);
	return text;
}

// The three exports that the host's header does not declare.
MODULE_EXPORT void obs_module_set_pointer(obs_module_t *module);
MODULE_EXPORT uint32_t obs_module_ver(void);
MODULE_EXPORT const char *obs_module_author(void);

void obs_module_set_pointer(obs_module_t *module)
{
	module_handle = module;
}

uint32_t obs_module_ver(void)
{
	return LIBOBS_API_VER;
}

const char *obs_module_name(void)
{
	return "Kalvio";
}

const char *obs_module_author(void)
{
	return "Kalvio";
}

const char *obs_module_description(void)
{
	return "Kalvio beauty filter";
}

void obs_module_set_locale(const char *locale)
{
	if (module_texts)
		text_lookup_destroy(module_texts);
	module_texts = obs_module_load_locale(module_handle, "en-US", locale);
}

void obs_module_free_locale(void)
{
	text_lookup_destroy(module_texts);
	module_texts = nullptr;
}

bool obs_module_get_string(const char *lookup_string, const char **translated_string)
{
	return text_lookup_getstr(module_texts, lookup_string, translated_string);
}

bool obs_module_load(void)
{
	blog(LOG_INFO, "[Kalvio] loading OBS filter MVP");
	kalvio::Shim<kalvio::load_update_dismissal>::call();

	kalvio::panel_hooks = {kalvio::show_dock, kalvio::schedule_prop_center, kalvio::frontend_ready,
			       kalvio::show_switched_effects};
	const obs_source_info info = kalvio::filter_source_info();
	obs_register_source_s(&info, sizeof(info));
	return true;
}

void obs_module_post_load(void)
{
	blog(LOG_INFO, "[Kalvio] version %s", kalvio::version);
	kalvio::start_dock_host();
}

// The filters are not touched: the host destroys them.
void obs_module_unload(void)
{
	kalvio::stop_dock_host();
	kalvio::stop_update_service();
	blog(LOG_INFO, "[Kalvio] unloaded");
}
