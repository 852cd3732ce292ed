// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/libobs_render.h"

#include "kit/libobs_session.h"

#include <cstring>
#include <graphics/vec4.h>
#include <memory>
#include <stdexcept>
#include <utility>

namespace kalvio::test {

namespace {

struct StagesurfaceDeleter {
	void operator()(gs_stagesurf_t *surface) const { gs_stagesurface_destroy(surface); }
};

struct TexrenderDeleter {
	void operator()(gs_texrender_t *target) const { gs_texrender_destroy(target); }
};

void swap_red_and_blue(Picture &picture)
{
	for (size_t i = 0; i < picture.rgba.size(); i += 4)
		std::swap(picture.rgba[i], picture.rgba[i + 2]);
}

// Inside the graphics context. The texture is 8-bit RGBA, as ours are, or BGRA, as the canvas is.
Picture read_texture(gs_texture_t *texture)
{
	const uint32_t width = gs_texture_get_width(texture);
	const uint32_t height = gs_texture_get_height(texture);
	const gs_color_format format = gs_texture_get_color_format(texture);
	if (format != GS_RGBA && format != GS_BGRA)
		throw std::runtime_error("unexpected texture format " + std::to_string(format));

	const std::unique_ptr<gs_stagesurf_t, StagesurfaceDeleter> surface(
		gs_stagesurface_create(width, height, format));
	gs_stage_texture(surface.get(), texture);
	uint8_t *data = nullptr;
	uint32_t row_bytes = 0;
	if (!gs_stagesurface_map(surface.get(), &data, &row_bytes))
		throw std::runtime_error("the rendered picture could not be read back");

	Picture picture(width, height);
	const size_t packed_row_bytes = size_t{width} * 4;
	for (size_t y = 0; y < height; y++)
		std::memcpy(picture.rgba.data() + y * packed_row_bytes, data + y * row_bytes, packed_row_bytes);
	gs_stagesurface_unmap(surface.get());
	if (format == GS_BGRA)
		swap_red_and_blue(picture);
	return picture;
}

} // namespace

Picture render_now(obs_source_t *source, uint32_t width, uint32_t height)
{
	const std::unique_ptr<gs_texrender_t, TexrenderDeleter> target(gs_texrender_create(GS_RGBA, GS_ZS_NONE));
	if (!gs_texrender_begin(target.get(), width, height))
		throw std::runtime_error("no render target of " + std::to_string(width) + "x" + std::to_string(height));
	const vec4 transparent_black = {};
	gs_clear(GS_CLEAR_COLOR, &transparent_black, 0.0f, 0);
	gs_ortho(0.0f, static_cast<float>(width), 0.0f, static_cast<float>(height), -100.0f, 100.0f);
	gs_blend_state_push();
	gs_blend_function(GS_BLEND_ONE, GS_BLEND_ZERO);
	obs_source_video_render(source);
	gs_blend_state_pop();
	gs_texrender_end(target.get());
	return read_texture(gs_texrender_get_texture(target.get()));
}

Picture render(obs_source_t *source)
{
	return render(source, obs_source_get_width(source), obs_source_get_height(source));
}

Picture render(obs_source_t *source, uint32_t width, uint32_t height)
{
	Picture picture;
	on_graphics_thread([&picture, source, width, height] {
		const GraphicsContext context;
		picture = render_now(source, width, height);
	});
	return picture;
}

Picture render_canvas(obs_source_t *source)
{
	obs_set_output_source(0, source);
	wait_for_composed_frame();

	Picture picture;
	on_graphics_thread([&picture] {
		const GraphicsContext context;
		picture = read_texture(obs_get_main_texture());
	});
	obs_set_output_source(0, nullptr);
	return picture;
}

} // namespace kalvio::test
