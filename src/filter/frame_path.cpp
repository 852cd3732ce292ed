// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/frame_path.h"

#include "filter/engine_session.h"
#include "filter/filter_instance.h"
#include "filter/frame_guard.h"
#include "filter/original_view.h"
#include "host/callback_shim.h"

#include <algorithm>
#include <cstring>
#include <graphics/vec4.h>

namespace kalvio {

namespace {

constexpr uint32_t bytes_per_pixel = 4;
constexpr uint32_t max_logged_failures = 8;

// Draws the filter's input: the source with the filters before this one. Inside the frame's guard only a source that
// removes its own filter while it draws can have taken the parent away.
void pass_through(const FilterInstance &instance)
{
	if (obs_filter_get_parent(instance.source))
		obs_source_skip_video_filter(instance.source);
}

// The settings that a new engine is given can switch the filter off, hence the second look at `enabled`.
bool is_processing(FilterInstance &instance)
{
	return instance.enabled && !is_original_shown(instance.id) && ensure_engine(instance) && instance.engine &&
	       instance.enabled;
}

bool is_complete(const FrameResources &gpu)
{
	return gpu.render_target && gpu.staging_surface && gpu.upload_texture;
}

bool ensure_gpu_resources(FrameResources &gpu, uint32_t width, uint32_t height)
{
	if (is_complete(gpu) && gpu.width == width && gpu.height == height)
		return true;

	release_gpu_resources(gpu);
	gpu.render_target.reset(gs_texrender_create(GS_RGBA, GS_ZS_NONE));
	gpu.staging_surface.reset(gs_stagesurface_create(width, height, GS_RGBA));
	gpu.upload_texture.reset(gs_texture_create(width, height, GS_RGBA, 1, nullptr, GS_DYNAMIC));
	if (!is_complete(gpu)) {
		blog(LOG_ERROR, "[Kalvio] failed to create GPU resources %ux%u", width, height);
		release_gpu_resources(gpu);
		return false;
	}
	gpu.width = width;
	gpu.height = height;
	return true;
}

// Draws the filter's input, its alpha included, into the render target. Null when the target cannot be drawn into.
gs_texture_t *capture_source(const FilterInstance &instance)
{
	const FrameResources &gpu = instance.gpu;
	gs_texrender_reset(gpu.render_target.get());
	{
		const RenderTargetScope target(gpu.render_target.get(), gpu.width, gpu.height);
		if (!target.has_begun())
			return nullptr;

		const vec4 transparent_black = {};
		gs_clear(GS_CLEAR_COLOR, &transparent_black, 0.0f, 0);
		gs_ortho(0.0f, static_cast<float>(gpu.width), 0.0f, static_cast<float>(gpu.height), -100.0f, 100.0f);
		const BlendStateScope blend_state;
		gs_blend_function(GS_BLEND_ONE, GS_BLEND_ZERO);
		pass_through(instance);
	}
	return gs_texrender_get_texture(gpu.render_target.get());
}

// Copies `height` rows of `row_bytes` out of rows that lie `source_row_bytes` apart. Of a source row that is shorter
// only what it has is copied.
void copy_rows(uint8_t *dest, const uint8_t *source, uint32_t source_row_bytes, uint32_t row_bytes, uint32_t height)
{
	if (source_row_bytes == row_bytes) {
		std::memcpy(dest, source, size_t{row_bytes} * height);
		return;
	}
	const size_t copied_bytes = std::min(row_bytes, source_row_bytes);
	for (size_t row = 0; row < height; row++)
		std::memcpy(dest + row * row_bytes, source + row * source_row_bytes, copied_bytes);
}

// Fills the input pixels from the captured texture, waiting for the GPU. The buffers only change with the frame size.
bool read_back(FilterInstance &instance, gs_texture_t *captured)
{
	const FrameResources &gpu = instance.gpu;
	gs_stage_texture(gpu.staging_surface.get(), captured);
	const MappedSurface mapped(gpu.staging_surface.get());
	if (!mapped.data())
		return false;

	const uint32_t row_bytes = gpu.width * bytes_per_pixel;
	instance.input_pixels.resize(size_t{row_bytes} * gpu.height);
	instance.output_pixels.resize(instance.input_pixels.size());
	copy_rows(instance.input_pixels.data(), mapped.data(), mapped.row_bytes(), row_bytes, gpu.height);
	return true;
}

// Runs the engine over the input pixels. An instance logs its first success and at most eight failures in its life.
bool process_pixels(FilterInstance &instance)
{
	const auto width = static_cast<int32_t>(instance.gpu.width);
	const auto height = static_cast<int32_t>(instance.gpu.height);
	const int32_t result =
		kl_process_rgba(instance.engine.get(), instance.input_pixels.data(), width, height,
				width * static_cast<int32_t>(bytes_per_pixel), instance.output_pixels.data(), 1, 0);
	if (result != 0) {
		if (instance.failure_count < max_logged_failures) {
			blog(LOG_WARNING, "[Kalvio] kl_process_rgba failed: %d", static_cast<int>(result));
			instance.failure_count++;
		}
		return false;
	}
	if (!instance.processing_logged) {
		blog(LOG_INFO, "[Kalvio] processing GPU frames %ux%u", instance.gpu.width, instance.gpu.height);
		instance.processing_logged = true;
	}
	return true;
}

gs_texture_t *upload_pixels(const FilterInstance &instance)
{
	const FrameResources &gpu = instance.gpu;
	gs_texture_set_image(gpu.upload_texture.get(), instance.output_pixels.data(), gpu.width * bytes_per_pixel,
			     false);
	return gpu.upload_texture.get();
}

// False when the host has nothing to draw it with; then nothing is drawn.
bool draw_texture(gs_texture_t *texture, uint32_t width, uint32_t height)
{
	gs_effect_t *effect = obs_get_base_effect(OBS_EFFECT_DEFAULT);
	gs_eparam_t *image = effect ? gs_effect_get_param_by_name(effect, "image") : nullptr;
	if (!image)
		return false;
	gs_effect_set_texture(image, texture);
	bool is_drawn = false;
	while (gs_effect_loop(effect, "Draw")) {
		gs_draw_sprite(texture, 0, width, height);
		is_drawn = true;
	}
	return is_drawn;
}

// The processed frame, or the captured one where the engine fails. Null when the source could not be captured.
gs_texture_t *process_frame(FilterInstance &instance)
{
	gs_texture_t *captured = capture_source(instance);
	if (!captured)
		return nullptr;
	return read_back(instance, captured) && process_pixels(instance) ? upload_pixels(instance) : captured;
}

// Studio Mode, the multiview and projectors draw a source several times in one frame of the host. The further views
// draw what the first one left. A time of 0 is unknown.
gs_texture_t *frame_result(FilterInstance &instance)
{
	FrameResources &gpu = instance.gpu;
	const uint64_t time_ns = obs_get_video_frame_time();
	if (gpu.result && time_ns != 0 && time_ns == gpu.result_time_ns)
		return gpu.result;
	gpu.result = nullptr;
	gpu.result = process_frame(instance);
	gpu.result_time_ns = time_ns;
	return gpu.result;
}

void render_frame(FilterInstance &instance)
{
	obs_source_t *target = obs_filter_get_target(instance.source);
	const uint32_t width = target ? obs_source_get_base_width(target) : 0;
	const uint32_t height = target ? obs_source_get_base_height(target) : 0;

	gs_texture_t *result = nullptr;
	if (width != 0 && height != 0 && is_processing(instance) && ensure_gpu_resources(instance.gpu, width, height))
		result = frame_result(instance);
	if (!result || !draw_texture(result, width, height))
		pass_through(instance);
}

} // namespace

void filter_video_render(void *data, gs_effect_t * /*effect*/)
{
	if (!data)
		return;
	auto &instance = *static_cast<FilterInstance *>(data);

	// Held to the end, so that no setting changes in the middle of a frame and the filter stays on its source.
	const FrameGuard guard(instance);
	if (!guard.has_source())
		return;
	try {
		if (guard.is_inside_own_frame())
			pass_through(instance);
		else
			render_frame(instance);
	} catch (...) {
		log_current_exception();
		pass_through(instance);
	}
}

} // namespace kalvio
