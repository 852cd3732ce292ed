// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/looks/look_format.h"

#include "host/small_file.h"
#include "params/effect_catalog.h"
#include "params/parameter_defaults.h"
#include "params/parameter_schema.h"
#include "params/parameter_table.h"

#include <QFileInfo>
#include <algorithm>
#include <cmath>
#include <utility>
#include <variant>

namespace kalvio {

namespace {

constexpr const char *version_key = "kalvio_look";
constexpr const char *settings_key = "settings";
constexpr const char *image_key = "bg_image";

constexpr qsizetype most_read_characters = 1000;

void limit_strength(const StrengthField &field, ParameterSet &set)
{
	const float value = field.get(set, field.index);
	const float lowest = field.is_signed ? -1.0f : 0.0f;
	field.set(set, field.index,
		  std::isfinite(value) ? std::clamp(value, lowest, 1.0f)
				       : field.get(default_parameters(), field.index));
}

void limit_choice(const ChoiceField &field, ParameterSet &set)
{
	const int value = field.get(set);
	if (value < 0 || value >= field.count)
		field.set(set, field.get(default_parameters()));
}

// Effects that do not exist, here or yet.
void drop_unknown_effects(ParameterSet &set)
{
	const auto is_filter = [&set](const char *id) {
		return set.filter.id == id;
	};
	if (std::ranges::none_of(filter_catalog, is_filter))
		set.filter.id.clear();
	if (!find_sticker(set.sticker_id.c_str()))
		set.sticker_id.clear();
	const auto is_preset = [&set](const BackgroundPreset &preset) {
		return set.background.preset == preset.id;
	};
	if (std::ranges::none_of(background_presets, is_preset))
		set.background.preset = default_parameters().background.preset;
}

bool is_object(obs_data_t *data, const char *key)
{
	obs_data_item_t *item = obs_data_item_byname(data, key);
	const bool is_object = item && obs_data_item_gettype(item) == OBS_DATA_OBJECT;
	obs_data_item_release(&item);
	return is_object;
}

void drop_image(obs_data_t *look)
{
	const OBSDataAutoRelease settings = obs_data_get_obj(look, settings_key);
	obs_data_erase(settings, image_key);
}

} // namespace

OBSDataAutoRelease make_look(const std::string &name, const ParameterSet &parameters)
{
	OBSDataAutoRelease look = obs_data_create();
	obs_data_set_string(look, look_name_key, name.c_str());
	const OBSDataAutoRelease settings = obs_data_create();
	write_parameters(parameters, settings);
	obs_data_erase(settings, "enabled");
	obs_data_set_obj(look, settings_key, settings);
	return look;
}

ParameterSet look_parameters(obs_data_t *look)
{
	const OBSDataAutoRelease stored = obs_data_get_obj(look, settings_key);
	const OBSDataAutoRelease settings = obs_data_create();
	register_defaults(settings);
	if (stored)
		obs_data_apply(settings, stored);
	ParameterSet set;
	read_parameters(settings, set);
	for (const Parameter &parameter : parameter_table()) {
		if (const auto *strength = std::get_if<StrengthField>(&parameter.field))
			limit_strength(*strength, set);
		else if (const auto *choice = std::get_if<ChoiceField>(&parameter.field))
			limit_choice(*choice, set);
	}
	drop_unknown_effects(set);
	set.enabled = true;
	return set;
}

std::string plain_look_name(const std::string &name)
{
	QString line = QString::fromStdString(name).left(most_read_characters);
	for (QChar &letter : line)
		if (letter.category() == QChar::Other_Control)
			letter = u' ';
	return line.simplified().left(static_cast<qsizetype>(longest_look_name)).trimmed().toStdString();
}

LookResult export_look(obs_data_t *look, const std::string &path)
{
	// A copy: what is left out here stays in the look.
	const OBSDataAutoRelease copy = obs_data_create_from_json(obs_data_get_json(look));
	if (!copy)
		return LookResult::NotWritten;
	drop_image(copy);
	obs_data_set_int(copy, version_key, look_version);
	return obs_data_save_json_safe(copy, path.c_str(), "tmp", nullptr) ? LookResult::Done : LookResult::NotWritten;
}

ImportedLook import_look(const std::string &path)
{
	const QFileInfo file(QString::fromStdString(path));
	if (!file.isFile() || !file.isReadable())
		return {LookResult::Unreadable, nullptr};
	if (!is_small_file(path.c_str(), largest_look_bytes))
		return {LookResult::TooLarge, nullptr};
	OBSDataAutoRelease look = obs_data_create_from_json_file(path.c_str());
	const long long version = look ? obs_data_get_int(look, version_key) : 0;
	if (version > look_version)
		return {LookResult::Newer, nullptr};
	if (version != look_version || !is_object(look, settings_key))
		return {LookResult::NotALook, nullptr};
	drop_image(look);
	return {LookResult::Done, std::move(look)};
}

} // namespace kalvio
