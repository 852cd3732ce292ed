// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/apply_parameters.h"

#include "params/effect_catalog.h"
#include "params/reshape_tables.h"

#include <obs.h>
#include <span>
#include <util/platform.h>

namespace kalvio {

namespace {

// One setting and the engine call that takes it: a strength or a choice, whichever setter is set.
struct Setter {
	const char *key;
	int32_t (*set_strength)(kl_engine *, float);
	int32_t (*set_choice)(kl_engine *, int32_t);
};

// The order of the rows is the order of the calls. Not constexpr: the address of a function that another library
// exports is no constant expression on every system.
const Setter skin_setters[] = {
	{"smoothing", kl_set_smoothing, nullptr}, {"smoothing_style", nullptr, kl_set_smoothing_style},
	{"whitening", kl_set_whitening, nullptr}, {"whitening_style", nullptr, kl_set_whitening_style},
	{"rosiness", kl_set_rosiness, nullptr},   {"sharpening", kl_set_sharpening, nullptr},
};

const Setter makeup_setters[] = {
	{"lipstick", kl_set_lipstick, nullptr},
	{"lipstick_color", nullptr, kl_set_lipstick_color},
	{"blush", kl_set_blush, nullptr},
	{"blush_style", nullptr, kl_set_blush_style},
	{"blush_color", nullptr, kl_set_blush_color},
	{"contour", kl_set_contour, nullptr},
	{"contour_style", nullptr, kl_set_contour_style},
	{"eyeshadow", kl_set_eye_shadow, nullptr},
	{"eyeshadow_style", nullptr, kl_set_eye_shadow_style},
	{"eyeshadow_color", nullptr, kl_set_eye_shadow_color},
	{"eyeliner", kl_set_eye_liner, nullptr},
	{"eyeliner_style", nullptr, kl_set_eye_liner_style},
	{"eyeliner_color", nullptr, kl_set_eye_liner_color},
	{"eyebrow", kl_set_eyebrow, nullptr},
	{"eyebrow_style", nullptr, kl_set_eyebrow_style},
	{"eyebrow_color", nullptr, kl_set_eyebrow_color},
	{"eyelash", kl_set_eyelash, nullptr},
	{"eyelash_style", nullptr, kl_set_eyelash_style},
	{"eyelash_color", nullptr, kl_set_eyelash_color},
	{"pupil", kl_set_pupil, nullptr},
	{"pupil_color", nullptr, kl_set_pupil_color},
};

const Setter chroma_setters[] = {
	{"chroma_similarity", kl_set_chroma_key_similarity, nullptr},
	{"chroma_smoothness", kl_set_chroma_key_smoothness, nullptr},
	{"chroma_desaturation", kl_set_chroma_key_desaturation, nullptr},
};

float get_float(obs_data_t *settings, const char *key)
{
	return static_cast<float>(obs_data_get_double(settings, key));
}

int32_t get_int(obs_data_t *settings, const char *key)
{
	return static_cast<int32_t>(obs_data_get_int(settings, key));
}

void apply(kl_engine *engine, obs_data_t *settings, std::span<const Setter> setters)
{
	for (const Setter &setter : setters) {
		if (setter.set_strength)
			setter.set_strength(engine, get_float(settings, setter.key));
		else
			setter.set_choice(engine, get_int(settings, setter.key));
	}
}

void apply_reshape(kl_engine *engine, obs_data_t *settings, std::span<const ReshapeGroup> groups,
		   int32_t (*set_reshape)(kl_engine *, int32_t, float))
{
	for (const ReshapeGroup &group : groups) {
		for (const ReshapeItem &item : std::span(group.items, static_cast<size_t>(group.count)))
			set_reshape(engine, item.engine_id, get_float(settings, item.setting_key));
	}
}

void apply_chroma_key(kl_engine *engine, obs_data_t *settings)
{
	// With the key off the fine-tuning is not sent: the engine keeps what it last had.
	const int32_t chroma = get_int(settings, "chroma");
	if (chroma <= 0) {
		kl_clear_chroma_key(engine);
		return;
	}
	kl_set_chroma_key(engine, chroma - 1);
	apply(engine, settings, chroma_setters);
}

void load_filter(kl_engine *engine, const char *id)
{
	const std::string path = filter_resource_path(id);
	if (path.empty() || kl_set_filter(engine, path.c_str()) != 0) {
		blog(LOG_WARNING, "[Kalvio] failed to load filter %s", id);
		kl_clear_filter(engine);
	}
}

void apply_color_filter(kl_engine *engine, ResourceCache &cache, obs_data_t *settings)
{
	const char *id = obs_data_get_string(settings, "filter_id");
	if (cache.filter_id != id) {
		if (*id)
			load_filter(engine, id);
		else
			kl_clear_filter(engine);
		cache.filter_id = id;
		cache.filter_intensity = -1.0f;
	}

	// Also after a failed load, whose id is kept so that it is not tried again on every update.
	const float intensity = get_float(settings, "filter_intensity");
	if (!cache.filter_id.empty() && intensity != cache.filter_intensity) {
		kl_set_filter_intensity(engine, intensity);
		cache.filter_intensity = intensity;
	}
}

void load_sticker(kl_engine *engine, const char *id)
{
	const StickerEntry *entry = find_sticker(id);
	const std::string path = entry ? sticker_resource_path(*entry) : std::string();
	if (!entry || path.empty()) {
		blog(LOG_WARNING, "[Kalvio] sticker not found: %s", id);
		kl_clear_sticker(engine);
		kl_clear_3d_sticker(engine);
	} else if (entry->kind == StickerKind::ThreeD) {
		kl_clear_sticker(engine);
		if (kl_set_3d_sticker(engine, path.c_str()) != 0) {
			blog(LOG_WARNING, "[Kalvio] failed to load 3D sticker %s", id);
			kl_clear_3d_sticker(engine);
		}
	} else {
		kl_clear_3d_sticker(engine);
		if (kl_set_sticker(engine, path.c_str()) != 0) {
			blog(LOG_WARNING, "[Kalvio] failed to load sticker %s", id);
			kl_clear_sticker(engine);
		}
	}
}

void apply_sticker(kl_engine *engine, ResourceCache &cache, obs_data_t *settings)
{
	const char *id = obs_data_get_string(settings, "sticker_id");
	if (cache.sticker_id == id)
		return;
	if (*id) {
		load_sticker(engine, id);
	} else {
		kl_clear_sticker(engine);
		kl_clear_3d_sticker(engine);
	}
	cache.sticker_id = id;
}

enum FillMode : int32_t { FillBlur = 1, FillPicture = 2 };

std::string background_picture_path(const char *preset, const char *image)
{
	if (*image && os_file_exists(image))
		return image;
	return *preset ? background_preset_path(preset) : default_background_path();
}

void load_background_picture(kl_engine *engine, const char *preset, const char *image)
{
	const std::string path = background_picture_path(preset, image);
	if (path.empty()) {
		blog(LOG_WARNING, "[Kalvio] failed to load background image%s%s", "", "");
		kl_clear_virtual_background(engine);
	} else if (kl_set_virtual_background(engine, path.c_str()) != 0) {
		blog(LOG_WARNING, "[Kalvio] failed to load background image%s%s", ": ", path.c_str());
		kl_clear_virtual_background(engine);
	}
}

void apply_background(kl_engine *engine, ResourceCache &cache, obs_data_t *settings)
{
	const int32_t fill_mode = get_int(settings, "bg_fill");
	const float blur = get_float(settings, "bg_blur");
	const char *preset = obs_data_get_string(settings, "bg_preset");
	const char *image = obs_data_get_string(settings, "bg_image");

	const bool changed = fill_mode != cache.fill_mode || (fill_mode == FillBlur && blur != cache.blur) ||
			     (fill_mode == FillPicture && (cache.image != image || cache.preset != preset));
	if (!changed)
		return;

	if (fill_mode == FillBlur)
		kl_set_virtual_background_blur(engine, blur);
	else if (fill_mode == FillPicture)
		load_background_picture(engine, preset, image);
	else
		kl_clear_virtual_background(engine);

	cache.fill_mode = fill_mode;
	cache.blur = blur;
	cache.preset = preset;
	cache.image = image;
}

} // namespace

void apply_beauty_params(kl_engine *engine, obs_data_t *settings)
{
	if (!engine || !settings)
		return;
	apply(engine, settings, skin_setters);
	kl_set_beauty_skin_only(engine, obs_data_get_bool(settings, "skin_only"));
	apply_reshape(engine, settings, face_reshape_groups, kl_set_reshape);
	apply_reshape(engine, settings, body_reshape_groups, kl_set_body_reshape);
	apply(engine, settings, makeup_setters);
	apply_chroma_key(engine, settings);
}

void apply_effect_resources(kl_engine *engine, ResourceCache &cache, obs_data_t *settings)
{
	if (!engine || !settings)
		return;
	apply_color_filter(engine, cache, settings);
	apply_sticker(engine, cache, settings);
	apply_background(engine, cache, settings);
}

} // namespace kalvio
