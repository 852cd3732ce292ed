// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_source.h"

#include "filter/filter_life.h"
#include "filter/filter_properties.h"
#include "filter/frame_path.h"
#include "host/callback_shim.h"
#include "params/parameter_schema.h"

namespace kalvio {

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
	info.get_defaults = Shim<register_defaults>::call;
	info.get_properties = Shim<filter_get_properties>::call;
	info.update = Shim<filter_update>::call;
	info.video_render = Shim<filter_video_render>::call;
	return info;
}

} // namespace kalvio
