// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/host_double.h"

#include "kit/host_state.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace kalvio::test {
namespace {

constexpr std::array fallible_functions = {
	std::string_view("gs_texrender_create"),
	std::string_view("gs_texrender_begin"),
	std::string_view("gs_texrender_get_texture"),
	std::string_view("gs_stagesurface_create"),
	std::string_view("gs_texture_create"),
	std::string_view("obs_filter_get_target"),
	std::string_view("obs_module_load_locale"),
	std::string_view("gs_stage_texture"),
	std::string_view("gs_texture_set_image"),
	std::string_view("obs_get_base_effect"),
	std::string_view("gs_effect_get_param_by_name"),
	std::string_view("gs_effect_loop"),
	std::string_view("gs_draw_sprite"),
	std::string_view("gs_clear"),
	std::string_view("obs_source_get_settings"),
	std::string_view("obs_source_get_weak_source"),
	std::string_view("obs_source_get_signal_handler"),
	std::string_view("obs_filter_get_parent"),
	std::string_view("obs_source_get_name"),
	std::string_view("obs_find_module_file"),
};

// Counts one down; true when there was one to count.
bool take_one(std::map<std::string, int, std::less<>> &orders, const char *function)
{
	const auto order = orders.find(function);
	if (order == orders.end() || order->second == 0)
		return false;
	if (order->second > 0)
		--order->second;
	return true;
}

} // namespace

HostState &host_state()
{
	static HostState state;
	return state;
}

RenderState &render_state()
{
	thread_local RenderState state;
	return state;
}

void note_host_misuse(const char *function, const std::string &what)
{
	const std::lock_guard lock(host_state().mutex);
	host_state().misuse.push_back(std::string(function) + ": " + what);
}

void begin_host_call(const char *function)
{
	std::function<void()> action;
	bool throws = false;
	{
		HostState &state = host_state();
		const std::lock_guard lock(state.mutex);
		if (const auto found = state.actions.find(function); found != state.actions.end())
			action = found->second;
		throws = take_one(state.throws, function);
	}
	if (action)
		action();
	if (throws)
		throw std::bad_alloc();
}

bool host_call_fails(const char *function)
{
	const std::lock_guard lock(host_state().mutex);
	return take_one(host_state().failures, function);
}

HostDouble &host_double()
{
	static HostDouble host;
	return host;
}

void HostDouble::reset()
{
	HostState &state = host_state();
	const std::lock_guard lock(state.mutex);
	state.failures.clear();
	state.throws.clear();
	state.actions.clear();
	state.gpu_objects.clear();
	state.created.clear();
	state.misuse.clear();
	state.registrations.clear();
	state.map_result = MapResult::Succeed;
	state.row_padding = 0;
	state.data_folder.clear();
	state.finds_missing_files = false;
	state.cheap = false;
	state.frame_time_ns = 0;
	render_state() = {};
}

void HostDouble::fail(std::string_view function, int times)
{
	if (std::find(fallible_functions.begin(), fallible_functions.end(), function) == fallible_functions.end()) {
		std::fprintf(stderr, "the host double cannot fail in %.*s\n", static_cast<int>(function.size()),
			     function.data());
		std::abort();
	}
	const std::lock_guard lock(host_state().mutex);
	host_state().failures[std::string(function)] = times;
}

void HostDouble::throw_in(std::string_view function)
{
	const std::lock_guard lock(host_state().mutex);
	host_state().throws[std::string(function)] = 1;
}

void HostDouble::on_call(std::string_view function, std::function<void()> action)
{
	const std::lock_guard lock(host_state().mutex);
	host_state().actions[std::string(function)] = std::move(action);
}

void HostDouble::set_map_result(MapResult result)
{
	const std::lock_guard lock(host_state().mutex);
	host_state().map_result = result;
}

void HostDouble::set_row_padding(int bytes)
{
	const std::lock_guard lock(host_state().mutex);
	host_state().row_padding = bytes;
}

void HostDouble::set_data_folder(std::string folder)
{
	const std::lock_guard lock(host_state().mutex);
	host_state().data_folder = std::move(folder);
}

void HostDouble::set_finds_missing_files(bool enabled)
{
	const std::lock_guard lock(host_state().mutex);
	host_state().finds_missing_files = enabled;
}

void HostDouble::set_cheap(bool cheap)
{
	host_state().cheap = cheap;
	call_journal().set_enabled(!cheap);
}

std::vector<Drawn> HostDouble::render(const std::function<void()> &frame)
{
	constexpr uint64_t frame_ns = 16'666'667;
	host_state().frame_time_ns += frame_ns;
	return render_view(frame);
}

void HostDouble::set_frame_time(uint64_t time_ns)
{
	host_state().frame_time_ns = time_ns;
}

std::vector<Drawn> HostDouble::render_view(const std::function<void()> &frame)
{
	RenderState &drawing = render_state();
	drawing.screen.clear();
	++drawing.graphics_depth;
	frame();
	--drawing.graphics_depth;
	if (drawing.target)
		note_host_misuse("frame", "ended inside a render target");
	if (drawing.blend_depth != 0)
		note_host_misuse("frame", "blend state pushed but not popped");
	drawing.target = nullptr;
	drawing.blend_depth = 0;

	for (const GpuObject *surface : std::exchange(drawing.mapped, {}))
		note_host_misuse("frame", surface->label + " left mapped");
	return std::exchange(drawing.screen, {});
}

int HostDouble::live_gpu_objects() const
{
	const std::lock_guard lock(host_state().mutex);
	return static_cast<int>(std::count_if(host_state().gpu_objects.begin(), host_state().gpu_objects.end(),
					      [](const auto &object) { return object->alive; }));
}

std::vector<std::string> HostDouble::misuse() const
{
	const std::lock_guard lock(host_state().mutex);
	return host_state().misuse;
}

std::vector<HostDouble::Registration> HostDouble::registrations() const
{
	const std::lock_guard lock(host_state().mutex);
	return host_state().registrations;
}

} // namespace kalvio::test

uint64_t obs_get_video_frame_time(void)
{
	using namespace kalvio::test;
	return host_is_cheap() ? 0 : host_state().frame_time_ns.load();
}
