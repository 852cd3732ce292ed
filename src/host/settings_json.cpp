// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/settings_json.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <obs.hpp>
#include <string_view>

namespace kalvio {

namespace {

constexpr size_t usual_length = 4096; // of the module's own settings

bool is_plain(std::string_view text)
{
	return std::ranges::all_of(
		text, [](char letter) { return letter >= ' ' && letter <= '~' && letter != '"' && letter != '\\'; });
}

template <class Number>
std::string_view number_text(Number number, std::array<char, 32> &buffer)
{
	const std::to_chars_result end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number);
	return {buffer.data(), static_cast<size_t>(end.ptr - buffer.data())};
}

void append_number(std::string &json, obs_data_item_t *item)
{
	std::array<char, 32> buffer = {};
	if (obs_data_item_numtype(item) == OBS_DATA_NUM_INT) {
		json += number_text(obs_data_item_get_int(item), buffer);
		return;
	}
	const std::string_view text = number_text(obs_data_item_get_double(item), buffer);
	json += text;
	if (text.find_first_of(".e") == std::string_view::npos)
		json += ".0"; // else the host would read an integer
}

void copy_item(obs_data_t *dest, obs_data_item_t *item)
{
	const char *key = obs_data_item_get_name(item);
	switch (obs_data_item_gettype(item)) {
	case OBS_DATA_STRING:
		obs_data_set_string(dest, key, obs_data_item_get_string(item));
		break;
	case OBS_DATA_BOOLEAN:
		obs_data_set_bool(dest, key, obs_data_item_get_bool(item));
		break;
	case OBS_DATA_NUMBER:
		if (obs_data_item_numtype(item) == OBS_DATA_NUM_INT)
			obs_data_set_int(dest, key, obs_data_item_get_int(item));
		else
			obs_data_set_double(dest, key, obs_data_item_get_double(item));
		break;
	case OBS_DATA_OBJECT:
		obs_data_set_obj(dest, key, OBSDataAutoRelease(obs_data_item_get_obj(item)));
		break;
	case OBS_DATA_ARRAY:
		obs_data_set_array(dest, key, OBSDataArrayAutoRelease(obs_data_item_get_array(item)));
		break;
	case OBS_DATA_NULL:
		break;
	}
}

// What the host writes of an object with this item alone, without its braces. The host leaves out what it cannot write.
bool append_by_host(std::string &json, obs_data_item_t *item)
{
	const OBSDataAutoRelease single = obs_data_create();
	copy_item(single, item);
	const char *written = obs_data_get_json(single);
	const std::string_view text = written ? written : "{}";
	if (text.size() <= 2)
		return false;
	json += text.substr(1, text.size() - 2);
	return true;
}

bool is_simple(obs_data_item_t *item)
{
	switch (obs_data_item_gettype(item)) {
	case OBS_DATA_STRING:
		return is_plain(obs_data_item_get_string(item));
	case OBS_DATA_BOOLEAN:
		return true;
	case OBS_DATA_NUMBER:
		return std::isfinite(obs_data_item_get_double(item));
	default:
		return false;
	}
}

bool append_item(std::string &json, obs_data_item_t *item)
{
	const char *key = obs_data_item_get_name(item);
	if (!is_plain(key) || !is_simple(item))
		return append_by_host(json, item);
	json += '"';
	json += key;
	json += "\":";
	if (obs_data_item_gettype(item) == OBS_DATA_NUMBER)
		append_number(json, item);
	else if (obs_data_item_gettype(item) == OBS_DATA_BOOLEAN)
		json += obs_data_item_get_bool(item) ? "true" : "false";
	else
		json.append("\"").append(obs_data_item_get_string(item)).append("\"");
	return true;
}

} // namespace

std::optional<std::string> settings_json(obs_data_t *settings)
{
	std::string json;
	json.reserve(usual_length);
	json += '{';
	bool is_written = true;
	obs_data_item_t *item = obs_data_first(settings);
	for (; item && is_written; obs_data_item_next(&item)) {
		if (!obs_data_item_has_user_value(item))
			continue;
		if (json.size() > 1)
			json += ',';
		is_written = append_item(json, item);
	}
	obs_data_item_release(&item);
	if (!is_written)
		return {};
	json += '}';
	return json;
}

} // namespace kalvio
