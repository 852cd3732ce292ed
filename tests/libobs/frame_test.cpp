// SPDX-License-Identifier: GPL-2.0-or-later
#include "libobs/recording_test.h"

#include <ostream>

// Frames through the filter in the real host, at every size and pitch.
namespace kalvio::test {

namespace {

class FrameTest : public RecordingTest {};

TEST_F(FrameTest, FilterShowsExactlyWhatTheEngineWrote)
{
	const Picture picture = pattern_picture(64, 48);
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture);
	const OBSSourceAutoRelease filter = add_filter(source);

	EXPECT_EQ(render(source), processed(picture));
}

TEST_F(FrameTest, EngineReadsExactlyTheSourcesPixels)
{
	const Picture picture = pattern_picture(64, 48);
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture);
	const OBSSourceAutoRelease filter = add_filter(source);

	render(source);

	EXPECT_EQ(last_engine_input(), picture.rgba);
}

TEST_F(FrameTest, SourceIsDrawnOncePerFrame)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", pattern_picture(16, 16));
	const OBSSourceAutoRelease filter = add_filter(source);

	render(source);
	render(source);

	EXPECT_EQ(render_count(source), 2);
	EXPECT_EQ(frames_processed(), 2U);
}

TEST_F(FrameTest, SteadyFramesMakeTheirGpuObjectsOnce)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", pattern_picture(16, 16));
	const OBSSourceAutoRelease filter = add_filter(source);

	for (int frame = 0; frame < 5; frame++)
		render(source);

	EXPECT_EQ(module_calls(HostFunction::gs_texrender_create), 1);
	EXPECT_EQ(module_calls(HostFunction::gs_stagesurface_create), 1);
	EXPECT_EQ(module_calls(HostFunction::gs_texture_create), 1);
}

TEST_F(FrameTest, FirstProcessedFrameIsLoggedOnce)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", pattern_picture(16, 12));
	const OBSSourceAutoRelease filter = add_filter(source);

	render(source);
	render(source);
	set_picture(source, pattern_picture(24, 20));
	render(source);

	EXPECT_EQ(log().count({LOG_INFO, "[Kalvio] processing GPU frames 16x12"}), 1U);
	EXPECT_EQ(log().count({LOG_INFO, "[Kalvio] processing GPU frames 24x20"}), 0U);
}

TEST_F(FrameTest, DisabledFilterShowsTheSource)
{
	const Picture picture = pattern_picture(16, 16);
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture);
	const OBSSourceAutoRelease filter = add_filter(source, "Beauty", settings_from(R"({"enabled": false})"));

	EXPECT_EQ(render(source), picture);
	EXPECT_EQ(frames_processed(), 0U);
}

TEST_F(FrameTest, FilterHiddenByTheHostShowsTheSource)
{
	const Picture picture = pattern_picture(16, 16);
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture);
	const OBSSourceAutoRelease filter = add_filter(source);

	obs_source_set_enabled(filter, false);

	EXPECT_EQ(render(source), picture);
	EXPECT_EQ(frames_processed(), 0U);
}

TEST_F(FrameTest, SourceWithoutSizeIsPassedThroughWithoutGpuObjects)
{
	const Picture picture = pattern_picture(16, 16);
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture);
	const OBSSourceAutoRelease filter = add_filter(source);

	set_reported_size(source, 0, 0);
	render(source, 16, 16);

	EXPECT_EQ(render_count(source), 1);
	EXPECT_EQ(module_calls(HostFunction::gs_texrender_create), 0);
	EXPECT_EQ(frames_processed(), 0U);
}

TEST_F(FrameTest, SourceThatGetsASizeIsProcessed)
{
	const Picture picture = pattern_picture(16, 16);
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture);
	const OBSSourceAutoRelease filter = add_filter(source);
	set_reported_size(source, 0, 16);
	render(source, 16, 16);

	set_reported_size(source, 16, 16);

	EXPECT_EQ(render(source), processed(picture));
}

TEST_F(FrameTest, SizeThatChangesEveryFrameIsFollowed)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", {});
	const OBSSourceAutoRelease filter = add_filter(source);

	for (uint32_t frame = 1; frame <= 12; frame++) {
		const Picture picture = pattern_picture(5 * frame % 37 + 1, 7 * frame % 23 + 1);
		set_picture(source, picture);
		EXPECT_EQ(render(source), processed(picture));
	}
}

TEST_F(FrameTest, GrowingFrom720To1080RebuildsTheGpuObjectsAndProcessesThatFrame)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", pattern_picture(1280, 720));
	const OBSSourceAutoRelease filter = add_filter(source);
	render(source);

	const Picture larger = pattern_picture(1920, 1080);
	set_picture(source, larger);

	EXPECT_EQ(render(source), processed(larger));
	EXPECT_EQ(module_calls(HostFunction::gs_texrender_create), 2);
	EXPECT_EQ(module_calls(HostFunction::gs_stagesurface_create), 2);
	EXPECT_EQ(module_calls(HostFunction::gs_texture_create), 2);
}

TEST_F(FrameTest, RowsWiderThanThePictureAreReadWithoutTheirGap)
{
	const Picture picture = pattern_picture(33, 17);
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture);
	const OBSSourceAutoRelease filter = add_filter(source);

	set_mapped_rows(MappedRows::WidePitch);

	EXPECT_EQ(render(source), processed(picture));
	EXPECT_EQ(last_engine_input(), picture.rgba);
}

TEST_F(FrameTest, RowsShorterThanThePictureAreReadAsFarAsTheyGo)
{
	const Picture picture = pattern_picture(33, 17);
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture);
	const OBSSourceAutoRelease filter = add_filter(source);

	set_mapped_rows(MappedRows::ShortPitch);
	const Picture shown = render(source);

	for (uint32_t y = 0; y < picture.height; y++) {
		for (uint32_t x = 0; x + 1 < picture.width; x++)
			ASSERT_EQ(shown.at(x, y), processed(picture).at(x, y)) << x << " " << y;
	}
}

TEST_F(FrameTest, AsyncSourceIsProcessed)
{
	const OBSSourceAutoRelease source = create_async_source("Webcam");
	const OBSSourceAutoRelease filter = add_filter(source);

	for (const uint32_t width : {32U, 48U}) {
		const Picture picture = pattern_picture(width, 24);
		output_frame(source, picture);
		EXPECT_EQ(render(source), processed(picture));
	}
}

TEST_F(FrameTest, AsyncSourceWithoutAFrameIsLeftAlone)
{
	const OBSSourceAutoRelease source = create_async_source("Webcam");
	const OBSSourceAutoRelease filter = add_filter(source);

	render(source, 8, 8);

	EXPECT_EQ(frames_processed(), 0U);
}

struct FrameSize {
	uint32_t width;
	uint32_t height;
};

void PrintTo(const FrameSize &size, std::ostream *out)
{
	*out << size.width << "x" << size.height;
}

class FrameSizeTest : public RecordingTest, public ::testing::WithParamInterface<FrameSize> {};

TEST_P(FrameSizeTest, FilterShowsExactlyWhatTheEngineWrote)
{
	const Picture picture = pattern_picture(GetParam().width, GetParam().height);
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture);
	const OBSSourceAutoRelease filter = add_filter(source);

	EXPECT_EQ(render(source), processed(picture));
	EXPECT_EQ(last_engine_input(), picture.rgba);
}

INSTANTIATE_TEST_SUITE_P(Sizes, FrameSizeTest,
			 ::testing::Values(FrameSize{1, 1}, FrameSize{1, 64}, FrameSize{33, 17}, FrameSize{16384, 2},
					   FrameSize{3, 16384}),
			 [](const auto &size) {
				 return std::to_string(size.param.width) + "x" + std::to_string(size.param.height);
			 });

} // namespace

} // namespace kalvio::test
