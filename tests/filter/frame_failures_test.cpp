// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_fixture.h"
#include "filter/frame_path.h"

#include <functional>

namespace {

using namespace kalvio;
using namespace kalvio::test;

using Calls = std::vector<Call>;
using Lines = std::vector<LogLine>;
using Labels = std::vector<std::string>;
using Names = std::vector<std::string>;

// Whatever fails, the source stays visible, nothing is locked or left over, and the next frame tries again.
class FrameFailures : public FilterFixture {
protected:
	// A frame that shows the camera's picture as drawn by the host itself.
	void expect_passed_through(const std::vector<Drawn> &screen)
	{
		ASSERT_EQ(labels_of(screen), Labels{"Camera"});
		EXPECT_EQ(screen[0].picture, camera_.picture);
		EXPECT_FALSE(is_locked(instance()));
	}

	// A frame that shows the camera's picture from the render target.
	void expect_captured(const std::vector<Drawn> &screen)
	{
		ASSERT_EQ(labels_of(screen), Labels{"texture of render target 1"});
		EXPECT_EQ(screen[0].picture, camera_.picture);
		EXPECT_FALSE(is_locked(instance()));
	}

	void expect_processed(const std::vector<Drawn> &screen)
	{
		ASSERT_EQ(screen.size(), 1u);
		EXPECT_EQ(screen[0].what.rfind("texture ", 0), 0u);
		EXPECT_EQ(screen[0].picture, engine_inverted(camera_.picture));
	}

	// The engine makes a visible difference.
	void SetUp() override { set_engine_script({.output = EngineOutput::Invert}); }
};

// --- Nothing to draw from

TEST_F(FrameFailures, ANullInstanceDrawsNothing)
{
	const std::vector<Drawn> screen = host_double().render([this] { info_.video_render(nullptr, nullptr); });
	EXPECT_TRUE(screen.empty());
	EXPECT_EQ(call_journal().calls(), Calls());
}

TEST_F(FrameFailures, WithoutATargetTheFilterIsSkipped)
{
	create();
	filter_.target = nullptr;
	EXPECT_EQ(labels_of(render()), Labels{"nothing"});
	EXPECT_EQ(call_journal().calls(), (Calls{{"obs_filter_get_target", {"Kalvio filter"}},
						 {"obs_source_skip_video_filter", {"Kalvio filter"}}}));
}

TEST_F(FrameFailures, WithoutASourceNothingIsDrawn)
{
	create();
	filter_.remove_from_source();
	EXPECT_EQ(labels_of(render()), Labels());
	EXPECT_EQ(call_journal().calls(), Calls());
}

TEST_F(FrameFailures, ATargetWithoutASizeIsSkippedBeforeAnythingIsMade)
{
	remove_bundle();
	create();
	data_.write("resource.kld");
	for (const auto &[width, height] : {std::pair{0u, 0u}, {0u, 8u}, {16u, 0u}}) {
		camera_.set_size(width, height);
		forget();
		expect_passed_through(render());
		EXPECT_EQ(call_journal().count("update_is_forced"), 0u);
	}
	EXPECT_EQ(live_engine_count(), 0);
	EXPECT_EQ(host_double().live_gpu_objects(), 0);
}

TEST_F(FrameFailures, ASourceThatBecomesInactiveKeepsItsObjectsForLater)
{
	create();
	render();
	camera_.set_size(0, 0);
	expect_passed_through(render());
	camera_.set_size(16, 8);
	forget();
	expect_processed(render());
	EXPECT_EQ(call_journal().count("gs_texrender_create"), 0u);
}

// --- Switched off, paused, no engine

TEST_F(FrameFailures, ADisabledFilterPassesThroughWithoutAskingForAnEngine)
{
	create();
	update_bool("enabled", false);
	forget();
	expect_passed_through(render());
	EXPECT_EQ(names_of(call_journal().calls()),
		  (Names{"obs_filter_get_target", "obs_source_get_base_width", "obs_source_get_base_height",
			 "obs_source_skip_video_filter"}));
}

TEST_F(FrameFailures, ADisabledFilterKeepsItsEngineAndObjects)
{
	create();
	render();
	update_bool("enabled", false);
	render();
	EXPECT_EQ(live_engine_count(), 1);
	EXPECT_EQ(host_double().live_gpu_objects(), 3);
	update_bool("enabled", true);
	forget();
	expect_processed(render());
	EXPECT_EQ(call_journal().count("gs_texrender_create"), 0u);
	EXPECT_EQ(call_journal().count("kl_engine_create"), 0u);
}

TEST_F(FrameFailures, RenderingNeverMakesAnEngineForADisabledFilter)
{
	create();
	update_bool("enabled", false);
	set_update_forced(true);
	update_nothing(); // destroys the engine
	set_update_forced(false);
	ASSERT_EQ(live_engine_count(), 0);
	expect_passed_through(render());
	EXPECT_EQ(live_engine_count(), 0);
}

// The stored settings are read when the engine is made, which may be in the middle of a frame.
TEST_F(FrameFailures, AFilterThatTurnsOutToBeDisabledDoesNotFlashOneProcessedFrame)
{
	remove_bundle();
	create();
	update_bool("enabled", false);
	ASSERT_TRUE(instance().enabled) << "unknown to an instance without an engine";
	data_.write("resource.kld");
	expect_passed_through(render());
	EXPECT_EQ(call_journal().count("kl_process_rgba"), 0u);
	EXPECT_FALSE(instance().enabled);
}

TEST_F(FrameFailures, AMissingBundleIsReportedAtEachFrameAndUsedAtTheFirstFrameAfterItAppears)
{
	remove_bundle();
	create();
	for (int frame = 0; frame < 20; ++frame)
		expect_passed_through(render());
	EXPECT_EQ(log_.lines(), Lines(20, {LOG_ERROR, "[Kalvio] resource.kld not found"}));

	data_.write("resource.kld");
	expect_processed(render());
}

TEST_F(FrameFailures, AFailingEngineCreationIsTriedAgainAtEachFrame)
{
	set_engine_script({.failing_creations = 3, .output = EngineOutput::Invert});
	create(); // the first failure
	expect_passed_through(render());
	expect_passed_through(render());
	EXPECT_EQ(log_.lines(), Lines(2, {LOG_ERROR, "[Kalvio] kl_engine_create failed"}));
	expect_processed(render());
}

TEST_F(FrameFailures, AForcedUpdateEndsProcessingAtTheNextFrameAndKeepsTheGpuObjects)
{
	create();
	expect_processed(render());
	set_update_forced(true);
	forget();
	expect_passed_through(render());
	EXPECT_EQ(live_engine_count(), 0);
	EXPECT_EQ(host_double().live_gpu_objects(), 3);
	EXPECT_FALSE(instance().input_pixels.empty());
	EXPECT_EQ(log_.lines(), Lines());
	expect_passed_through(render());

	set_update_forced(false);
	forget();
	expect_processed(render());
	EXPECT_EQ(call_journal().count("kl_engine_create"), 1u);
	EXPECT_EQ(call_journal().count("gs_texrender_create"), 0u);
}

TEST_F(FrameFailures, TheForcedTestIsMadeOnceAFrame)
{
	create();
	render();
	EXPECT_EQ(call_journal().count("update_is_forced"), 1u);
}

// --- GPU objects

class GpuCreationFailure : public FrameFailures, public testing::WithParamInterface<const char *> {};

TEST_P(GpuCreationFailure, IsReportedAtEachFrameAndLeavesNoObject)
{
	create();
	host_double().fail(GetParam());
	for (int frame = 0; frame < 10; ++frame) {
		expect_passed_through(render());
		EXPECT_EQ(host_double().live_gpu_objects(), 0);
		EXPECT_EQ(instance().gpu.width, 0u);
		EXPECT_EQ(instance().gpu.height, 0u);
	}
	EXPECT_EQ(log_.lines(), Lines(10, {LOG_ERROR, "[Kalvio] failed to create GPU resources 16x8"}));
	EXPECT_EQ(call_journal().count("gs_texrender_begin"), 0u);
}

TEST_P(GpuCreationFailure, IsOverAtTheNextFrame)
{
	create();
	host_double().fail(GetParam(), 1);
	expect_passed_through(render());
	expect_processed(render());
	EXPECT_EQ(host_double().live_gpu_objects(), 3);
}

TEST_P(GpuCreationFailure, AtANewSizeLeavesNoObjectOfTheOldOne)
{
	create();
	render();
	camera_.set_size(20, 10);
	host_double().fail(GetParam(), 1);
	expect_passed_through(render());
	EXPECT_EQ(host_double().live_gpu_objects(), 0);
	EXPECT_EQ(log_.count({LOG_ERROR, "[Kalvio] failed to create GPU resources 20x10"}), 1u);
}

INSTANTIATE_TEST_SUITE_P(Each, GpuCreationFailure,
			 testing::Values("gs_texrender_create", "gs_stagesurface_create", "gs_texture_create"),
			 [](const auto &instance) { return std::string(instance.param); });

// --- Capture

TEST_F(FrameFailures, ARenderTargetThatDoesNotBeginPassesThroughWithoutALine)
{
	create();
	host_double().fail("gs_texrender_begin", 1);
	expect_passed_through(render());
	EXPECT_EQ(log_.lines(), Lines());
	EXPECT_EQ(call_journal().count("gs_texrender_end"), 0u);
	EXPECT_EQ(call_journal().count("gs_blend_state_push"), 0u);
	expect_processed(render());
}

TEST_F(FrameFailures, ARenderTargetWithoutATexturePassesThroughWithoutALine)
{
	create();
	host_double().fail("gs_texrender_get_texture", 1);
	expect_passed_through(render());
	EXPECT_EQ(log_.lines(), Lines());
	EXPECT_EQ(call_journal().count("gs_stage_texture"), 0u);
	expect_processed(render());
}

TEST_F(FrameFailures, ASurfaceThatDoesNotMapShowsTheCapturedPictureWithoutALine)
{
	create();
	for (const MapResult result : {MapResult::Fail, MapResult::NullData}) {
		host_double().set_map_result(result);
		expect_captured(render());
	}
	EXPECT_EQ(log_.lines(), Lines());
	EXPECT_EQ(call_journal().count("kl_process_rgba"), 0u);
	host_double().set_map_result(MapResult::Succeed);
	expect_processed(render());
}

// --- The engine

TEST_F(FrameFailures, AnEngineThatFailsEveryFrameIsReportedEightTimesAndEachFrameIsShown)
{
	set_engine_script({.process_status = -42});
	create();
	for (int frame = 0; frame < 30; ++frame)
		expect_captured(render());
	EXPECT_EQ(log_.lines(), Lines(8, {LOG_WARNING, "[Kalvio] kl_process_rgba failed: -42"}));
	EXPECT_EQ(call_journal().count("kl_process_rgba"), 30u);
	EXPECT_EQ(call_journal().count("gs_texture_set_image"), 0u);
	EXPECT_EQ(instance().failure_count, 8u);
}

TEST_F(FrameFailures, AnEngineThatFailsOneFrameLosesOnlyThatFrame)
{
	set_engine_script({.process_status_of_frame = {{1, 7}}, .output = EngineOutput::Invert});
	create();
	expect_processed(render());
	forget();
	expect_captured(render());
	EXPECT_EQ(log_.lines(), (Lines{{LOG_WARNING, "[Kalvio] kl_process_rgba failed: 7"}}));
	forget();
	expect_processed(render());
	EXPECT_EQ(log_.lines(), Lines());
}

TEST_F(FrameFailures, AFailedFrameIsLoggedBeforeItIsDrawn)
{
	set_engine_script({.process_status = 5});
	create();
	render();
	const Names names = names_of(call_journal().calls());
	ASSERT_GE(names.size(), 7u);
	EXPECT_EQ(Names(names.end() - 7, names.end()),
		  (Names{"log", "obs_get_base_effect", "gs_effect_get_param_by_name", "gs_effect_set_texture",
			 "gs_effect_loop", "gs_draw_sprite", "gs_effect_loop"}));
}

TEST_F(FrameFailures, TheCountOfReportsIsForLife)
{
	EngineScript script{.output = EngineOutput::Invert};
	for (uint64_t frame = 0; frame < 40; frame += 2)
		script.process_status_of_frame[frame] = 3; // every second one
	set_engine_script(script);
	create();
	for (int frame = 0; frame < 40; ++frame)
		render();
	set_update_forced(true); // a new engine makes no new count
	render();
	set_update_forced(false);
	set_engine_script({.process_status = 3});
	render();
	EXPECT_EQ(log_.count({LOG_WARNING, "[Kalvio] kl_process_rgba failed: 3"}), 8u);
}

TEST_F(FrameFailures, EachFilterHasItsOwnCount)
{
	set_engine_script({.process_status = 3});
	FakeSource other("Other filter");
	other.put_on(camera_);
	create();
	other.create_filter(info_);
	for (int frame = 0; frame < 10; ++frame) {
		render();
		host_double().render([&] { info_.video_render(other.data, nullptr); });
	}
	other.destroy_filter();
	EXPECT_EQ(log_.count({LOG_WARNING, "[Kalvio] kl_process_rgba failed: 3"}), 16u);
}

TEST_F(FrameFailures, TheFirstSuccessIsReportedAlsoAfterFailures)
{
	set_engine_script({.process_status_of_frame = {{0, 3}}});
	create();
	render();
	EXPECT_FALSE(instance().processing_logged);
	render();
	EXPECT_EQ(log_.lines(), (Lines{{LOG_WARNING, "[Kalvio] kl_process_rgba failed: 3"},
				       {LOG_INFO, "[Kalvio] processing GPU frames 16x8"}}));
}

} // namespace
