// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/parameter_schema.h"

#include "kit/double_fixture.h"
#include "params/setting_rows.h"

#include <cmath>
#include <limits>
#include <map>
#include <obs.hpp>
#include <set>
#include <string>

namespace {

using namespace kalvio;
using namespace kalvio::test;

// A call of the host function `prefix` + type for a row: obs_data_set_default_int("bg_fill", 0).
Call setter_call(const std::string &prefix, const SettingRow &row)
{
	return std::visit(
		[&](auto value) -> Call {
			using Value = decltype(value);
			if constexpr (std::is_same_v<Value, bool>)
				return {prefix + "bool", {row.key, value}};
			else if constexpr (std::is_same_v<Value, int>)
				return {prefix + "int", {row.key, value}};
			else if constexpr (std::is_same_v<Value, double>)
				return {prefix + "double", {row.key, value}};
			else
				return {prefix + "string", {row.key, value}};
		},
		row.default_value);
}

std::vector<Call> setter_calls(const std::string &prefix)
{
	std::vector<Call> calls;
	for (const SettingRow &row : setting_rows)
		calls.push_back(setter_call(prefix, row));
	return calls;
}

// Every field that is a number, by the setting that carries it.
std::map<std::string, double> numbers_of(const ParameterSet &s)
{
	return {
		{"enabled", s.enabled ? 1 : 0},
		{"skin_only", s.skin.skin_only ? 1 : 0},
		{"smoothing", s.skin.smoothing},
		{"smoothing_style", static_cast<int>(s.skin.smoothing_style)},
		{"whitening", s.skin.whitening},
		{"whitening_style", static_cast<int>(s.skin.whitening_style)},
		{"rosiness", s.skin.rosiness},
		{"sharpening", s.skin.sharpening},
		{"face_thin", s.reshape[0]},
		{"face_vshape", s.reshape[1]},
		{"face_narrow", s.reshape[2]},
		{"face_short", s.reshape[3]},
		{"cheekbone", s.reshape[4]},
		{"jawbone", s.reshape[5]},
		{"chin", s.reshape[6]},
		{"nose_slim", s.reshape[7]},
		{"eye_size", s.reshape[8]},
		{"eye_distance", s.reshape[9]},
		{"face_small", s.reshape[10]},
		{"forehead", s.reshape[11]},
		{"nose_long", s.reshape[12]},
		{"philtrum", s.reshape[13]},
		{"mouth_size", s.reshape[14]},
		{"mouth_position", s.reshape[15]},
		{"mouth_smile", s.reshape[16]},
		{"lip_thickness", s.reshape[17]},
		{"eye_round", s.reshape[18]},
		{"eye_position", s.reshape[19]},
		{"eye_angle", s.reshape[20]},
		{"eye_corner_open", s.reshape[21]},
		{"lower_eyelid", s.reshape[22]},
		{"brow_position", s.reshape[23]},
		{"brow_distance", s.reshape[24]},
		{"brow_thickness", s.reshape[25]},
		{"body_slim", s.body[0]},
		{"waist_slim", s.body[1]},
		{"leg_slim", s.body[2]},
		{"shoulder_slim", s.body[3]},
		{"arm_slim", s.body[4]},
		{"leg_long", s.body[5]},
		{"bust_enhance", s.body[6]},
		{"leg_stretch", s.body[7]},
		{"torso_long", s.body[8]},
		{"lipstick", s.makeup.lipstick.strength},
		{"lipstick_color", static_cast<int>(s.makeup.lipstick.color)},
		{"blush", s.makeup.blush.strength},
		{"blush_style", static_cast<int>(s.makeup.blush.style)},
		{"blush_color", static_cast<int>(s.makeup.blush.color)},
		{"contour", s.makeup.contour.strength},
		{"contour_style", static_cast<int>(s.makeup.contour.style)},
		{"eyeshadow", s.makeup.eyeshadow.strength},
		{"eyeshadow_style", static_cast<int>(s.makeup.eyeshadow.style)},
		{"eyeshadow_color", static_cast<int>(s.makeup.eyeshadow.color)},
		{"eyeliner", s.makeup.eyeliner.strength},
		{"eyeliner_style", static_cast<int>(s.makeup.eyeliner.style)},
		{"eyeliner_color", static_cast<int>(s.makeup.eyeliner.color)},
		{"eyebrow", s.makeup.eyebrow.strength},
		{"eyebrow_style", static_cast<int>(s.makeup.eyebrow.style)},
		{"eyebrow_color", static_cast<int>(s.makeup.eyebrow.color)},
		{"eyelash", s.makeup.eyelash.strength},
		{"eyelash_style", static_cast<int>(s.makeup.eyelash.style)},
		{"eyelash_color", static_cast<int>(s.makeup.eyelash.color)},
		{"pupil", s.makeup.pupil.strength},
		{"pupil_color", static_cast<int>(s.makeup.pupil.color)},
		{"bg_fill", s.background.fill},
		{"bg_blur", s.background.blur},
		{"chroma", s.background.chroma},
		{"chroma_similarity", s.background.chroma_similarity},
		{"chroma_smoothness", s.background.chroma_smoothness},
		{"chroma_desaturation", s.background.chroma_desaturation},
		{"filter_intensity", s.filter.intensity},
	};
}

std::map<std::string, std::string> texts_of(const ParameterSet &s)
{
	return {
		{"bg_preset", s.background.preset},
		{"bg_image", s.background.image},
		{"filter_id", s.filter.id},
		{"sticker_id", s.sticker_id},
	};
}

// Another value than the default; exact in single precision.
void set_other_value(obs_data_t *settings, const SettingRow &row)
{
	if (const bool *flag = std::get_if<bool>(&row.default_value))
		obs_data_set_bool(settings, row.key, !*flag);
	else if (const int *number = std::get_if<int>(&row.default_value))
		obs_data_set_int(settings, row.key, *number + 5);
	else if (const double *strength = std::get_if<double>(&row.default_value))
		obs_data_set_double(settings, row.key, *strength + 0.25);
	else
		obs_data_set_string(settings, row.key, "другое");
}

OBSDataAutoRelease settings_from_json(const char *json)
{
	OBSDataAutoRelease settings = obs_data_create_from_json(json);
	register_defaults(settings);
	return settings;
}

class ParameterSchema : public DoubleFixture {};

TEST_F(ParameterSchema, DefaultsAreRegisteredInTableOrderWithTheirTypes)
{
	const OBSDataAutoRelease settings = obs_data_create();
	register_defaults(settings);
	EXPECT_EQ(call_journal().calls(), setter_calls("obs_data_set_default_"));
}

TEST_F(ParameterSchema, WritingRegistersTheDefaultsAndThenSetsEveryKeyInTableOrder)
{
	const OBSDataAutoRelease settings = obs_data_create();
	write_parameters(ParameterSet(), settings);

	std::vector<Call> expected = setter_calls("obs_data_set_default_");
	for (const Call &call : setter_calls("obs_data_set_"))
		expected.push_back(call);
	EXPECT_EQ(call_journal().calls(), expected);
}

TEST_F(ParameterSchema, ReadingReadsEveryKeyOnceInTableOrderByItsType)
{
	const OBSDataAutoRelease settings = obs_data_create();
	ParameterSet set;
	read_parameters(settings, set);

	std::vector<Call> expected = setter_calls("obs_data_get_");
	for (Call &call : expected)
		call.arguments.pop_back(); // a getter takes the key alone
	EXPECT_EQ(call_journal().calls(), expected);
}

TEST_F(ParameterSchema, SettingsThatHoldOnlyEnabledReadAsTheDefaults)
{
	const OBSDataAutoRelease settings = settings_from_json(R"({"enabled": false})");
	ParameterSet set;
	set.skin.smoothing = 1.0f; // must be overwritten
	set.sticker_id = "fox";
	read_parameters(settings, set);

	EXPECT_FALSE(set.enabled);
	EXPECT_EQ(set.skin.smoothing_style, beauty_params::SmoothingStyle::Texture);
	EXPECT_EQ(set.makeup.blush.style, beauty_params::BlushStyle::Soft);
	EXPECT_EQ(set.makeup.eyeliner.color, beauty_params::EyeLinerColor::Coffee);
	EXPECT_EQ(set.filter.intensity, 0.5f);
	EXPECT_EQ(set.background.preset, "office");
	const std::set<std::string> with_default = {"smoothing_style", "blush_style", "eyeliner_color",
						    "filter_intensity"};
	for (const auto &[key, number] : numbers_of(set)) {
		if (!with_default.contains(key)) {
			EXPECT_EQ(number, 0.0) << key;
		}
	}
	EXPECT_EQ(set.background.image, "");
	EXPECT_EQ(set.filter.id, "");
	EXPECT_EQ(set.sticker_id, "");
}

TEST_F(ParameterSchema, AFreshSetEqualsTheDefaults)
{
	const OBSDataAutoRelease settings = obs_data_create();
	register_defaults(settings);
	ParameterSet set;
	read_parameters(settings, set);
	EXPECT_EQ(set, ParameterSet());
	EXPECT_TRUE(ParameterSet().enabled);
}

TEST_F(ParameterSchema, EachKeyFillsItsOwnFieldAndNoOther)
{
	const std::map<std::string, double> initial_numbers = numbers_of(ParameterSet());
	ASSERT_EQ(initial_numbers.size() + texts_of(ParameterSet()).size(), setting_rows.size());
	for (const SettingRow &row : setting_rows) {
		SCOPED_TRACE(row.key);
		const OBSDataAutoRelease settings = obs_data_create();
		register_defaults(settings);
		set_other_value(settings, row);
		ParameterSet set;
		read_parameters(settings, set);

		for (const auto &[key, number] : numbers_of(set))
			EXPECT_EQ(number != initial_numbers.at(key), key == row.key) << key;
		for (const auto &[key, text] : texts_of(set))
			EXPECT_EQ(text == "другое", key == row.key) << key;
	}
}

TEST_F(ParameterSchema, EachKeySurvivesARoundTripThroughTheSet)
{
	for (const SettingRow &row : setting_rows) {
		SCOPED_TRACE(row.key);
		const OBSDataAutoRelease settings = obs_data_create();
		register_defaults(settings);
		set_other_value(settings, row);
		ParameterSet set;
		read_parameters(settings, set);

		const OBSDataAutoRelease written = obs_data_create();
		write_parameters(set, written);
		ParameterSet again;
		read_parameters(written, again);
		EXPECT_EQ(again, set);
		EXPECT_NE(again, ParameterSet());
	}
}

TEST_F(ParameterSchema, WritingStoresAlsoTheValuesThatEqualTheirDefaults)
{
	const OBSDataAutoRelease settings = obs_data_create();
	write_parameters(ParameterSet(), settings);
	for (const SettingRow &row : setting_rows)
		EXPECT_TRUE(obs_data_has_user_value(settings, row.key)) << row.key;
}

TEST_F(ParameterSchema, StrengthsAreSinglePrecisionInTheSetAndWidenedInTheSettings)
{
	ParameterSet set;
	set.skin.smoothing = 0.37f;
	const OBSDataAutoRelease settings = obs_data_create();
	write_parameters(set, settings);
	EXPECT_EQ(obs_data_get_double(settings, "smoothing"), 0.37000000476837158);
}

TEST_F(ParameterSchema, ReshapeValuesAreIndexedByEngineIdNotByPosition)
{
	const OBSDataAutoRelease settings = settings_from_json(R"({"face_small": -0.37, "torso_long": 0.5})");
	ParameterSet set;
	read_parameters(settings, set);
	EXPECT_EQ(set.reshape[10], -0.37f);
	EXPECT_EQ(set.reshape[2], 0.0f); // its place in the table
	EXPECT_EQ(set.body[8], 0.5f);
	EXPECT_EQ(set.body[1], 0.0f);
}

TEST_F(ParameterSchema, ValuesOutsideTheirRangeAreKept)
{
	const OBSDataAutoRelease settings = settings_from_json(
		R"({"smoothing": 7.5, "face_thin": -3.5, "body_slim": -0.2, "smoothing_style": 99, "blush_color": -4,
		    "chroma": 42, "bg_fill": -7})");
	ParameterSet set;
	read_parameters(settings, set);
	const OBSDataAutoRelease written = obs_data_create();
	write_parameters(set, written);

	EXPECT_EQ(obs_data_get_double(written, "smoothing"), 7.5);
	EXPECT_EQ(obs_data_get_double(written, "face_thin"), -3.5);
	EXPECT_EQ(obs_data_get_double(written, "body_slim"), static_cast<double>(-0.2f));
	EXPECT_EQ(obs_data_get_int(written, "smoothing_style"), 99);
	EXPECT_EQ(obs_data_get_int(written, "blush_color"), -4);
	EXPECT_EQ(obs_data_get_int(written, "chroma"), 42);
	EXPECT_EQ(obs_data_get_int(written, "bg_fill"), -7);
}

TEST_F(ParameterSchema, NotANumberAndInfinityAreKept)
{
	const OBSDataAutoRelease settings = obs_data_create();
	obs_data_set_double(settings, "rosiness", std::numeric_limits<double>::quiet_NaN());
	obs_data_set_double(settings, "pupil", std::numeric_limits<double>::infinity());
	ParameterSet set;
	read_parameters(settings, set);
	EXPECT_TRUE(std::isnan(set.skin.rosiness));
	EXPECT_EQ(set.makeup.pupil.strength, std::numeric_limits<float>::infinity());
}

TEST_F(ParameterSchema, ADoubleBeyondSinglePrecisionReadsAsInfinity)
{
	const OBSDataAutoRelease settings = settings_from_json(R"({"smoothing": 1e300})");
	ParameterSet set;
	read_parameters(settings, set);
	EXPECT_EQ(set.skin.smoothing, std::numeric_limits<float>::infinity());
}

TEST_F(ParameterSchema, WholeNumbersAndFractionsStandInForEachOther)
{
	const OBSDataAutoRelease settings = settings_from_json(R"({"smoothing": 1, "smoothing_style": 2.0})");
	ParameterSet set;
	read_parameters(settings, set);
	EXPECT_EQ(set.skin.smoothing, 1.0f);
	EXPECT_EQ(set.skin.smoothing_style, beauty_params::SmoothingStyle::Smooth);
}

TEST_F(ParameterSchema, ValuesOfAnotherTypeReadAsZeroFalseOrEmpty)
{
	const OBSDataAutoRelease settings = obs_data_create_from_json(
		R"({"enabled": "yes", "smoothing": "0.5", "smoothing_style": true, "bg_preset": 5,
		    "filter_id": {"a": 1}, "sticker_id": [1], "filter_intensity": {"b": 2}})");
	ParameterSet set;
	set.background.preset = "before";
	read_parameters(settings, set);
	EXPECT_FALSE(set.enabled);
	EXPECT_EQ(set.skin.smoothing, 0.0f);
	EXPECT_EQ(static_cast<int>(set.skin.smoothing_style), 0);
	EXPECT_EQ(set.filter.intensity, 0.0f);
	EXPECT_EQ(set.background.preset, "");
	EXPECT_EQ(set.filter.id, "");
	EXPECT_EQ(set.sticker_id, "");
}

TEST_F(ParameterSchema, ValuesOfAnotherTypeDoNotDisturbTheRegistrationOfDefaults)
{
	const OBSDataAutoRelease settings = settings_from_json(R"({"smoothing": "0.5", "bg_preset": 5, "enabled": 0})");
	ParameterSet set;
	read_parameters(settings, set);
	EXPECT_EQ(set.filter.intensity, 0.5f);
	EXPECT_EQ(set.skin.smoothing_style, beauty_params::SmoothingStyle::Texture);
}

} // namespace
