// SPDX-License-Identifier: GPL-2.0-or-later
#include "libobs/recording_test.h"

#include <cstdint>
#include <ostream>

// An engine that changes nothing must leave no trace of the round trip through its memory: not in the colors, not in
// the alpha, not in what the host makes of both.
namespace kalvio::test {

namespace {

constexpr Rgba background = {40, 90, 200, 255};

class BlendingTest : public RecordingTest {
protected:
	void SetUp() override
	{
		RecordingTest::SetUp();
		EngineScript neutral;
		neutral.output = EngineOutput::Copy;
		set_engine_script(neutral);
	}

	std::optional<SessionOptions> initial_session() override
	{
		SessionOptions options = with_plugin();
		options.canvas_width = alpha_ramp_picture().width;
		options.canvas_height = alpha_ramp_picture().height;
		return options;
	}
};

// 32 bits a pixel, straight alpha, top row first.
std::string targa_file(const Picture &picture)
{
	const auto low = [](uint32_t value) {
		return static_cast<char>(value & 0xFF);
	};
	const auto high = [](uint32_t value) {
		return static_cast<char>(value >> 8);
	};
	std::string file(18, '\0');
	file[2] = 2; // uncompressed true color
	file[12] = low(picture.width);
	file[13] = high(picture.width);
	file[14] = low(picture.height);
	file[15] = high(picture.height);
	file[16] = 32;
	file[17] = 0x28; // 8 bits of alpha, top to bottom
	for (size_t i = 0; i < picture.rgba.size(); i += 4) {
		for (const size_t channel : {2U, 1U, 0U, 3U})
			file += static_cast<char>(picture.rgba[i + channel]);
	}
	return file;
}

// The host's own picture source, with its file loaded.
OBSSourceAutoRelease create_image_source(const std::string &file)
{
	LibobsSession::load_host_module("image-source");
	const OBSDataAutoRelease settings = obs_data_create();
	obs_data_set_string(settings, "file", file.c_str());
	return obs_source_create("image_source", "Image", settings, nullptr);
}

// The source over the background, on the host's canvas.
Picture canvas_with(obs_source_t *source)
{
	const Picture ramp = alpha_ramp_picture();
	const OBSSourceAutoRelease below =
		create_picture_source("Background", solid_picture(ramp.width, ramp.height, background));
	const OBSSceneAutoRelease scene = obs_scene_create_private("Canvas");
	obs_scene_add(scene, below);
	obs_scene_add(scene, source);
	return render_canvas(obs_scene_get_source(scene));
}

Picture opaque(Picture picture)
{
	for (size_t i = 3; i < picture.rgba.size(); i += 4)
		picture.rgba[i] = 255;
	return picture;
}

std::vector<uint8_t> alpha_of(const Picture &picture)
{
	std::vector<uint8_t> alpha;
	for (size_t i = 3; i < picture.rgba.size(); i += 4)
		alpha.push_back(picture.rgba[i]);
	return alpha;
}

// The kinds of sources that the host draws in ways of their own.
enum class SourceKind {
	Plain, // drawn by the host, straight alpha
	Async, // frames, as from a camera
	Image, // the host's picture source: draws itself, with premultiplied colors
	Scene  // composed by the host, with premultiplied colors
};

void PrintTo(SourceKind kind, std::ostream *out)
{
	static constexpr const char *names[] = {"Plain", "Async", "Image", "Scene"};
	*out << names[static_cast<size_t>(kind)];
}

class SourceKindTest : public BlendingTest, public ::testing::WithParamInterface<SourceKind> {
protected:
	OBSSourceAutoRelease create(const Picture &picture)
	{
		switch (GetParam()) {
		case SourceKind::Plain:
			break;
		case SourceKind::Async: {
			OBSSourceAutoRelease source = create_async_source("Async");
			output_frame(source, picture);
			return source;
		}
		case SourceKind::Image:
			return create_image_source(folder_.write("picture.tga", targa_file(picture)));
		case SourceKind::Scene: {
			const OBSSourceAutoRelease inside = create_picture_source("Inside", picture);
			obs_scene_t *scene = obs_scene_create_private("Scene");
			obs_scene_add(scene, inside);
			return obs_scene_get_source(scene); // the one reference to a scene is its source's
		}
		}
		return create_picture_source("Plain", picture);
	}

private:
	const ScratchFolder folder_;
};

TEST_P(SourceKindTest, EveryColorAndAlphaIsDrawnAsWithoutTheFilter)
{
	const OBSSourceAutoRelease source = create(alpha_ramp_picture());
	const Picture without = render(source);
	ASSERT_NE(without, Picture(without.width, without.height)) << "the source shows nothing";

	const OBSSourceAutoRelease filter = add_filter(source);

	EXPECT_EQ(render(source), without);
	EXPECT_GT(frames_processed(), 0U);
}

TEST_P(SourceKindTest, OpaquePictureIsOnTheCanvasAsWithoutTheFilter)
{
	const OBSSourceAutoRelease source = create(opaque(alpha_ramp_picture()));
	const Picture without = canvas_with(source);

	const OBSSourceAutoRelease filter = add_filter(source);

	EXPECT_EQ(canvas_with(source), without);
	EXPECT_GT(frames_processed(), 0U);
}

TEST_P(SourceKindTest, AlphaReachesTheCanvasAsWithoutTheFilter)
{
	const OBSSourceAutoRelease source = create(alpha_ramp_picture());
	const OBSSceneAutoRelease scene = obs_scene_create_private("Nothing below");
	obs_scene_add(scene, source);
	const Picture without = render_canvas(obs_scene_get_source(scene));

	const OBSSourceAutoRelease filter = add_filter(source);

	EXPECT_EQ(alpha_of(render_canvas(obs_scene_get_source(scene))), alpha_of(without));
	EXPECT_GT(frames_processed(), 0U);
}

TEST_P(SourceKindTest, EightFiltersInARowDriftNowhere)
{
	const OBSSourceAutoRelease source = create(alpha_ramp_picture());
	const Picture without = render(source);

	std::vector<OBSSourceAutoRelease> filters;
	for (int i = 0; i < 8; i++)
		filters.push_back(add_filter(source, std::to_string(i)));

	EXPECT_EQ(render(source), without);
}

INSTANTIATE_TEST_SUITE_P(Kinds, SourceKindTest,
			 ::testing::Values(SourceKind::Plain, SourceKind::Async, SourceKind::Image, SourceKind::Scene),
			 ::testing::PrintToStringParamName());

// Straight colors come out of the filter as straight as they went in, and so the host blends them as before. The
// premultiplied ones of images and scenes it multiplies once more: see the frame path on how the result is drawn.
TEST_F(BlendingTest, TransparentPixelsOfAPlainSourceBlendAsWithoutTheFilter)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", alpha_ramp_picture());
	const Picture without = canvas_with(source);

	const OBSSourceAutoRelease filter = add_filter(source);

	EXPECT_EQ(canvas_with(source), without);
}

TEST_F(BlendingTest, PassedThroughFilterLeavesTheCanvasAsItWas)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", alpha_ramp_picture());
	const Picture without = canvas_with(source);

	const OBSSourceAutoRelease filter = add_filter(source, "Beauty", settings_from(R"({"enabled": false})"));

	EXPECT_EQ(canvas_with(source), without);
}

TEST_F(BlendingTest, PictureFileWhoseNameIsNotAsciiIsProcessed)
{
	const ScratchFolder folder;
	const Picture picture = pattern_picture(24, 16);
	const OBSSourceAutoRelease source =
		create_image_source(folder.write("d\u00e9 \u76ee\u5f55/sch\u00f6n \u56fe.tga", targa_file(picture)));
	const OBSSourceAutoRelease filter = add_filter(source);

	EXPECT_EQ(render(source), picture);
	EXPECT_EQ(frames_processed(), 1U);
}

TEST_F(BlendingTest, PictureFileThatIsMissingIsLeftAlone)
{
	const ScratchFolder folder;
	const OBSSourceAutoRelease source = create_image_source(folder.file("gone.tga"));
	const OBSSourceAutoRelease filter = add_filter(source);

	render(source, 8, 8);

	EXPECT_EQ(frames_processed(), 0U);
}

} // namespace

} // namespace kalvio::test
