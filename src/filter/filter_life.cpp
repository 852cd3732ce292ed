// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_life.h"

#include "filter/engine_session.h"
#include "filter/filter_instance.h"
#include "filter/filter_registry.h"
#include "filter/panel_hooks.h"
#include "host/callback_shim.h"

#include <obs-module.h>

namespace kalvio {

namespace {

obs_source_t *target_of(void *data)
{
	return data ? obs_filter_get_target(static_cast<FilterInstance *>(data)->source) : nullptr;
}

// A dock that cannot be shown costs no filter, and the registered one cannot be taken back without its data.
void show_dock_or_log() noexcept
{
	try {
		panel_hooks.show_dock();
	} catch (...) {
		log_current_exception();
	}
}

} // namespace

const char *filter_get_name(void * /*type_data*/)
{
	return obs_module_text("KalvioFilter");
}

void *filter_create(obs_data_t *settings, obs_source_t *source)
{
	auto instance = std::make_unique<FilterInstance>();
	instance->source = source;
	instance->weak_source = source ? obs_source_get_weak_source(source) : nullptr;

	// A fresh engine has been given the source's stored settings already; these are the same ones once more.
	if (ensure_engine(*instance))
		apply_settings(*instance, settings);
	else
		blog(LOG_WARNING, "[Kalvio] filter created without engine (passthrough)");

	instance->id = register_filter(source);
	if (panel_hooks.frontend_ready())
		show_dock_or_log();
	return instance.release();
}

void filter_destroy(void *data)
{
	if (!data)
		return;
	const std::unique_ptr<FilterInstance> instance(static_cast<FilterInstance *>(data));
	unregister_filter(instance->source);

	{
		const GraphicsLock lock;
		release_gpu_resources(instance->gpu);
	}

	instance->engine.reset();
}

void filter_update(void *data, obs_data_t *settings)
{
	if (!data)
		return;
	auto &instance = *static_cast<FilterInstance *>(data);
	const std::lock_guard lock(instance.mutex);
	if (ensure_engine(instance))
		apply_settings(instance, settings);
}

uint32_t filter_get_width(void *data)
{
	obs_source_t *target = target_of(data);
	return target ? obs_source_get_base_width(target) : 0;
}

uint32_t filter_get_height(void *data)
{
	obs_source_t *target = target_of(data);
	return target ? obs_source_get_base_height(target) : 0;
}

} // namespace kalvio
