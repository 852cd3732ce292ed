// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/parameter_schema.h"

#include "kit/double_fixture.h"
#include "params/setting_rows.h"

#include <cmath>
#include <functional>
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
const std::map<std::string, std::function<double(const ParameterSet &)>> number_fields = {
	{"enabled",
	 [](const ParameterSet &s) {
		 return s.enabled;
	 }},
	{"skin_only",
	 [](const ParameterSet &s) {
		 return s.skin_only;
	 }},
	{"smoothing",
	 [](const ParameterSet &s) {
		 return s.smoothing;
	 }},
	{"smoothing_style",
	 [](const ParameterSet &s) {
		 return static_cast<int>(s.smoothing_style);
	 }},
	{"whitening",
	 [](const ParameterSet &s) {
		 return s.whitening;
	 }},
	{"whitening_style",
	 [](const ParameterSet &s) {
		 return static_cast<int>(s.whitening_style);
	 }},
	{"rosiness",
	 [](const ParameterSet &s) {
		 return s.rosiness;
	 }},
	{"sharpening",
	 [](const ParameterSet &s) {
		 return s.sharpening;
	 }},
	{"face_thin",
	 [](const ParameterSet &s) {
		 return s.reshape[0];
	 }},
	{"face_vshape",
	 [](const ParameterSet &s) {
		 return s.reshape[1];
	 }},
	{"face_narrow",
	 [](const ParameterSet &s) {
		 return s.reshape[2];
	 }},
	{"face_short",
	 [](const ParameterSet &s) {
		 return s.reshape[3];
	 }},
	{"cheekbone",
	 [](const ParameterSet &s) {
		 return s.reshape[4];
	 }},
	{"jawbone",
	 [](const ParameterSet &s) {
		 return s.reshape[5];
	 }},
	{"chin",
	 [](const ParameterSet &s) {
		 return s.reshape[6];
	 }},
	{"nose_slim",
	 [](const ParameterSet &s) {
		 return s.reshape[7];
	 }},
	{"eye_size",
	 [](const ParameterSet &s) {
		 return s.reshape[8];
	 }},
	{"eye_distance",
	 [](const ParameterSet &s) {
		 return s.reshape[9];
	 }},
	{"face_small",
	 [](const ParameterSet &s) {
		 return s.reshape[10];
	 }},
	{"forehead",
	 [](const ParameterSet &s) {
		 return s.reshape[11];
	 }},
	{"nose_long",
	 [](const ParameterSet &s) {
		 return s.reshape[12];
	 }},
	{"philtrum",
	 [](const ParameterSet &s) {
		 return s.reshape[13];
	 }},
	{"mouth_size",
	 [](const ParameterSet &s) {
		 return s.reshape[14];
	 }},
	{"mouth_position",
	 [](const ParameterSet &s) {
		 return s.reshape[15];
	 }},
	{"mouth_smile",
	 [](const ParameterSet &s) {
		 return s.reshape[16];
	 }},
	{"lip_thickness",
	 [](const ParameterSet &s) {
		 return s.reshape[17];
	 }},
	{"eye_round",
	 [](const ParameterSet &s) {
		 return s.reshape[18];
	 }},
	{"eye_position",
	 [](const ParameterSet &s) {
		 return s.reshape[19];
	 }},
	{"eye_angle",
	 [](const ParameterSet &s) {
		 return s.reshape[20];
	 }},
	{"eye_corner_open",
	 [](const ParameterSet &s) {
		 return s.reshape[21];
	 }},
	{"lower_eyelid",
	 [](const ParameterSet &s) {
		 return s.reshape[22];
	 }},
	{"brow_position",
	 [](const ParameterSet &s) {
		 return s.reshape[23];
	 }},
	{"brow_distance",
	 [](const ParameterSet &s) {
		 return s.reshape[24];
	 }},
	{"brow_thickness",
	 [](const ParameterSet &s) {
		 return s.reshape[25];
	 }},
	{"body_slim",
	 [](const ParameterSet &s) {
		 return s.body[0];
	 }},
	{"waist_slim",
	 [](const ParameterSet &s) {
		 return s.body[1];
	 }},
	{"leg_slim",
	 [](const ParameterSet &s) {
		 return s.body[2];
	 }},
	{"shoulder_slim",
	 [](const ParameterSet &s) {
		 return s.body[3];
	 }},
	{"arm_slim",
	 [](const ParameterSet &s) {
		 return s.body[4];
	 }},
	{"leg_long",
	 [](const ParameterSet &s) {
		 return s.body[5];
	 }},
	{"bust_enhance",
	 [](const ParameterSet &s) {
		 return s.body[6];
	 }},
	{"leg_stretch",
	 [](const ParameterSet &s) {
		 return s.body[7];
	 }},
	{"torso_long",
	 [](const ParameterSet &s) {
		 return s.body[8];
	 }},
	{"lipstick",
	 [](const ParameterSet &s) {
		 return s.lipstick;
	 }},
	{"lipstick_color",
	 [](const ParameterSet &s) {
		 return static_cast<int>(s.lipstick_color);
	 }},
	{"blush",
	 [](const ParameterSet &s) {
		 return s.blush;
	 }},
	{"blush_style",
	 [](const ParameterSet &s) {
		 return static_cast<int>(s.blush_style);
	 }},
	{"blush_color",
	 [](const ParameterSet &s) {
		 return static_cast<int>(s.blush_color);
	 }},
	{"contour",
	 [](const ParameterSet &s) {
		 return s.contour;
	 }},
	{"contour_style",
	 [](const ParameterSet &s) {
		 return static_cast<int>(s.contour_style);
	 }},
	{"eyeshadow",
	 [](const ParameterSet &s) {
		 return s.eyeshadow;
	 }},
	{"eyeshadow_style",
	 [](const ParameterSet &s) {
		 return static_cast<int>(s.eyeshadow_style);
	 }},
	{"eyeshadow_color",
	 [](const ParameterSet &s) {
		 return static_cast<int>(s.eyeshadow_color);
	 }},
	{"eyeliner",
	 [](const ParameterSet &s) {
		 return s.eyeliner;
	 }},
	{"eyeliner_style",
	 [](const ParameterSet &s) {
		 return static_cast<int>(s.eyeliner_style);
	 }},
	{"eyeliner_color",
	 [](const ParameterSet &s) {
		 return static_cast<int>(s.eyeliner_color);
	 }},
	{"eyebrow",
	 [](const ParameterSet &s) {
		 return s.eyebrow;
	 }},
	{"eyebrow_style",
	 [](const ParameterSet &s) {
		 return static_cast<int>(s.eyebrow_style);
	 }},
	{"eyebrow_color",
	 [](const ParameterSet &s) {
		 return static_cast<int>(s.eyebrow_color);
	 }},
	{"eyelash",
	 [](const ParameterSet &s) {
		 return s.eyelash;
	 }},
	{"eyelash_style",
	 [](const ParameterSet &s) {
		 return static_cast<int>(s.eyelash_style);
	 }},
	{"eyelash_color",
	 [](const ParameterSet &s) {
		 return static_cast<int>(s.eyelash_color);
	 }},
	{"pupil",
	 [](const ParameterSet &s) {
		 return s.pupil;
	 }},
	{"pupil_color",
	 [](const ParameterSet &s) {
		 return static_cast<int>(s.pupil_color);
	 }},
	{"bg_fill",
	 [](const ParameterSet &s) {
		 return s.bg_fill;
	 }},
	{"bg_blur",
	 [](const ParameterSet &s) {
		 return s.bg_blur;
	 }},
	{"chroma",
	 [](const ParameterSet &s) {
		 return s.chroma;
	 }},
	{"chroma_similarity",
	 [](const ParameterSet &s) {
		 return s.chroma_similarity;
	 }},
	{"chroma_smoothness",
	 [](const ParameterSet &s) {
		 return s.chroma_smoothness;
	 }},
	{"chroma_desaturation",
	 [](const ParameterSet &s) {
		 return s.chroma_desaturation;
	 }},
	{"filter_intensity",
	 [](const ParameterSet &s) {
		 return s.filter_intensity;
	 }},
};

const std::map<std::string, std::string ParameterSet::*> text_fields = {
	{"bg_preset", &ParameterSet::bg_preset},
	{"bg_image", &ParameterSet::bg_image},
	{"filter_id", &ParameterSet::filter_id},
	{"sticker_id", &ParameterSet::sticker_id},
};

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
	set.smoothing = 1.0f; // must be overwritten
	set.sticker_id = "fox";
	read_parameters(settings, set);

	EXPECT_FALSE(set.enabled);
	EXPECT_EQ(set.smoothing_style, beauty_params::SmoothingStyle::Texture);
	EXPECT_EQ(set.blush_style, beauty_params::BlushStyle::Soft);
	EXPECT_EQ(set.eyeliner_color, beauty_params::EyeLinerColor::Coffee);
	EXPECT_EQ(set.filter_intensity, 0.5f);
	EXPECT_EQ(set.bg_preset, "office");
	const std::set<std::string> with_default = {"smoothing_style", "blush_style", "eyeliner_color",
						    "filter_intensity"};
	for (const auto &[key, field] : number_fields) {
		if (!with_default.contains(key)) {
			EXPECT_EQ(field(set), 0.0) << key;
		}
	}
	EXPECT_EQ(set.bg_image, "");
	EXPECT_EQ(set.filter_id, "");
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
	ASSERT_EQ(number_fields.size() + text_fields.size(), setting_rows.size());
	for (const SettingRow &row : setting_rows) {
		SCOPED_TRACE(row.key);
		const OBSDataAutoRelease settings = obs_data_create();
		register_defaults(settings);
		set_other_value(settings, row);
		ParameterSet set;
		read_parameters(settings, set);

		for (const auto &[key, field] : number_fields)
			EXPECT_EQ(field(set) != field(ParameterSet()), key == row.key) << key;
		for (const auto &[key, field] : text_fields)
			EXPECT_EQ(set.*field == "другое", key == row.key) << key;
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
	set.smoothing = 0.37f;
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
	EXPECT_TRUE(std::isnan(set.rosiness));
	EXPECT_EQ(set.pupil, std::numeric_limits<float>::infinity());
}

TEST_F(ParameterSchema, ADoubleBeyondSinglePrecisionReadsAsInfinity)
{
	const OBSDataAutoRelease settings = settings_from_json(R"({"smoothing": 1e300})");
	ParameterSet set;
	read_parameters(settings, set);
	EXPECT_EQ(set.smoothing, std::numeric_limits<float>::infinity());
}

TEST_F(ParameterSchema, WholeNumbersAndFractionsStandInForEachOther)
{
	const OBSDataAutoRelease settings = settings_from_json(R"({"smoothing": 1, "smoothing_style": 2.0})");
	ParameterSet set;
	read_parameters(settings, set);
	EXPECT_EQ(set.smoothing, 1.0f);
	EXPECT_EQ(set.smoothing_style, beauty_params::SmoothingStyle::Smooth);
}

TEST_F(ParameterSchema, ValuesOfAnotherTypeReadAsZeroFalseOrEmpty)
{
	const OBSDataAutoRelease settings = obs_data_create_from_json(
		R"({"enabled": "yes", "smoothing": "0.5", "smoothing_style": true, "bg_preset": 5,
		    "filter_id": {"a": 1}, "sticker_id": [1], "filter_intensity": {"b": 2}})");
	ParameterSet set;
	set.bg_preset = "before";
	read_parameters(settings, set);
	EXPECT_FALSE(set.enabled);
	EXPECT_EQ(set.smoothing, 0.0f);
	EXPECT_EQ(static_cast<int>(set.smoothing_style), 0);
	EXPECT_EQ(set.filter_intensity, 0.0f);
	EXPECT_EQ(set.bg_preset, "");
	EXPECT_EQ(set.filter_id, "");
	EXPECT_EQ(set.sticker_id, "");
}

TEST_F(ParameterSchema, ValuesOfAnotherTypeDoNotDisturbTheRegistrationOfDefaults)
{
	const OBSDataAutoRelease settings = settings_from_json(R"({"smoothing": "0.5", "bg_preset": 5, "enabled": 0})");
	ParameterSet set;
	read_parameters(settings, set);
	EXPECT_EQ(set.filter_intensity, 0.5f);
	EXPECT_EQ(set.smoothing_style, beauty_params::SmoothingStyle::Texture);
}

} // namespace
