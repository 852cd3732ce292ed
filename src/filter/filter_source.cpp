// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_source.h"

#include "filter/filter_instance.h"
#include "filter/filter_properties.h"
#include "filter/frame_path.h"
#include "params/parameter_schema.h"

#include <exception>

namespace kalvio {

namespace {

void log_current_exception() noexcept
{
	try {
		throw;
	} catch (const std::exception &error) {
		blog(LOG_ERROR, "[Kalvio] unexpected error: %s", error.what());
	} catch (...) {
		blog(LOG_ERROR, "[Kalvio] unexpected error");
	}
}

// The same function behind a door that no exception passes: the host is C. The fallback is a zero result.
template <auto callback>
struct Shim;

template <class Result, class... Arguments, Result (*callback)(Arguments...)>
struct Shim<callback> {
	static Result call(Arguments... arguments) noexcept
	{
		try {
			return callback(arguments...);
		} catch (...) {
			log_current_exception();
			return Result();
		}
	}
};

void render_or_skip(void *data, gs_effect_t *effect)
{
	try {
		filter_video_render(data, effect);
	} catch (...) {
		log_current_exception();
		obs_source_skip_video_filter(static_cast<FilterInstance *>(data)->source);
	}
}

} // namespace

obs_source_info filter_source_info()
{
	obs_source_info info = {};
	info.id = "kalvio_filter";
	info.type = OBS_SOURCE_TYPE_FILTER;
	info.output_flags = OBS_SOURCE_VIDEO;
	info.get_name = Shim<filter_get_name>::call;
	info.create = Shim<filter_create>::call;
	info.destroy = Shim<filter_destroy>::call;
	info.get_width = Shim<filter_get_width>::call;
	info.get_height = Shim<filter_get_height>::call;
	info.get_defaults = register_defaults;
	info.get_properties = Shim<filter_get_properties>::call;
	info.update = Shim<filter_update>::call;
	info.video_render = Shim<render_or_skip>::call;
	return info;
}

} // namespace kalvio
