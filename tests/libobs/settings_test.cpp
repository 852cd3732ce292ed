// SPDX-License-Identifier: GPL-2.0-or-later
#include "libobs/recording_test.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

// From the host's settings to the engine: when they arrive, on which thread, and what odd values become.
namespace kalvio::test {

namespace {

class SettingsTest : public RecordingTest {
protected:
	const Picture picture_ = pattern_picture(16, 16);
};

std::vector<Call> setter_calls(const std::vector<Call> &calls)
{
	std::vector<Call> setters;
	std::ranges::copy_if(calls, std::back_inserter(setters), [](const Call &call) {
		return call.name.starts_with("kl_set_") || call.name.starts_with("kl_clear_");
	});
	return setters;
}

std::thread::id graphics_thread()
{
	std::thread::id id;
	on_graphics_thread([&id] { id = std::this_thread::get_id(); });
	return id;
}

// What one application of settings sends with the color key off and no resource changed.
constexpr size_t beauty_calls = 64;

TEST_F(SettingsTest, CreationAppliesTheSettingsTwice)
{
	const OBSSourceAutoRelease filter = create_filter("Beauty", settings_from(R"({"smoothing": 0.5})"));

	EXPECT_EQ(call_journal().calls_named("kl_set_smoothing"),
		  std::vector<Call>(2, Call{"kl_set_smoothing", {0.5F}, {}, {}, {}, {}}));
	EXPECT_EQ(call_journal().count("kl_clear_virtual_background"), 1U);
}

TEST_F(SettingsTest, UpdateIsAppliedByTheNextTickOnTheGraphicsThread)
{
	const OBSSourceAutoRelease filter = create_filter("Beauty");
	call_journal().take();

	{
		const PausedGraphicsThread paused;
		obs_source_update(filter, settings_from(R"({"smoothing": 0.5})"));
		EXPECT_EQ(call_journal().take(), std::vector<Call>());
	}
	wait_for_tick();

	const std::vector<Call> calls = setter_calls(call_journal().take());
	ASSERT_EQ(calls.size(), beauty_calls);
	EXPECT_EQ(calls.front(), (Call{"kl_set_smoothing", {0.5F}, {}, {}, {}, {}}));
	for (const Call &call : calls)
		ASSERT_EQ(call.thread, graphics_thread());
}

TEST_F(SettingsTest, UpdatesWithinOneTickAreAppliedOnce)
{
	const OBSSourceAutoRelease filter = create_filter("Beauty");
	call_journal().take();

	{
		const PausedGraphicsThread paused;
		for (const char *settings : {R"({"smoothing": 0.1})", R"({"whitening": 0.2})", R"({"smoothing": 0.3})"})
			obs_source_update(filter, settings_from(settings));
	}
	wait_for_tick();

	const std::vector<Call> calls = setter_calls(call_journal().take());
	EXPECT_EQ(calls.size(), beauty_calls);
}

TEST_F(SettingsTest, SettingsReadRightAfterAnUpdateAreTheNewOnes)
{
	const OBSSourceAutoRelease filter = create_filter("Beauty");

	const PausedGraphicsThread paused;
	obs_source_update(filter, settings_from(R"({"smoothing": 0.5})"));

	const OBSDataAutoRelease settings = obs_source_get_settings(filter);
	EXPECT_EQ(obs_data_get_double(settings, "smoothing"), 0.5);
}

TEST_F(SettingsTest, SwitchingOffAndOnAgainKeepsTheEngine)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);

	for (const bool enabled : {false, true, false, true}) {
		obs_source_update(filter, settings_from(enabled ? R"({"enabled": true})" : R"({"enabled": false})"));
		wait_for_tick();
		EXPECT_EQ(render(source), enabled ? processed(picture_) : picture_);
	}
	EXPECT_EQ(engines_created(), 1U);
}

TEST_F(SettingsTest, SavedAndLoadedSourceHasItsFilterAndSettings)
{
	OBSDataAutoRelease saved;
	{
		OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
		const OBSDataAutoRelease settings =
			settings_from(R"({"smoothing": 0.5, "lipstick_color": 3, "filter_id": "rose"})");
		OBSSourceAutoRelease filter = add_filter(source, "Beauty", settings);
		saved = obs_save_source(source);
		filter = nullptr;
		release_and_wait(source);
	}
	announce_log_line({LOG_WARNING, "[Kalvio] failed to load filter rose"}); // the copy has no effect files
	call_journal().take();

	const OBSSourceAutoRelease source = obs_load_source(saved);
	set_picture(source, picture_);

	const OBSSourceAutoRelease filter = obs_source_get_filter_by_name(source, "Beauty");
	ASSERT_TRUE(filter);
	const OBSDataAutoRelease settings = obs_source_get_settings(filter);
	EXPECT_STREQ(obs_data_get_string(settings, "filter_id"), "rose");
	EXPECT_EQ(render(source), processed(picture_));
	const std::vector<Call> calls = setter_calls(call_journal().take());
	EXPECT_EQ(std::ranges::count(calls, Call{"kl_set_smoothing", {0.5F}, {}, {}, {}, {}}), 2);
	EXPECT_EQ(std::ranges::count(calls, Call{"kl_set_lipstick_color", {3}, {}, {}, {}, {}}), 2);
}

TEST_F(SettingsTest, SettingsSurviveTheHostsRestart)
{
	std::string json;
	{
		const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
		const OBSSourceAutoRelease filter =
			add_filter(source, "Beauty", settings_from(R"({"eye_size": -0.37, "enabled": false})"));
		const OBSDataAutoRelease saved = obs_save_source(source);
		json = obs_data_get_json(saved);
	}
	stop();
	start(with_plugin());
	call_journal().take();

	const OBSSourceAutoRelease source = obs_load_source(settings_from(json.c_str()));
	set_picture(source, picture_);

	EXPECT_EQ(render(source), picture_) << "the filter was saved switched off";
	const std::vector<Call> calls = call_journal().calls_named("kl_set_reshape");
	EXPECT_EQ(std::ranges::count(calls, Call{"kl_set_reshape", {8, -0.37F}, {}, {}, {}, {}}), 2);
}

TEST_F(SettingsTest, ValuesOfAnotherJsonTypeAreReadAsTheHostReadsThem)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source, "Beauty", settings_from(R"({
		"smoothing": "much", "whitening": true, "rosiness": {"value": 1}, "sharpening": [1, 2],
		"smoothing_style": 1.9, "lipstick_color": "red", "skin_only": "yes",
		"filter_id": 12, "sticker_id": true, "bg_preset": 3.5, "bg_image": {}, "chroma": "green"
	})"));

	EXPECT_EQ(render(source), processed(picture_));
	EXPECT_EQ(last_value("kl_set_smoothing"), Argument(0.0F));
	EXPECT_EQ(last_value("kl_set_sharpening"), Argument(0.0F));
	EXPECT_EQ(last_value("kl_set_smoothing_style"), Argument(1));
	EXPECT_EQ(last_value("kl_set_lipstick_color"), Argument(0));
	EXPECT_EQ(last_value("kl_set_beauty_skin_only"), Argument(false));
	EXPECT_EQ(call_journal().count("kl_set_filter"), 0U);
	EXPECT_EQ(call_journal().count("kl_set_chroma_key"), 0U);
}

TEST_F(SettingsTest, EnabledOfAnotherJsonTypeSwitchesTheFilterOff)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source, "Beauty", settings_from(R"({"enabled": "on"})"));

	EXPECT_EQ(render(source), picture_);
}

TEST_F(SettingsTest, NumbersOutOfRangeReachTheEngineUnchanged)
{
	const OBSSourceAutoRelease filter = create_filter("Beauty", settings_from(R"({
		"smoothing": 7.5, "whitening": -3.0, "smoothing_style": -9, "blush_style": 4096, "chroma": 99
	})"));

	EXPECT_EQ(last_value("kl_set_smoothing"), Argument(7.5F));
	EXPECT_EQ(last_value("kl_set_whitening"), Argument(-3.0F));
	EXPECT_EQ(last_value("kl_set_smoothing_style"), Argument(-9));
	EXPECT_EQ(last_value("kl_set_blush_style"), Argument(4096));
	EXPECT_EQ(last_value("kl_set_chroma_key"), Argument(98));
}

TEST_F(SettingsTest, ValuesThatAreNoNumbersReachTheEngineUnchanged)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);
	const OBSDataAutoRelease settings = obs_data_create();
	obs_data_set_double(settings, "smoothing", std::numeric_limits<double>::quiet_NaN());
	obs_data_set_double(settings, "whitening", std::numeric_limits<double>::infinity());
	obs_data_set_double(settings, "filter_intensity", std::numeric_limits<double>::quiet_NaN());

	obs_source_update(filter, settings);
	wait_for_tick();

	EXPECT_EQ(render(source), processed(picture_));
	EXPECT_EQ(last_value("kl_set_smoothing"), Argument(std::numeric_limits<float>::quiet_NaN()));
	EXPECT_EQ(last_value("kl_set_whitening"), Argument(std::numeric_limits<float>::infinity()));
}

TEST_F(SettingsTest, UnknownKeysAreKeptAndIgnored)
{
	const OBSSourceAutoRelease filter =
		create_filter("Beauty", settings_from(R"({"of_a_later_version": {"deep": [1, "two"]}})"));

	const OBSDataAutoRelease settings = obs_source_get_settings(filter);
	const OBSDataAutoRelease unknown = obs_data_get_obj(settings, "of_a_later_version");
	EXPECT_TRUE(unknown);
}

TEST_F(SettingsTest, UnknownEffectsAreReportedOnceAndLeaveThePictureToTheEngine)
{
	const std::array<LogLine, 2> warnings = {{{LOG_WARNING, "[Kalvio] failed to load filter \u6843"},
						  {LOG_WARNING, "[Kalvio] sticker not found: no \"such\" one"}}};
	for (const LogLine &warning : warnings)
		announce_log_line(warning);
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter =
		add_filter(source, "Beauty",
			   settings_from("{\"filter_id\": \"\u6843\", \"sticker_id\": \"no \\\"such\\\" one\"}"));
	obs_source_update(filter, settings_from(R"({"smoothing": 0.5})"));
	wait_for_tick();

	EXPECT_EQ(render(source), processed(picture_));
	for (const LogLine &warning : warnings)
		EXPECT_EQ(log().count(warning), 1U) << warning;
}

class PictureBackgroundTest : public SettingsTest {
protected:
	const ScratchFolder folder_;
};

TEST_F(PictureBackgroundTest, PathThatIsNotAsciiReachesTheEngine)
{
	const std::string image = folder_.write("\u80cc\u666f \u00e9t\u00e9.png");
	const OBSDataAutoRelease settings = settings_from(R"({"bg_fill": 2})");
	obs_data_set_string(settings, "bg_image", image.c_str());

	const OBSSourceAutoRelease filter = create_filter("Beauty", settings);

	EXPECT_EQ(last_value("kl_set_virtual_background"), Argument(image));
}

TEST_F(PictureBackgroundTest, PictureThatVanishedIsReportedAndCleared)
{
	announce_log_line({LOG_WARNING, "[Kalvio] failed to load background image"});
	const OBSDataAutoRelease settings = settings_from(R"({"bg_fill": 2, "bg_preset": ""})");
	obs_data_set_string(settings, "bg_image", folder_.file("gone.png").c_str());
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);

	const OBSSourceAutoRelease filter = add_filter(source, "Beauty", settings);

	EXPECT_EQ(call_journal().count("kl_set_virtual_background"), 0U);
	EXPECT_EQ(log().count({LOG_WARNING, "[Kalvio] failed to load background image"}), 1U);
	EXPECT_EQ(render(source), processed(picture_));
}

} // namespace

} // namespace kalvio::test
