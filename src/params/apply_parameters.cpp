// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/apply_parameters.h"

#include "host/log_text.h"
#include "params/effect_catalog.h"
#include "params/parameter_table.h"
#include "params/settings_lock.h"

#include <obs.h>
#include <util/platform.h>
#include <variant>

namespace kalvio {

namespace {

float get_float(obs_data_t *settings, const char *key)
{
	return static_cast<float>(obs_data_get_double(settings, key));
}

int32_t get_int(obs_data_t *settings, const char *key)
{
	return static_cast<int32_t>(obs_data_get_int(settings, key));
}

// Sends a stored setting to the engine call that takes it.
void send(kl_engine *engine, obs_data_t *settings, const Parameter &parameter)
{
	const char *key = parameter.key;
	if (const auto *set_switch = std::get_if<SwitchSetter>(&parameter.setter))
		(*set_switch)(engine, obs_data_get_bool(settings, key));
	else if (const auto *set_strength = std::get_if<StrengthSetter>(&parameter.setter))
		(*set_strength)(engine, get_float(settings, key));
	else if (const auto *set_choice = std::get_if<ChoiceSetter>(&parameter.setter))
		(*set_choice)(engine, get_int(settings, key));
	else if (const auto *set_reshape = std::get_if<ReshapeSetter>(&parameter.setter))
		(*set_reshape)(engine, static_cast<int32_t>(std::get<StrengthField>(parameter.field).index),
			       get_float(settings, key));
}

// In the order of the table, the switches last.
void send_section(kl_engine *engine, obs_data_t *settings, ParameterSection section)
{
	for (const bool is_switch : {false, true}) {
		for (const Parameter &parameter : parameter_table()) {
			if (parameter.section == section &&
			    std::holds_alternative<SwitchSetter>(parameter.setter) == is_switch)
				send(engine, settings, parameter);
		}
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
	send_section(engine, settings, ParameterSection::ChromaKey);
}

constexpr std::size_t longest_logged_path = 1024; // bytes

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
		blog(LOG_WARNING, "[Kalvio] failed to load filter %s", sanitize_for_log(id).c_str());
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
		blog(LOG_WARNING, "[Kalvio] sticker not found: %s", sanitize_for_log(id).c_str());
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
		blog(LOG_WARNING, "[Kalvio] failed to load background image%s%s", ": ",
		     sanitize_for_log(path, longest_logged_path).c_str());
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
	for (const ParameterSection section : {ParameterSection::Skin, ParameterSection::FaceReshape,
					       ParameterSection::BodyReshape, ParameterSection::Makeup})
		send_section(engine, settings, section);
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
