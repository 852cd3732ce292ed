// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/host_state.h"

#include <algorithm>
#include <cstring>
#include <graphics/vec4.h>
#include <optional>

// The graphics functions of the host double.
namespace kalvio::test {
namespace {

constexpr size_t bytes_per_pixel = 4;
constexpr uint8_t padding_byte = 0xEE;

size_t picture_bytes(uint32_t width, uint32_t height)
{
	return size_t{width} * height * bytes_per_pixel;
}

const char *kind_label(GpuKind kind)
{
	switch (kind) {
	case GpuKind::RenderTarget:
		return "render target ";
	case GpuKind::StagingSurface:
		return "staging surface ";
	case GpuKind::Texture:
		break;
	}
	return "texture ";
}

GpuObject *create_object(GpuKind kind, uint32_t width, uint32_t height)
{
	HostState &state = host_state();
	const std::lock_guard lock(state.mutex);
	auto object = std::make_unique<GpuObject>();
	object->kind = kind;
	object->label = kind_label(kind) + std::to_string(++state.created[kind]);
	object->width = width;
	object->height = height;
	object->pixels.resize(picture_bytes(width, height));
	return state.gpu_objects.emplace_back(std::move(object)).get();
}

template <class Handle>
GpuObject *object_of(Handle *handle)
{
	return reinterpret_cast<GpuObject *>(const_cast<std::remove_const_t<Handle> *>(handle));
}

bool is_known(const GpuObject *object)
{
	const std::lock_guard lock(host_state().mutex);
	return std::any_of(
		host_state().gpu_objects.begin(), host_state().gpu_objects.end(),
		[object](const auto &owned) { return owned.get() == object || owned->texture.get() == object; });
}

// The label of a graphics handle for the journal, which must not follow a handle that it does not know.
template <class Handle>
Argument label_of(Handle *handle)
{
	const GpuObject *object = object_of(handle);
	if (!object)
		return nullptr;
	return is_known(object) ? object->label : std::string("unknown object");
}

void check_context(const char *function)
{
	if (render_state().graphics_depth <= 0)
		note_host_misuse(function, "outside the graphics context");
}

// The object behind a handle when it can be used; notes what is wrong otherwise.
template <class Handle>
GpuObject *usable(const char *function, Handle *handle, GpuKind kind)
{
	check_context(function);
	GpuObject *object = object_of(handle);
	if (!object)
		note_host_misuse(function, "null object");
	else if (!is_known(object))
		note_host_misuse(function, "unknown object");
	else if (!object->alive)
		note_host_misuse(function, object->label + " is destroyed");
	else if (object->kind != kind)
		note_host_misuse(function, object->label + " is of another kind");
	else
		return object;
	return nullptr;
}

template <class Handle>
void destroy_object(const char *function, Handle *handle, GpuKind kind)
{
	host_call(function, label_of(handle));
	if (!handle)
		return;
	GpuObject *object = usable(function, handle, kind);
	if (!object)
		return;
	if (object->is_owned)
		note_host_misuse(function, object->label + " belongs to its render target");
	if (object->is_mapped || object->is_begun)
		note_host_misuse(function, object->label + " is in use");
	const std::lock_guard lock(host_state().mutex);
	object->alive = false;
	object->pixels = {};
	object->mapped_rows = {};
	object->texture.reset();
}

// The only effect there is, its parameter and its technique.
struct FakeEffect {
	char unused;
};
FakeEffect default_effect;
FakeEffect image_parameter;

gs_effect_t *default_effect_handle()
{
	return reinterpret_cast<gs_effect_t *>(&default_effect);
}

gs_eparam_t *image_parameter_handle()
{
	return reinterpret_cast<gs_eparam_t *>(&image_parameter);
}

Argument label_of_effect(const gs_effect_t *effect)
{
	if (!effect)
		return nullptr;
	return effect == default_effect_handle() ? "default effect" : "unknown effect";
}

void lay_out_rows(GpuObject &surface, uint32_t row_bytes)
{
	const size_t tight_bytes = surface.width * bytes_per_pixel;
	surface.mapped_rows.assign(size_t{row_bytes} * surface.height, padding_byte);
	for (size_t row = 0; row < surface.height; ++row)
		std::copy_n(surface.pixels.data() + row * tight_bytes, std::min<size_t>(tight_bytes, row_bytes),
			    surface.mapped_rows.data() + row * row_bytes);
}

} // namespace
} // namespace kalvio::test

using namespace kalvio::test;

// --- Render targets

gs_texrender_t *gs_texrender_create(enum gs_color_format format, enum gs_zstencil_format zsformat)
{
	host_call(__func__, format, zsformat);
	check_context(__func__);
	if (host_call_fails(__func__))
		return nullptr;
	GpuObject *object = create_object(GpuKind::RenderTarget, 0, 0);
	auto texture = std::make_unique<GpuObject>();
	texture->kind = GpuKind::Texture;
	texture->label = "texture of " + object->label;
	texture->is_owned = true;
	const std::lock_guard lock(host_state().mutex); // other threads look through all objects
	object->texture = std::move(texture);
	return reinterpret_cast<gs_texrender_t *>(object);
}

void gs_texrender_destroy(gs_texrender_t *texrender)
{
	destroy_object(__func__, texrender, GpuKind::RenderTarget);
}

void gs_texrender_reset(gs_texrender_t *texrender)
{
	if (host_is_cheap())
		return;
	host_call(__func__, label_of(texrender));
	if (GpuObject *object = usable(__func__, texrender, GpuKind::RenderTarget))
		object->is_rendered = false;
}

bool gs_texrender_begin(gs_texrender_t *texrender, uint32_t cx, uint32_t cy)
{
	if (host_is_cheap())
		return true;
	host_call(__func__, label_of(texrender), cx, cy);
	GpuObject *object = usable(__func__, texrender, GpuKind::RenderTarget);
	// As the host: a target that was not reset since it was last drawn into does not begin.
	if (!object || object->is_rendered || cx == 0 || cy == 0 || host_call_fails(__func__))
		return false;
	if (render_state().target)
		note_host_misuse(__func__, "inside another render target");
	object->is_begun = true;
	GpuObject &texture = *object->texture;
	texture.width = cx;
	texture.height = cy;
	texture.pixels.assign(picture_bytes(cx, cy), padding_byte);
	render_state().target = object;
	return true;
}

void gs_texrender_end(gs_texrender_t *texrender)
{
	if (host_is_cheap())
		return;
	host_call(__func__, label_of(texrender));
	GpuObject *object = usable(__func__, texrender, GpuKind::RenderTarget);
	if (!object || render_state().target != object) {
		note_host_misuse(__func__, "not begun");
		return;
	}
	object->is_begun = false;
	object->is_rendered = true;
	render_state().target = nullptr;
}

gs_texture_t *gs_texrender_get_texture(const gs_texrender_t *texrender)
{
	if (host_is_cheap())
		return reinterpret_cast<gs_texture_t *>(object_of(texrender)->texture.get());
	host_call(__func__, label_of(texrender));
	GpuObject *object = usable(__func__, texrender, GpuKind::RenderTarget);
	if (!object || host_call_fails(__func__))
		return nullptr;
	return reinterpret_cast<gs_texture_t *>(object->texture.get());
}

// --- Staging surfaces

gs_stagesurf_t *gs_stagesurface_create(uint32_t width, uint32_t height, enum gs_color_format color_format)
{
	host_call(__func__, width, height, color_format);
	check_context(__func__);
	if (host_call_fails(__func__))
		return nullptr;
	return reinterpret_cast<gs_stagesurf_t *>(create_object(GpuKind::StagingSurface, width, height));
}

void gs_stagesurface_destroy(gs_stagesurf_t *stagesurf)
{
	destroy_object(__func__, stagesurf, GpuKind::StagingSurface);
}

void gs_stage_texture(gs_stagesurf_t *dst, gs_texture_t *src)
{
	if (host_is_cheap())
		return;
	host_call(__func__, label_of(dst), label_of(src));
	GpuObject *surface = usable(__func__, dst, GpuKind::StagingSurface);
	const GpuObject *texture = usable(__func__, src, GpuKind::Texture);
	if (!surface || !texture || host_call_fails(__func__))
		return;
	if (surface->width != texture->width || surface->height != texture->height)
		note_host_misuse(__func__, "sizes differ");
	else
		surface->pixels = texture->pixels;
}

bool gs_stagesurface_map(gs_stagesurf_t *stagesurf, uint8_t **data, uint32_t *linesize)
{
	if (host_is_cheap()) {
		GpuObject *surface = object_of(stagesurf);
		*data = surface->pixels.data();
		*linesize = surface->width * static_cast<uint32_t>(bytes_per_pixel);
		return true;
	}
	host_call(__func__, label_of(stagesurf));
	GpuObject *surface = usable(__func__, stagesurf, GpuKind::StagingSurface);
	if (!surface)
		return false;
	if (surface->is_mapped)
		note_host_misuse(__func__, surface->label + " is mapped");

	std::unique_lock lock(host_state().mutex);
	const MapResult result = host_state().map_result;
	const int64_t row_bytes = int64_t{surface->width} * int64_t{bytes_per_pixel} + host_state().row_padding;
	lock.unlock();
	if (result == MapResult::Fail)
		return false;

	*linesize = static_cast<uint32_t>(row_bytes);
	*data = nullptr;
	if (result == MapResult::NullData)
		return true;
	lay_out_rows(*surface, *linesize);
	surface->is_mapped = true;
	render_state().mapped.push_back(surface);
	*data = surface->mapped_rows.data();
	return true;
}

void gs_stagesurface_unmap(gs_stagesurf_t *stagesurf)
{
	if (host_is_cheap())
		return;
	host_call(__func__, label_of(stagesurf));
	GpuObject *surface = usable(__func__, stagesurf, GpuKind::StagingSurface);
	if (!surface)
		return;
	if (surface->is_mapped)
		surface->mapped_rows = {}; // a read through the old pointer is now a read of freed memory
	surface->is_mapped = false;
	std::erase(render_state().mapped, surface);
}

// --- Textures

gs_texture_t *gs_texture_create(uint32_t width, uint32_t height, enum gs_color_format color_format, uint32_t levels,
				const uint8_t **data, uint32_t flags)
{
	host_call(__func__, width, height, color_format, levels, Argument::address(data), flags);
	check_context(__func__);
	if (host_call_fails(__func__))
		return nullptr;
	return reinterpret_cast<gs_texture_t *>(create_object(GpuKind::Texture, width, height));
}

void gs_texture_destroy(gs_texture_t *tex)
{
	destroy_object(__func__, tex, GpuKind::Texture);
}

void gs_texture_set_image(gs_texture_t *tex, const uint8_t *data, uint32_t linesize, bool invert)
{
	if (host_is_cheap()) {
		GpuObject *texture = object_of(tex);
		std::memcpy(texture->pixels.data(), data, texture->pixels.size());
		return;
	}
	host_call(__func__, label_of(tex), Argument::address(data), linesize, invert);
	GpuObject *texture = usable(__func__, tex, GpuKind::Texture);
	if (!texture || host_call_fails(__func__))
		return;
	const size_t row_bytes = texture->width * bytes_per_pixel;
	if (texture->is_owned || !data || linesize < row_bytes) {
		note_host_misuse(__func__, "no image for " + texture->label);
		return;
	}
	for (size_t row = 0; row < texture->height; ++row)
		std::copy_n(data + row * linesize, row_bytes, texture->pixels.data() + row * row_bytes);
}

// --- State

void gs_clear(uint32_t clear_flags, const struct vec4 *color, float depth, uint8_t stencil)
{
	if (host_is_cheap())
		return;
	host_call(__func__, clear_flags, color->x, color->y, color->z, color->w, depth, stencil);
	check_context(__func__);
	if (host_call_fails(__func__))
		return;
	if (GpuObject *target = render_state().target)
		std::fill(target->texture->pixels.begin(), target->texture->pixels.end(), uint8_t{0});
}

void gs_ortho(float left, float right, float top, float bottom, float znear, float zfar)
{
	if (host_is_cheap())
		return;
	host_call(__func__, left, right, top, bottom, znear, zfar);
	check_context(__func__);
}

void gs_blend_state_push(void)
{
	if (host_is_cheap())
		return;
	host_call(__func__);
	check_context(__func__);
	++render_state().blend_depth;
}

void gs_blend_state_pop(void)
{
	if (host_is_cheap())
		return;
	host_call(__func__);
	check_context(__func__);
	if (--render_state().blend_depth < 0)
		note_host_misuse(__func__, "not pushed");
}

void gs_blend_function(enum gs_blend_type src, enum gs_blend_type dest)
{
	if (host_is_cheap())
		return;
	host_call(__func__, src, dest);
	check_context(__func__);
}

void obs_enter_graphics(void)
{
	host_call(__func__);
	++render_state().graphics_depth;
}

void obs_leave_graphics(void)
{
	host_call(__func__);
	if (--render_state().graphics_depth < 0)
		note_host_misuse(__func__, "not entered");
}

// --- Effects

gs_effect_t *obs_get_base_effect(enum obs_base_effect effect)
{
	if (host_is_cheap())
		return default_effect_handle();
	host_call(__func__, effect);
	if (host_call_fails(__func__))
		return nullptr;
	return effect == OBS_EFFECT_DEFAULT ? default_effect_handle() : nullptr;
}

gs_eparam_t *gs_effect_get_param_by_name(const gs_effect_t *effect, const char *name)
{
	if (host_is_cheap())
		return image_parameter_handle();
	host_call(__func__, label_of_effect(effect), name);
	if (host_call_fails(__func__))
		return nullptr;
	return effect == default_effect_handle() && std::strcmp(name, "image") == 0 ? image_parameter_handle()
										    : nullptr;
}

void gs_effect_set_texture(gs_eparam_t *param, gs_texture_t *val)
{
	if (host_is_cheap())
		return;
	host_call(__func__, param == image_parameter_handle() ? "image" : "unknown parameter", label_of(val));
	render_state().effect_image = usable(__func__, val, GpuKind::Texture);
}

bool gs_effect_loop(gs_effect_t *effect, const char *name)
{
	RenderState &drawing = render_state();
	if (!host_is_cheap()) {
		host_call(__func__, label_of_effect(effect), name);
		check_context(__func__);
		// It fails at the beginning of a technique: that of another effect is under way, or there is none.
		if (!drawing.effect_running && host_call_fails(__func__))
			return false;
	}
	drawing.effect_running = !drawing.effect_running;
	return drawing.effect_running;
}

void gs_draw_sprite(gs_texture_t *tex, uint32_t flip, uint32_t width, uint32_t height)
{
	if (host_is_cheap())
		return;
	host_call(__func__, label_of(tex), flip, width, height);
	const GpuObject *texture = usable(__func__, tex, GpuKind::Texture);
	RenderState &drawing = render_state();
	if (!texture || host_call_fails(__func__))
		return;
	if (!drawing.effect_running || drawing.effect_image != texture || drawing.target)
		note_host_misuse(__func__, "not set up to draw " + texture->label + " on the screen");
	Picture picture(texture->width, texture->height);
	picture.rgba = texture->pixels;
	drawing.screen.push_back({texture->label, std::move(picture)});
}
