// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_fixture.h"

// Studio Mode, the multiview and projectors draw a source several times in one frame of the host.
namespace {

using namespace kalvio;
using namespace kalvio::test;

class FrameViews : public FilterFixture {
protected:
	static size_t frames_processed() { return call_journal().count("kl_process_rgba"); }
};

TEST_F(FrameViews, AFurtherViewDrawsTheResultOfTheFirst)
{
	set_engine_script({.output = EngineOutput::Invert});
	create();
	const std::vector<Drawn> first = render();
	forget();
	const std::vector<Drawn> second = render_view();
	ASSERT_EQ(second.size(), 1u);
	EXPECT_EQ(second[0].what, "texture 1");
	EXPECT_EQ(second[0].picture, first.at(0).picture);
	EXPECT_EQ(frames_processed(), 0u);
	EXPECT_EQ(call_journal().count("gs_stage_texture"), 0u);
	EXPECT_EQ(call_journal().count("gs_texture_set_image"), 0u);
	EXPECT_EQ(call_journal().count("obs_source_skip_video_filter"), 0u);
}

TEST_F(FrameViews, TheNextFrameIsProcessedAnew)
{
	create();
	render();
	render_view();
	render();
	EXPECT_EQ(frames_processed(), 2u);
}

TEST_F(FrameViews, AnUnknownFrameTimeIsNoRepetition)
{
	create();
	host_double().set_frame_time(0);
	render_view();
	render_view();
	EXPECT_EQ(frames_processed(), 2u);
}

TEST_F(FrameViews, ChangedSettingsAreSeenInTheNextView)
{
	create();
	render();
	update_double("smoothing", 0.5);
	render_view();
	EXPECT_EQ(frames_processed(), 2u);
}

TEST_F(FrameViews, AnotherSizeIsProcessedAnew)
{
	create();
	render();
	camera_.set_size(20, 10);
	const std::vector<Drawn> screen = render_view();
	EXPECT_EQ(frames_processed(), 2u);
	EXPECT_EQ(screen.at(0).picture, camera_.picture);
}

TEST_F(FrameViews, AFilterThatIsSwitchedOffShowsTheSourceInTheNextView)
{
	create();
	render();
	update_bool("enabled", false);
	EXPECT_EQ(labels_of(render_view()), std::vector<std::string>{"Camera"});
}

TEST_F(FrameViews, AForcedUpdateEndsTheEffectsInTheNextView)
{
	create();
	render();
	set_update_forced(true);
	EXPECT_EQ(labels_of(render_view()), std::vector<std::string>{"Camera"});
	set_update_forced(false);
	EXPECT_EQ(labels_of(render_view()), std::vector<std::string>{"texture 1"});
	EXPECT_EQ(frames_processed(), 2u) << "the engine is another one";
}

// The engine fails the same way for every view of one frame: one call and one line in the log are enough.
TEST_F(FrameViews, AFrameThatTheEngineRefusedIsNotTriedAgainInTheNextView)
{
	create();
	set_engine_script({.process_status = -7});
	EXPECT_EQ(render().at(0).picture, camera_.picture);
	EXPECT_EQ(render_view().at(0).picture, camera_.picture);
	EXPECT_EQ(frames_processed(), 1u);
	render();
	EXPECT_EQ(frames_processed(), 2u);
}

TEST_F(FrameViews, AFrameThatWasNotCapturedIsTriedAgainInTheNextView)
{
	create();
	host_double().fail("gs_texrender_begin", 1);
	EXPECT_EQ(labels_of(render()), std::vector<std::string>{"Camera"});
	EXPECT_EQ(labels_of(render_view()), std::vector<std::string>{"texture 1"});
}

} // namespace
