// SPDX-License-Identifier: GPL-2.0-or-later
#include "frame_views.h"

#include "driver.h"

#include <algorithm>

namespace kalvio::probe {

namespace {

constexpr const char *counter_type = "kalvio_probe_view_counter";

// One at a time; the type's callbacks know nothing else.
std::atomic<std::atomic<uint32_t> *> counted_views = nullptr;

void count_view(void *filter, gs_effect_t *)
{
	if (std::atomic<uint32_t> *const views = counted_views)
		++*views;
	obs_source_skip_video_filter(static_cast<obs_source_t *>(filter));
}

void register_counter()
{
	obs_source_info info = {};
	info.id = counter_type;
	info.type = OBS_SOURCE_TYPE_FILTER;
	info.output_flags = OBS_SOURCE_VIDEO;
	info.get_name = [](void *) {
		return counter_type;
	};
	info.create = [](obs_data_t *, obs_source_t *source) -> void * {
		return source;
	};
	info.destroy = [](void *) {
	};
	info.video_render = count_view;
	obs_register_source_s(&info, sizeof(info));
}

} // namespace

FrameViews::FrameViews(obs_source_t *source) : source_(source)
{
	if (!obs_source_get_display_name(counter_type))
		register_counter();
	counted_views = &views_;
	counter_ = obs_source_create_private(counter_type, counter_type, nullptr);
	obs_source_filter_add(source_, counter_);
	engine_calls_before_ = frame_count().processed;
	obs_add_tick_callback(begin_frame, this);
}

FrameViews::~FrameViews()
{
	// Between two frames: OBS reads the parent of the filter that it is drawing.
	obs_remove_tick_callback(begin_frame, this);
	const auto remove = [](void *data) {
		auto &views = *static_cast<FrameViews *>(data);
		obs_source_filter_remove(views.source_, views.counter_);
		counted_views = nullptr;
	};
	obs_queue_task(OBS_TASK_GRAPHICS, remove, this, true);
}

void FrameViews::begin_frame(void *views, float /*seconds*/)
{
	static_cast<FrameViews *>(views)->finish_frame();
}

void FrameViews::finish_frame()
{
	const uint64_t engine_calls = frame_count().processed;
	// What came before the first tick is no whole frame.
	if (frames_++ > 0) {
		most_views_ = std::max(most_views_.load(), views_.load());
		most_engine_calls_ = std::max(most_engine_calls_.load(), engine_calls - engine_calls_before_);
	}
	engine_calls_before_ = engine_calls;
	views_ = 0;
}

} // namespace kalvio::probe
