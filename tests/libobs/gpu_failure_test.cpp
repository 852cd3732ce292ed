// SPDX-License-Identifier: GPL-2.0-or-later
#include "libobs/recording_test.h"

#include <ostream>

// Host functions that fail under the module: the source stays visible, the log says what it must, the next frame is
// processed again, and nothing is lost on the way.
namespace kalvio::test {

namespace {

const LogLine no_gpu_objects = {LOG_ERROR, "[Kalvio] failed to create GPU resources 24x16"};

struct HostFailure {
	const char *name;
	HostFunction function;
	bool is_logged; // one error line a frame
};

void PrintTo(const HostFailure &failure, std::ostream *out)
{
	*out << failure.name;
}

class GpuFailureTest : public RecordingTest {
protected:
	const Picture picture_ = pattern_picture(24, 16);
};

class HostFailureTest : public GpuFailureTest, public ::testing::WithParamInterface<HostFailure> {
protected:
	void SetUp() override
	{
		GpuFailureTest::SetUp();
		if (GetParam().is_logged)
			announce_log_line(no_gpu_objects);
	}

	// At the picture's size: a filter without target has none.
	Picture render_picture(obs_source_t *source) const { return render(source, picture_.width, picture_.height); }

	size_t expected_lines(size_t failed_frames) const { return GetParam().is_logged ? failed_frames : 0; }
};

TEST_P(HostFailureTest, FirstFrame_ShowsTheSourceAndTheNextIsProcessed)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);

	make_fail(GetParam().function);
	EXPECT_EQ(render_picture(source), picture_);
	EXPECT_EQ(frames_processed(), 0U);
	EXPECT_EQ(log().count(no_gpu_objects), expected_lines(1));

	make_fail(GetParam().function, 0);
	EXPECT_EQ(render_picture(source), processed(picture_));
	EXPECT_EQ(log().count(no_gpu_objects), expected_lines(1));
}

TEST_P(HostFailureTest, FrameOfANewSize_ShowsTheSourceAndTheNextIsProcessed)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", pattern_picture(40, 30));
	const OBSSourceAutoRelease filter = add_filter(source);
	render(source);

	make_fail(GetParam().function);
	set_picture(source, picture_);
	EXPECT_EQ(render_picture(source), picture_);

	make_fail(GetParam().function, 0);
	EXPECT_EQ(render_picture(source), processed(picture_));
}

TEST_P(HostFailureTest, EveryFrame_ShowsTheSource)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);

	make_fail(GetParam().function);
	for (int frame = 0; frame < 12; frame++)
		EXPECT_EQ(render_picture(source), picture_);

	EXPECT_EQ(frames_processed(), 0U);
	EXPECT_EQ(log().count(no_gpu_objects), expected_lines(12));
	EXPECT_GE(module_calls(GetParam().function), 12);
}

INSTANTIATE_TEST_SUITE_P(
	HostFunctions, HostFailureTest,
	::testing::Values(HostFailure{"TexrenderCreate", HostFunction::gs_texrender_create, true},
			  HostFailure{"StagesurfaceCreate", HostFunction::gs_stagesurface_create, true},
			  HostFailure{"TextureCreate", HostFunction::gs_texture_create, true},
			  HostFailure{"TexrenderBegin", HostFunction::gs_texrender_begin, false},
			  HostFailure{"TexrenderGetTexture", HostFunction::gs_texrender_get_texture, false},
			  HostFailure{"StagesurfaceMap", HostFunction::gs_stagesurface_map, false},
			  HostFailure{"FilterGetTarget", HostFunction::obs_filter_get_target, false}),
	[](const auto &failure) { return std::string(failure.param.name); });

TEST_F(GpuFailureTest, MapWithoutData_ShowsTheSourceAndTheNextFrameIsProcessed)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);

	set_mapped_rows(MappedRows::NullData);
	EXPECT_EQ(render(source), picture_);
	EXPECT_EQ(frames_processed(), 0U);

	set_mapped_rows(MappedRows::Surface);
	EXPECT_EQ(render(source), processed(picture_));
}

// Nothing is armed here: no graphics card makes a texture of this size.
TEST_F(GpuFailureTest, SourceTooWideForTheGpu_StaysVisibleAndIsProcessedWhenItShrinks)
{
	const LogLine too_wide = {LOG_ERROR, "[Kalvio] failed to create GPU resources 100000x16"};
	announce_log_line(too_wide);
	announce_log_line({LOG_ERROR, "glTexImage2D failed, glGetError returned GL_INVALID_VALUE(0x501)"});
	announce_log_line({LOG_ERROR, "device_texture_create (GL) failed"});
	announce_log_line({LOG_ERROR, "device_stagesurface_create (GL) failed"});
	const Picture red = solid_picture(24, 16, {255, 0, 0, 255});
	const OBSSourceAutoRelease source = create_picture_source("Camera", red);
	const OBSSourceAutoRelease filter = add_filter(source);

	set_reported_size(source, 100000, 16);
	EXPECT_EQ(render(source, 24, 16), red);
	EXPECT_EQ(log().count(too_wide), 1U);

	set_reported_size(source, 24, 16);
	EXPECT_EQ(render(source), processed(red));
}

TEST_F(GpuFailureTest, FilterWhoseTargetIsGone_HasNoSize)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);
	EXPECT_EQ(obs_source_get_base_width(filter), 24U);
	EXPECT_EQ(obs_source_get_base_height(filter), 16U);

	make_fail(HostFunction::obs_filter_get_target);

	EXPECT_EQ(obs_source_get_base_width(filter), 0U);
	EXPECT_EQ(obs_source_get_base_height(filter), 0U);
}

TEST_F(GpuFailureTest, FilterTakenOffItsSource_HasNoSize)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);

	obs_source_filter_remove(source, filter);

	EXPECT_EQ(obs_source_get_base_width(filter), 0U);
	EXPECT_EQ(obs_source_get_base_height(filter), 0U);
}

TEST_F(GpuFailureTest, FailingHostFunctionsDoNotTouchTheHostItself)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);

	make_fail(HostFunction::gs_texrender_create);
	make_fail(HostFunction::gs_texture_create);
	make_fail(HostFunction::gs_stagesurface_map);

	EXPECT_EQ(render(source), picture_);
	EXPECT_EQ(module_calls(HostFunction::gs_texture_create), 0);
}

} // namespace

} // namespace kalvio::test
