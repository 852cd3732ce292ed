// SPDX-License-Identifier: GPL-2.0-or-later
#include "libobs/recording_test.h"

#include <filesystem>

// Engines that are missing, cannot be made or fail: the source stays visible, and the log says how often.
namespace kalvio::test {

namespace {

constexpr int32_t failure_status = -77;
const LogLine frame_failed = {LOG_WARNING, "[Kalvio] kl_process_rgba failed: -77"};

class EngineFailureTest : public RecordingTest {
protected:
	const Picture picture_ = pattern_picture(24, 16);
};

TEST_F(EngineFailureTest, MissingBundle_FilterPassesTheSourceThrough)
{
	announce_missing_bundle();
	std::filesystem::remove(plugin().bundle());
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);

	EXPECT_EQ(render(source), picture_);
	EXPECT_EQ(log().count(created_without_engine), 1U);
	EXPECT_EQ(engines_created(), 0U);
}

TEST_F(EngineFailureTest, MissingBundle_IsLoggedAtCreationAndOncePerFrame)
{
	announce_missing_bundle();
	std::filesystem::remove(plugin().bundle());
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);

	for (int frame = 0; frame < 10; frame++)
		render(source);

	EXPECT_EQ(log().count(bundle_not_found), 11U);
}

TEST_F(EngineFailureTest, BundleThatAppears_IsUsedFromTheNextFrame)
{
	announce_missing_bundle();
	std::filesystem::remove(plugin().bundle());
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);
	render(source);

	plugin().add_placeholder_bundle();

	EXPECT_EQ(render(source), processed(picture_));
	EXPECT_EQ(log().count({LOG_INFO, "[Kalvio] engine created, resource=" + plugin().bundle().string()}), 1U);
}

TEST_F(EngineFailureTest, SettingsOfTheTimeWithoutEngine_ReachTheEngineWhenItComes)
{
	announce_missing_bundle();
	std::filesystem::remove(plugin().bundle());
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source, "Beauty", settings_from(R"({"smoothing": 0.25})"));
	obs_source_update(filter, settings_from(R"({"whitening": 0.5})"));
	wait_for_tick();

	plugin().add_placeholder_bundle();
	render(source);

	EXPECT_EQ(last_value("kl_set_smoothing"), Argument(0.25F));
	EXPECT_EQ(last_value("kl_set_whitening"), Argument(0.5F));
}

TEST_F(EngineFailureTest, FilterDisabledWhileThereIsNoEngine_ShowsNoProcessedFrame)
{
	announce_missing_bundle();
	std::filesystem::remove(plugin().bundle());
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source, "Beauty", settings_from(R"({"enabled": false})"));

	plugin().add_placeholder_bundle();

	for (int frame = 0; frame < 3; frame++)
		EXPECT_EQ(render(source), picture_);
	EXPECT_EQ(frames_processed(), 0U);
}

TEST_F(EngineFailureTest, EngineThatCannotBeMade_IsTriedAgainEachFrame)
{
	announce_failed_creation();
	fail_creations(EngineScript::always);
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);

	for (int frame = 0; frame < 5; frame++)
		EXPECT_EQ(render(source), picture_);

	EXPECT_EQ(engines_created(), 6U);
	EXPECT_EQ(log().count(creation_failed), 6U);
	EXPECT_EQ(log().count(created_without_engine), 1U);
}

TEST_F(EngineFailureTest, EngineThatCanBeMadeLater_ProcessesThatFrame)
{
	announce_failed_creation();
	fail_creations(3); // at creation of the filter and on two frames
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);

	EXPECT_EQ(render(source), picture_);
	EXPECT_EQ(render(source), picture_);
	EXPECT_EQ(render(source), processed(picture_));
	EXPECT_EQ(log().count(creation_failed), 3U);
}

TEST_F(EngineFailureTest, EngineThatFailsEveryFrame_IsLoggedEightTimes)
{
	announce_log_line(frame_failed);
	fail_frames(failure_status);
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);

	for (int frame = 0; frame < 20; frame++)
		EXPECT_EQ(render(source), picture_);

	EXPECT_EQ(frames_processed(), 20U);
	EXPECT_EQ(log().count(frame_failed), 8U);
}

TEST_F(EngineFailureTest, FailuresAreCountedOverTheWholeLifeOfAFilter)
{
	announce_log_line(frame_failed);
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);
	EngineScript every_other_frame;
	for (uint64_t frame = 0; frame < 30; frame += 2)
		every_other_frame.process_status_of_frame[frame] = failure_status;
	script(every_other_frame);

	for (int frame = 0; frame < 30; frame++)
		render(source);

	EXPECT_EQ(log().count(frame_failed), 8U);
}

TEST_F(EngineFailureTest, EachFilterHasEightLinesOfItsOwn)
{
	announce_log_line(frame_failed);
	fail_frames(failure_status);
	for (int instance = 0; instance < 2; instance++) {
		const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
		const OBSSourceAutoRelease filter = add_filter(source);
		for (int frame = 0; frame < 10; frame++)
			render(source);
	}

	EXPECT_EQ(log().count(frame_failed), 16U);
}

TEST_F(EngineFailureTest, OneFailedFrame_IsShownUnprocessedAndTheNextIsProcessed)
{
	announce_log_line(frame_failed);
	EngineScript second_frame;
	second_frame.process_status_of_frame[1] = failure_status;
	script(second_frame);
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);

	EXPECT_EQ(render(source), processed(picture_));
	EXPECT_EQ(render(source), picture_);
	EXPECT_EQ(render(source), processed(picture_));
	EXPECT_EQ(log().count(frame_failed), 1U);
}

TEST_F(EngineFailureTest, FailuresChangeNoSetting)
{
	announce_log_line(frame_failed);
	fail_frames(failure_status);
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source, "Beauty", settings_from(R"({"smoothing": 0.75})"));

	for (int frame = 0; frame < 10; frame++)
		render(source);

	const OBSDataAutoRelease settings = obs_source_get_settings(filter);
	EXPECT_EQ(obs_data_get_double(settings, "smoothing"), 0.75);
	EXPECT_TRUE(obs_data_get_bool(settings, "enabled"));
	EXPECT_TRUE(obs_source_enabled(filter));
}

TEST_F(EngineFailureTest, EngineEventsAreLogged)
{
	const OBSSourceAutoRelease filter = create_filter("Beauty");
	const auto *engine =
		static_cast<const kl_engine *>(call_journal().calls_named("kl_engine_create").front().object);

	ASSERT_TRUE(emit_engine_event(engine, 7, "models loaded"));
	ASSERT_TRUE(emit_engine_event(engine, -3, nullptr));

	EXPECT_EQ(log().count({LOG_INFO, "[Kalvio] engine event 7 models loaded"}), 1U);
	EXPECT_EQ(log().count({LOG_INFO, "[Kalvio] engine event -3 "}), 1U);
}

} // namespace

} // namespace kalvio::test
