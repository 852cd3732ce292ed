// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/apply_parameters.h"

#include "params/effect_catalog.h"
#include "params/reshape_tables.h"
#include "params/settings_lock.h"

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

enum FillMode : int32_t { FillBlur = 1, FillPicture = 2 };

// The choices that load files. Copied, since files are loaded without the settings' lock.
struct ResourceChoices {
	std::string filter_id;
	float filter_intensity;
	std::string sticker_id;
	int32_t fill_mode;
	float blur;
	std::string preset;
	std::string image;
};

ResourceChoices read_resource_choices(obs_data_t *settings)
{
	const SettingsLock lock;
	return {obs_data_get_string(settings, "filter_id"),
		get_float(settings, "filter_intensity"),
		obs_data_get_string(settings, "sticker_id"),
		get_int(settings, "bg_fill"),
		get_float(settings, "bg_blur"),
		obs_data_get_string(settings, "bg_preset"),
		obs_data_get_string(settings, "bg_image")};
}

void load_filter(kl_engine *engine, const std::string &id)
{
	const std::string path = filter_resource_path(id.c_str());
	if (path.empty() || kl_set_filter(engine, path.c_str()) != 0) {
		blog(LOG_WARNING, "[Kalvio] failed to load filter %s", id.c_str());
		kl_clear_filter(engine);
	}
}

void apply_color_filter(kl_engine *engine, ResourceCache &cache, const ResourceChoices &choices)
{
	if (cache.filter_id != choices.filter_id) {
		if (choices.filter_id.empty())
			kl_clear_filter(engine);
		else
			load_filter(engine, choices.filter_id);
		cache.filter_id = choices.filter_id;
		cache.filter_intensity = -1.0f;
	}

	// Also after a failed load, whose id is kept so that it is not tried again on every update.
	if (!cache.filter_id.empty() && choices.filter_intensity != cache.filter_intensity) {
		kl_set_filter_intensity(engine, choices.filter_intensity);
		cache.filter_intensity = choices.filter_intensity;
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

void apply_sticker(kl_engine *engine, ResourceCache &cache, const ResourceChoices &choices)
{
	if (cache.sticker_id == choices.sticker_id)
		return;
	if (choices.sticker_id.empty()) {
		kl_clear_sticker(engine);
		kl_clear_3d_sticker(engine);
	} else {
		load_sticker(engine, choices.sticker_id.c_str());
	}
	cache.sticker_id = choices.sticker_id;
}

std::string background_picture_path(const ResourceChoices &choices)
{
	if (!choices.image.empty() && os_file_exists(choices.image.c_str()))
		return choices.image;
	return choices.preset.empty() ? default_background_path() : background_preset_path(choices.preset.c_str());
}

void load_background_picture(kl_engine *engine, const ResourceChoices &choices)
{
	const std::string path = background_picture_path(choices);
	if (path.empty()) {
		blog(LOG_WARNING, "[Kalvio] failed to load background image%s%s", "", "");
		kl_clear_virtual_background(engine);
	} else if (kl_set_virtual_background(engine, path.c_str()) != 0) {
		blog(LOG_WARNING, "[Kalvio] failed to load background image%s%s", ": ", path.c_str());
		kl_clear_virtual_background(engine);
	}
}

void apply_background(kl_engine *engine, ResourceCache &cache, const ResourceChoices &choices)
{
	const int32_t fill_mode = choices.fill_mode;
	const bool changed =
		fill_mode != cache.fill_mode || (fill_mode == FillBlur && choices.blur != cache.blur) ||
		(fill_mode == FillPicture && (cache.image != choices.image || cache.preset != choices.preset));
	if (!changed)
		return;

	if (fill_mode == FillBlur)
		kl_set_virtual_background_blur(engine, choices.blur);
	else if (fill_mode == FillPicture)
		load_background_picture(engine, choices);
	else
		kl_clear_virtual_background(engine);

	cache.fill_mode = fill_mode;
	cache.blur = choices.blur;
	cache.preset = choices.preset;
	cache.image = choices.image;
}

} // namespace

void apply_beauty_params(kl_engine *engine, obs_data_t *settings)
{
	if (!engine || !settings)
		return;
	const SettingsLock lock;
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
	const ResourceChoices choices = read_resource_choices(settings);
	apply_color_filter(engine, cache, choices);
	apply_sticker(engine, cache, choices);
	apply_background(engine, cache, choices);
}

} // namespace kalvio
