// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/settings_json.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <obs.hpp>

namespace kalvio::test {
namespace {

// What the host reads of it and writes again.
std::string read_and_written(const std::string &json)
{
	const OBSDataAutoRelease data = obs_data_create_from_json(json.c_str());
	const char *written = data ? obs_data_get_json(data) : nullptr;
	return written ? written : "";
}

class SettingsJson : public ::testing::Test {
protected:
	std::string written_by_host() { return obs_data_get_json(data_); }

	OBSDataAutoRelease data_ = obs_data_create();
};

} // namespace

TEST_F(SettingsJson, IsEmptyWithoutItems)
{
	EXPECT_EQ(settings_json(data_), "{}");
	EXPECT_EQ(settings_json(nullptr), "{}");
}

TEST_F(SettingsJson, HasTheItemsInTheirOrder)
{
	obs_data_set_double(data_, "z", 0.25);
	obs_data_set_bool(data_, "a", true);
	obs_data_set_bool(data_, "m", false);
	obs_data_set_int(data_, "count", -7);
	obs_data_set_string(data_, "id", "rose");
	const std::string json = settings_json(data_).value();
	EXPECT_EQ(read_and_written(json), written_by_host());
	EXPECT_NE(json.find("\"count\":-7"), std::string::npos);
	EXPECT_NE(json.find("\"id\":\"rose\""), std::string::npos);
}

TEST_F(SettingsJson, LeavesOutWhatOnlyHasItsDefault)
{
	obs_data_set_default_double(data_, "smoothing", 0.5);
	obs_data_set_default_bool(data_, "enabled", true);
	obs_data_set_bool(data_, "enabled", true);
	EXPECT_EQ(settings_json(data_), "{\"enabled\":true}");
}

TEST_F(SettingsJson, KeepsWholeNumbersAndFractionsApart)
{
	obs_data_set_double(data_, "one", 1.0);
	EXPECT_EQ(settings_json(data_), "{\"one\":1.0}");
	obs_data_set_int(data_, "one", 1);
	EXPECT_EQ(settings_json(data_), "{\"one\":1}");
}

TEST_F(SettingsJson, KeepsEveryBitOfANumber)
{
	for (const double value : {0.1f / 1.0, 1.0 / 3, -0.0, 1e-310, 1e22, 123456789012345680.0,
				   std::numeric_limits<double>::max(), std::numeric_limits<double>::denorm_min()}) {
		obs_data_set_double(data_, "value", value);
		const OBSDataAutoRelease read = obs_data_create_from_json(settings_json(data_).value().c_str());
		const double after = obs_data_get_double(read, "value");
		EXPECT_EQ(after, value);
		EXPECT_EQ(std::signbit(after), std::signbit(value));
	}
	for (const long long value : {std::numeric_limits<long long>::min(), std::numeric_limits<long long>::max()}) {
		obs_data_set_int(data_, "value", value);
		const OBSDataAutoRelease read = obs_data_create_from_json(settings_json(data_).value().c_str());
		EXPECT_EQ(obs_data_get_int(read, "value"), value);
	}
}

TEST_F(SettingsJson, KeepsTextsAndKeysOfAnyLetters)
{
	const char *texts[] = {"", "a \"quoted\" one", "back\\slash", "two\nlines\ttab", "\x01\x1f\x7f", "日本 Ü 🎥"};
	for (const char *text : texts) {
		obs_data_set_string(data_, "text", text);
		const OBSDataAutoRelease read = obs_data_create_from_json(settings_json(data_).value().c_str());
		EXPECT_STREQ(obs_data_get_string(read, "text"), text);
	}
	obs_data_set_double(data_, "a \"key\"", 0.5);
	obs_data_set_bool(data_, "Schlüssel", true);
	EXPECT_EQ(read_and_written(settings_json(data_).value()), written_by_host());
}

TEST_F(SettingsJson, KeepsObjectsAndArrays)
{
	const OBSDataAutoRelease inner = obs_data_create();
	obs_data_set_int(inner, "depth", 2);
	const OBSDataArrayAutoRelease array = obs_data_array_create();
	obs_data_array_push_back(array, inner);
	obs_data_set_obj(data_, "object", inner);
	obs_data_set_array(data_, "array", array);
	obs_data_set_bool(data_, "last", true);
	EXPECT_EQ(read_and_written(settings_json(data_).value()), written_by_host());
}

TEST_F(SettingsJson, IsNothingWhereAValueCannotBeWritten)
{
	obs_data_set_string(data_, "text", "cut\xc3");
	EXPECT_EQ(settings_json(data_), std::nullopt);
	obs_data_erase(data_, "text");
	for (const double value : {std::numeric_limits<double>::infinity(), std::nan("")}) {
		obs_data_set_double(data_, "value", value);
		EXPECT_EQ(settings_json(data_), std::nullopt);
	}
	obs_data_erase(data_, "value");
	EXPECT_EQ(settings_json(data_), "{}");
}

} // namespace kalvio::test
