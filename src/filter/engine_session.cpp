// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/engine_session.h"

#include "filter/engine_capabilities.h"
#include "filter/filter_instance.h"
#include "host/log_text.h"
#include "host/module_files.h"
#include "kalvio_config.h"
#include "params/apply_parameters.h"
#include "params/settings_lock.h"
#include "platform/platform.h"
#include "update/update_check.h"

#include <initializer_list>
#include <obs.hpp>
#include <util/platform.h>

namespace kalvio {

namespace {

constexpr const char *bundle_name = "resource.kld";

// One path for the process. Never destroyed: filters can outlive the module's static objects.
const std::string &process_log_path()
{
	static const std::string &path = *new std::string(engine_log_path(temporary_folder()));
	return path;
}

EngineHandle create_engine(const std::string &resource_path)
{
	const kl_log_config log = {0, 1, KL_LOG_INFORMATION, 0, process_log_path().c_str()};
	kl_set_log_config(&log);

	const kl_engine_config config = {0, 0, nullptr, resource_path.c_str(), application_id, 0};
	return EngineHandle(kl_engine_create(&config));
}

void apply_stored_settings(FilterInstance &instance)
{
	if (!instance.source)
		return;
	// Without an object every value would read as its zero, and the filter as switched off.
	if (const OBSDataAutoRelease settings = obs_source_get_settings(instance.source))
		apply_settings(instance, settings);
}

} // namespace

bool ensure_engine(FilterInstance &instance)
{
	if (update_is_forced()) {
		if (instance.engine) {
			instance.engine.reset();
			instance.resource_cache = {};
		}
		return false;
	}
	if (instance.engine)
		return true;

	instance.resource_path = find_resource_bundle();
	if (instance.resource_path.empty()) {
		blog(LOG_ERROR, "[Kalvio] resource.kld not found");
		return false;
	}

	instance.engine = create_engine(instance.resource_path);
	if (!instance.engine) {
		blog(LOG_ERROR, "[Kalvio] kl_engine_create failed");
		return false;
	}
	note_engine_capabilities(engine_capabilities(instance.engine.get()));
	kl_engine_set_event_callback(instance.engine.get(), on_engine_event, &instance);
	blog(LOG_INFO, "[Kalvio] engine created, resource=%s", instance.resource_path.c_str());

	// A fresh engine holds no effect, whatever was loaded into the one before it.
	instance.resource_cache = {};
	try {
		apply_stored_settings(instance);
	} catch (...) {
		instance.engine.reset(); // half its settings is not what the next call may take for an engine
		throw;
	}
	return true;
}

void apply_settings(FilterInstance &instance, obs_data_t *settings)
{
	{
		const SettingsLock lock;
		instance.enabled = obs_data_get_bool(settings, "enabled");
	}
	instance.gpu.result = nullptr;
	apply_beauty_params(instance.engine.get(), settings);
	apply_effect_resources(instance.engine.get(), instance.resource_cache, settings);
}

std::string find_resource_bundle()
{
	std::string path = resolve_module_file(bundle_name);
	if (!path.empty())
		return path;

	const std::string folder = module_folder();
	if (folder.empty())
		return {};
	const std::string separator(path_separator);
	const std::string development_data = separator + ".." + separator + ".." + separator + "data" + separator;
	for (const std::string &subfolder : {separator, development_data}) {
		path = folder + subfolder + bundle_name;
		if (os_file_exists(path.c_str()))
			return path;
	}
	return {};
}

std::string engine_log_path(const std::string &temporary_folder)
{
	return temporary_folder + "kalvio-obs.log";
}

void on_engine_event(void * /*user_data*/, int32_t code, const char *message)
{
	blog(LOG_INFO, "[Kalvio] engine event %d %s", static_cast<int>(code),
	     sanitize_for_log(message ? message : "").c_str());
}

} // namespace kalvio
