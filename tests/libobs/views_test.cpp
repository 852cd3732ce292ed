// SPDX-License-Identifier: GPL-2.0-or-later
#include "libobs/recording_test.h"

// One source in several views of the same frame of the host, as in a preview beside the programme, in a multiview, and
// where it stands in a scene more than once: the engine processes it once.
namespace kalvio::test {

namespace {

class ViewsTest : public RecordingTest {
protected:
	// Draws `source` that often within one frame of the host.
	static std::vector<Picture> render_views(obs_source_t *source, int views)
	{
		std::vector<Picture> shown;
		on_graphics_thread([&] {
			const GraphicsContext context;
			const uint64_t frame = obs_get_video_frame_time();
			for (int view = 0; view < views; view++)
				shown.push_back(render_now(source, obs_source_get_width(source),
							   obs_source_get_height(source)));
			EXPECT_EQ(obs_get_video_frame_time(), frame) << "one frame of the host";
		});
		return shown;
	}

	const Picture picture_ = pattern_picture(24, 16);
};

class ViewCountTest : public ViewsTest, public ::testing::WithParamInterface<int> {};

TEST_P(ViewCountTest, AllViewsOfAFrameShowWhatWasProcessedOnce)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);

	const std::vector<Picture> shown = render_views(source, GetParam());

	EXPECT_EQ(shown, std::vector<Picture>(static_cast<size_t>(GetParam()), processed(picture_)));
	EXPECT_EQ(frames_processed(), 1U);
}

TEST_P(ViewCountTest, EveryFrameOfTheHostIsProcessedAgain)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);

	for (int frame = 0; frame < 3; frame++) {
		render_views(source, GetParam());
		wait_for_tick();
	}

	EXPECT_EQ(frames_processed(), 3U);
}

TEST_P(ViewCountTest, SourceThatStandsInASceneManyTimesIsProcessedOnce)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);
	const OBSSceneAutoRelease scene = obs_scene_create_private("Scene");
	for (int item = 0; item < GetParam(); item++)
		obs_scene_add(scene, source);

	render(obs_scene_get_source(scene));

	EXPECT_EQ(frames_processed(), 1U);
}

TEST_P(ViewCountTest, EachFilterOfAChainProcessesTheFrameOnce)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease first = add_filter(source, "One");
	const OBSSourceAutoRelease second = add_filter(source, "Two");

	const std::vector<Picture> shown = render_views(source, GetParam());

	EXPECT_EQ(shown, std::vector<Picture>(static_cast<size_t>(GetParam()), picture_)) << "two inversions";
	EXPECT_EQ(frames_processed(), 2U);
}

INSTANTIATE_TEST_SUITE_P(Views, ViewCountTest, ::testing::Values(2, 4));

// What the host composes in one go: its canvas and one more view of the source.
TEST_F(ViewsTest, CanvasAndAnotherViewShareOneProcessing)
{
	struct View {
		obs_source_t *source;
		int views = 0;
		int processed = 0;
		int frames_processed_twice = 0;
		uint64_t frame = 0;
	};
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);
	View view{source.Get()};
	const auto draw = [](void *data, uint32_t, uint32_t) {
		auto &here = *static_cast<View *>(data);
		EXPECT_NE(obs_get_video_frame_time(), here.frame);
		here.frame = obs_get_video_frame_time();
		const int before = here.processed;
		here.processed = static_cast<int>(frames_processed());
		// Between two calls of this lie one view of ours and one canvas.
		if (here.views > 0 && here.processed - before > 1)
			here.frames_processed_twice++;
		obs_source_video_render(here.source);
		here.views++;
	};

	obs_set_output_source(0, source);
	obs_add_main_render_callback(draw, &view);
	for (int frame = 0; frame < 5; frame++)
		wait_for_composed_frame();
	obs_remove_main_render_callback(draw, &view);
	obs_set_output_source(0, nullptr);

	EXPECT_GT(view.views, 4);
	EXPECT_GT(view.processed, 0);
	EXPECT_EQ(view.frames_processed_twice, 0) << "of " << view.views << " frames";
}

TEST_F(ViewsTest, ViewAfterAChangeOfSizeIsProcessedAgain)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);
	const Picture larger = pattern_picture(40, 30);
	Picture before;
	Picture after;

	on_graphics_thread([&] {
		const GraphicsContext context;
		before = render_now(source, picture_.width, picture_.height);
		set_picture(source, larger);
		after = render_now(source, larger.width, larger.height);
	});

	EXPECT_EQ(before, processed(picture_));
	EXPECT_EQ(after, processed(larger));
	EXPECT_EQ(frames_processed(), 2U);
}

TEST_F(ViewsTest, ViewAfterAChangeOfSizeAndBackIsProcessedAgain)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);
	Picture after;

	on_graphics_thread([&] {
		const GraphicsContext context;
		render_now(source, picture_.width, picture_.height);
		set_picture(source, pattern_picture(40, 30));
		render_now(source, 40, 30);
		set_picture(source, picture_);
		after = render_now(source, picture_.width, picture_.height);
	});

	EXPECT_EQ(after, processed(picture_));
}

TEST_F(ViewsTest, ViewAfterTheFilterWasHiddenShowsTheSource)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);
	Picture hidden;
	Picture shown_again;

	on_graphics_thread([&] {
		const GraphicsContext context;
		render_now(source, picture_.width, picture_.height);
		obs_source_set_enabled(filter, false);
		hidden = render_now(source, picture_.width, picture_.height);
		obs_source_set_enabled(filter, true);
		shown_again = render_now(source, picture_.width, picture_.height);
	});

	EXPECT_EQ(hidden, picture_);
	EXPECT_EQ(shown_again, processed(picture_));
}

TEST_F(ViewsTest, FilterThatMovesToAnotherSourceWithinAFrameProcessesThatOne)
{
	const Picture other_picture = processed(pattern_picture(24, 16));
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease other = create_picture_source("Other", other_picture);
	const OBSSourceAutoRelease filter = add_filter(source);
	Picture shown;

	on_graphics_thread([&] {
		const GraphicsContext context;
		render_now(source, picture_.width, picture_.height);
		obs_source_filter_remove(source, filter);
		obs_source_filter_add(other, filter);
		shown = render_now(other, picture_.width, picture_.height);
	});

	EXPECT_EQ(shown, processed(other_picture));
}

} // namespace

} // namespace kalvio::test
