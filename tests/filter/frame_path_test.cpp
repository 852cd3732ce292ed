// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/frame_path.h"

#include "filter/filter_fixture.h"
#include "kit/heap_probe.h"

#include <algorithm>

namespace {

using namespace kalvio;
using namespace kalvio::test;

using Calls = std::vector<Call>;
using Lines = std::vector<LogLine>;
using Labels = std::vector<std::string>;

// Frames that succeed. The failures are in frame_failures_test.cpp.
class FramePath : public FilterFixture {
protected:
	// The calls of every frame of 16 x 8 from the second on, up to and including the capture.
	Calls capture_calls() const
	{
		return {{"obs_filter_get_target", {"Kalvio filter"}},
			{"obs_source_get_base_width", {"Camera"}},
			{"obs_source_get_base_height", {"Camera"}},
			{"update_is_forced", {}},
			{"gs_texrender_reset", {"render target 1"}},
			{"gs_texrender_begin", {"render target 1", 16, 8}},
			{"gs_clear", {GS_CLEAR_COLOR, 0.0f, 0.0f, 0.0f, 0.0f, 0.0f, 0}},
			{"gs_ortho", {0.0f, 16.0f, 0.0f, 8.0f, -100.0f, 100.0f}},
			{"gs_blend_state_push", {}},
			{"gs_blend_function", {GS_BLEND_ONE, GS_BLEND_ZERO}},
			{"obs_source_skip_video_filter", {"Kalvio filter"}},
			{"gs_blend_state_pop", {}},
			{"gs_texrender_end", {"render target 1"}},
			{"gs_texrender_get_texture", {"render target 1"}}};
	}

	Calls process_calls()
	{
		return {{"gs_stage_texture", {"staging surface 1", "texture of render target 1"}},
			{"gs_stagesurface_map", {"staging surface 1"}},
			{"gs_stagesurface_unmap", {"staging surface 1"}},
			{"kl_process_rgba",
			 {Argument::address(instance().input_pixels.data()), 16, 8, 64,
			  Argument::address(instance().output_pixels.data()), 1, 0}}};
	}

	Calls draw_calls()
	{
		return {{"gs_texture_set_image",
			 {"texture 1", Argument::address(instance().output_pixels.data()), 64, false}},
			{"obs_get_base_effect", {OBS_EFFECT_DEFAULT}},
			{"gs_effect_get_param_by_name", {"default effect", "image"}},
			{"gs_effect_set_texture", {"image", "texture 1"}},
			{"gs_effect_loop", {"default effect", "Draw"}},
			{"gs_draw_sprite", {"texture 1", 0, 16, 8}},
			{"gs_effect_loop", {"default effect", "Draw"}}};
	}
};

Calls joined(std::initializer_list<Calls> parts)
{
	Calls calls;
	for (const Calls &part : parts)
		calls.insert(calls.end(), part.begin(), part.end());
	return calls;
}

const Calls creation_calls = {{"gs_texrender_create", {GS_RGBA, GS_ZS_NONE}},
			      {"gs_stagesurface_create", {16, 8, GS_RGBA}},
			      {"gs_texture_create", {16, 8, GS_RGBA, 1, nullptr, GS_DYNAMIC}}};

// --- The calls

TEST_F(FramePath, TheFirstFrameMakesItsObjectsCapturesProcessesAndDraws)
{
	create();
	render();
	Calls expected = joined({capture_calls(),
				 process_calls(),
				 {{"log", {LOG_INFO, "[Kalvio] processing GPU frames 16x8"}}},
				 draw_calls()});
	expected.insert(expected.begin() + 4, creation_calls.begin(), creation_calls.end());
	EXPECT_EQ(call_journal().calls(), expected);
}

TEST_F(FramePath, LaterFramesReuseTheObjectsAndLogNothing)
{
	create();
	render();
	for (int frame = 0; frame < 3; ++frame) {
		forget();
		render();
		EXPECT_EQ(call_journal().calls(), joined({capture_calls(), process_calls(), draw_calls()}));
	}
}

TEST_F(FramePath, TheEngineOfTheInstanceIsCalledOnTheRenderingThread)
{
	create();
	render();
	const Calls calls = call_journal().calls_named("kl_process_rgba");
	ASSERT_EQ(calls.size(), 1u);
	EXPECT_EQ(calls[0].object, instance().engine.get());
	EXPECT_EQ(calls[0].thread, std::this_thread::get_id());
}

TEST_F(FramePath, TheEffectThatTheHostPassesIsNotUsed)
{
	create();
	render();
	forget();
	char no_effect = 0;
	host_double().render([&] { info_.video_render(filter_.data, reinterpret_cast<gs_effect_t *>(&no_effect)); });
	EXPECT_EQ(call_journal().calls(), joined({capture_calls(), process_calls(), draw_calls()}));
}

// --- The picture

TEST_F(FramePath, TheScreenShowsWhatTheEngineMadeOfThePicture)
{
	set_engine_script({.output = EngineOutput::Invert});
	create();
	const std::vector<Drawn> screen = render();
	ASSERT_EQ(labels_of(screen), Labels{"texture 1"});
	EXPECT_EQ(screen[0].picture, engine_inverted(camera_.picture));
}

TEST_F(FramePath, TheEngineIsGivenThePictureBitForBitWithItsAlpha)
{
	create();
	render();
	EXPECT_EQ(last_engine_input(), camera_.picture.rgba);
}

TEST_F(FramePath, EachFrameShowsThatFrame)
{
	create();
	for (int frame = 0; frame < 3; ++frame) {
		for (uint8_t &value : camera_.picture.rgba)
			value = static_cast<uint8_t>(value + 1);
		const std::vector<Drawn> screen = render();
		ASSERT_EQ(screen.size(), 1u);
		EXPECT_EQ(screen[0].picture, camera_.picture);
	}
}

TEST_F(FramePath, RowsWithPaddingArePackedTightly)
{
	create();
	for (const int padding : {4, 64, 1}) {
		host_double().set_row_padding(padding);
		const std::vector<Drawn> screen = render();
		EXPECT_EQ(last_engine_input(), camera_.picture.rgba) << padding;
		ASSERT_EQ(screen.size(), 1u);
		EXPECT_EQ(screen[0].picture, camera_.picture) << padding;
	}
}

TEST_F(FramePath, OfRowsThatAreCutShortOnlyWhatIsThereIsCopied)
{
	create();
	host_double().set_row_padding(-8);
	render();
	Picture expected = camera_.picture;
	for (size_t row = 0; row < 8; ++row)
		std::fill_n(expected.rgba.begin() + static_cast<std::ptrdiff_t>(row * 64 + 56), 8, uint8_t{0});
	EXPECT_EQ(last_engine_input(), expected.rgba);
}

// --- Buffers

TEST_F(FramePath, InputAndOutputAreTwoBuffersThatStayInPlace)
{
	create();
	render();
	const uint8_t *input = instance().input_pixels.data();
	const uint8_t *output = instance().output_pixels.data();
	EXPECT_EQ(instance().input_pixels.size(), 16u * 8u * 4u);
	EXPECT_EQ(instance().output_pixels.size(), 16u * 8u * 4u);
	EXPECT_NE(input, output);
	render();
	EXPECT_EQ(instance().input_pixels.data(), input);
	EXPECT_EQ(instance().output_pixels.data(), output);
}

TEST_F(FramePath, ASteadyFrameAllocatesNothing)
{
	create();
	host_double().set_cheap(true);
	set_engine_script({.idle = true});
	uint64_t allocations = 0;
	host_double().render([&] {
		info_.video_render(filter_.data, nullptr);
		const uint64_t before = heap_allocation_count();
		for (int frame = 0; frame < 10; ++frame)
			info_.video_render(filter_.data, nullptr);
		allocations = heap_allocation_count() - before;
	});
	EXPECT_EQ(allocations, 0u);
	host_double().set_cheap(false);
}

// --- Sizes

TEST_F(FramePath, AnotherSizeMakesAllThreeObjectsAnewAndProcessesThatFrame)
{
	create();
	for (const auto &[width, height] : {std::pair{16u, 8u}, {20u, 10u}, {20u, 8u}, {16u, 8u}, {16u, 9u}}) {
		SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
		camera_.set_size(width, height);
		forget();
		const std::vector<Drawn> screen = render();
		ASSERT_EQ(screen.size(), 1u);
		EXPECT_EQ(screen[0].picture, camera_.picture);
		EXPECT_EQ(call_journal().count("gs_texrender_create"), 1u);
		EXPECT_EQ(call_journal().count("gs_stagesurface_create"), 1u);
		EXPECT_EQ(call_journal().count("gs_texture_create"), 1u);
		EXPECT_EQ(host_double().live_gpu_objects(), 3);
		EXPECT_EQ(instance().gpu.width, width);
		EXPECT_EQ(instance().gpu.height, height);
	}
}

TEST_F(FramePath, TheOldObjectsGoBeforeTheNewOnesCome)
{
	create();
	render();
	forget();
	camera_.set_size(20, 10);
	render();
	const std::vector<std::string> names = names_of(call_journal().calls());
	EXPECT_EQ(std::vector<std::string>(names.begin() + 4, names.begin() + 10),
		  (std::vector<std::string>{"gs_texrender_destroy", "gs_stagesurface_destroy", "gs_texture_destroy",
					    "gs_texrender_create", "gs_stagesurface_create", "gs_texture_create"}));
}

TEST_F(FramePath, TheProcessingLineIsWrittenOnceWhateverTheSizes)
{
	create();
	render();
	camera_.set_size(20, 10);
	render();
	render();
	EXPECT_EQ(log_.lines(), (Lines{{LOG_INFO, "[Kalvio] processing GPU frames 16x8"}}));
}

TEST_F(FramePath, UnusualSizesAreProcessed)
{
	create();
	for (const auto &[width, height] :
	     {std::pair{1u, 1u}, {3u, 5u}, {1u, 7u}, {7u, 1u}, {1921u, 3u}, {16384u, 2u}, {2u, 16384u}}) {
		camera_.set_size(width, height);
		const std::vector<Drawn> screen = render();
		ASSERT_EQ(screen.size(), 1u);
		EXPECT_EQ(screen[0].picture, camera_.picture) << width << 'x' << height;
	}
}

TEST_F(FramePath, ASizeThatChangesEveryFrameLeavesNothingBehind)
{
	create();
	for (uint32_t i = 1; i <= 30; ++i) {
		camera_.set_size(i, 31 - i);
		const std::vector<Drawn> screen = render();
		ASSERT_EQ(screen.size(), 1u);
		EXPECT_EQ(screen[0].picture, camera_.picture);
	}
	EXPECT_EQ(host_double().live_gpu_objects(), 3);
}

// --- The lock

TEST_F(FramePath, TheInstanceIsLockedFromTheEngineCheckToTheDrawing)
{
	FilterInstance &filter = create();
	std::vector<std::string> unlocked;
	const auto expect_locked = [&](const char *function) {
		if (!is_locked(filter))
			unlocked.push_back(function);
	};
	for (const char *function : {"gs_texrender_create", "gs_texrender_begin", "obs_source_skip_video_filter",
				     "gs_stagesurface_map", "gs_texture_set_image", "gs_draw_sprite"})
		host_double().on_call(function, [=] { expect_locked(function); });
	set_engine_script({.during_process = [&](kl_engine *) {
		expect_locked("kl_process_rgba");
	}});
	render();
	EXPECT_EQ(unlocked, std::vector<std::string>());
	EXPECT_FALSE(is_locked(filter));
}

TEST_F(FramePath, AnUpdateDuringAFrameWaitsForItsEnd)
{
	create();
	std::future<void> update;
	set_engine_script({.during_process = [&](kl_engine *) {
		update = std::async(std::launch::async, [this] { update_double("smoothing", 0.5); });
	}});
	render();
	update.get();

	const Calls calls = call_journal().calls();
	const auto drawn = std::ranges::find(calls, std::string("gs_draw_sprite"), &Call::name);
	const auto updated = std::ranges::find(calls, std::string("kl_set_smoothing"), &Call::name);
	ASSERT_NE(drawn, calls.end());
	ASSERT_NE(updated, calls.end());
	EXPECT_LT(drawn->order, updated->order);
}

TEST_F(FramePath, TwoFiltersDoNotShareALock)
{
	FakeSource other("Other filter");
	other.put_on(camera_);
	create();
	other.create_filter(info_);
	set_engine_script({.during_process = [&](kl_engine *engine) {
		if (engine != instance().engine.get())
			return;
		std::async(std::launch::async, [&] {
			const OBSDataAutoRelease nothing = obs_data_create();
			other.update(nothing);
		}).get(); // would wait for ever
	}});
	EXPECT_EQ(labels_of(render()), Labels{"texture 1"});
	other.destroy_filter();
}

} // namespace
