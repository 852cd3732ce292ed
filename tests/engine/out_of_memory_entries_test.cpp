// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine.h"
#include "engine_fixture.h"
#include "kit/heap_probe.h"
#include "made_face.h"

#include <cmath>
#include <functional>
#include <limits>
#include <regex>
#include <set>
#include <string>
#include <vector>

// Every function of the boundary, with each of its first 2,000 allocations failing once. None ends the process, and a
// frame is processed afterwards. In a program of its own: it takes the place of malloc.
namespace kalvio::engine::testing {
namespace {

using namespace kalvio::test;

constexpr uint64_t most_failures = 2'000;

void receive_event(void *user_data, int32_t code, const char *)
{
	*static_cast<int32_t *>(user_data) = code;
}

struct Entry {
	std::string name;
	std::function<void(kl_engine *)> call;
};

class OutOfMemoryEntries : public EngineTest {
protected:
	static std::string shipped(const char *name) { return std::string(KALVIO_DATA_DIR) + "/" + name; }

	// A strength, at its ends and where it is no number, which is what gets a line in the log.
	static Entry strength(const char *name, int32_t (*set)(kl_engine *, float))
	{
		return {name, [set](kl_engine *of) {
				for (const float value : {0.0F, 1.0F, -5.0F, std::numeric_limits<float>::quiet_NaN()})
					set(of, value);
			}};
	}

	static Entry choice(const char *name, int32_t (*set)(kl_engine *, int32_t))
	{
		return {name, [set](kl_engine *of) {
				for (const int32_t value : {0, 1, -1, 1000})
					set(of, value);
			}};
	}

	static Entry plain(const char *name, int32_t (*call)(kl_engine *))
	{
		return {name, [call](kl_engine *of) {
				call(of);
			}};
	}

	static Entry shape(const char *name, int32_t (*set)(kl_engine *, int32_t, float))
	{
		return {name, [set](kl_engine *of) {
				for (const int32_t id : {0, 5, -1, 1000})
					set(of, id, 0.5F);
			}};
	}

	static Entry file(const char *name, int32_t (*load)(kl_engine *, const char *), const std::string &path)
	{
		return {name, [load, path](kl_engine *of) {
				load(of, path.c_str());
				load(of, "/nowhere");
				load(of, nullptr);
			}};
	}

	// What takes an engine and no picture.
	std::vector<Entry> setters() const
	{
#define KALVIO_ENTRY(kind, name, ...) kind(#name, name __VA_OPT__(, ) __VA_ARGS__)
		return {KALVIO_ENTRY(strength, kl_set_smoothing),
			KALVIO_ENTRY(choice, kl_set_smoothing_style),
			KALVIO_ENTRY(strength, kl_set_whitening),
			KALVIO_ENTRY(choice, kl_set_whitening_style),
			KALVIO_ENTRY(strength, kl_set_rosiness),
			KALVIO_ENTRY(strength, kl_set_sharpening),
			{"kl_set_beauty_skin_only",
			 [](kl_engine *of) {
				 kl_set_beauty_skin_only(of, true);
			 }},
			KALVIO_ENTRY(shape, kl_set_reshape),
			KALVIO_ENTRY(shape, kl_set_body_reshape),
			KALVIO_ENTRY(strength, kl_set_lipstick),
			KALVIO_ENTRY(choice, kl_set_lipstick_color),
			KALVIO_ENTRY(strength, kl_set_blush),
			KALVIO_ENTRY(choice, kl_set_blush_style),
			KALVIO_ENTRY(choice, kl_set_blush_color),
			KALVIO_ENTRY(strength, kl_set_contour),
			KALVIO_ENTRY(choice, kl_set_contour_style),
			KALVIO_ENTRY(strength, kl_set_eye_shadow),
			KALVIO_ENTRY(choice, kl_set_eye_shadow_style),
			KALVIO_ENTRY(choice, kl_set_eye_shadow_color),
			KALVIO_ENTRY(strength, kl_set_eye_liner),
			KALVIO_ENTRY(choice, kl_set_eye_liner_style),
			KALVIO_ENTRY(choice, kl_set_eye_liner_color),
			KALVIO_ENTRY(strength, kl_set_eyebrow),
			KALVIO_ENTRY(choice, kl_set_eyebrow_style),
			KALVIO_ENTRY(choice, kl_set_eyebrow_color),
			KALVIO_ENTRY(strength, kl_set_eyelash),
			KALVIO_ENTRY(choice, kl_set_eyelash_style),
			KALVIO_ENTRY(choice, kl_set_eyelash_color),
			KALVIO_ENTRY(strength, kl_set_pupil),
			KALVIO_ENTRY(choice, kl_set_pupil_color),
			KALVIO_ENTRY(choice, kl_set_chroma_key),
			KALVIO_ENTRY(plain, kl_clear_chroma_key),
			KALVIO_ENTRY(strength, kl_set_chroma_key_similarity),
			KALVIO_ENTRY(strength, kl_set_chroma_key_smoothness),
			KALVIO_ENTRY(strength, kl_set_chroma_key_desaturation),
			KALVIO_ENTRY(file, kl_set_filter, shipped("filters/vivid/vivid.kld")),
			KALVIO_ENTRY(strength, kl_set_filter_intensity),
			KALVIO_ENTRY(plain, kl_clear_filter),
			KALVIO_ENTRY(file, kl_set_sticker, shipped("stickers/screen/petals.kld")),
			KALVIO_ENTRY(file, kl_set_3d_sticker, shipped("stickers/3d/oculos.kld")),
			KALVIO_ENTRY(plain, kl_clear_sticker),
			KALVIO_ENTRY(plain, kl_clear_3d_sticker),
			KALVIO_ENTRY(file, kl_set_virtual_background, shipped("backgrounds/office.jpg")),
			KALVIO_ENTRY(strength, kl_set_virtual_background_blur),
			KALVIO_ENTRY(plain, kl_clear_virtual_background),
			{"kl_wait_for_loads",
			 [](kl_engine *of) {
				 kl_wait_for_loads(of, 10'000);
			 }},
			{"kl_get_capabilities",
			 [](kl_engine *of) {
				 kl_get_capabilities(of);
			 }},
			{"kl_engine_set_event_callback",
			 [](kl_engine *of) {
				 int32_t last_code = 0;
				 kl_engine_set_event_callback(of, receive_event, &last_code);
				 kl_engine_set_event_callback(of, nullptr, nullptr);
			 }},
			{"kl_get_api_version",
			 [](kl_engine *) {
				 kl_get_api_version();
			 }},
			{"kl_set_log_config", [this](kl_engine *) {
				 const kl_log_config log = {0, 1, 2, 0, log_path.c_str()};
				 kl_set_log_config(&log);
			 }}};
#undef KALVIO_ENTRY
	}

	// `prepare` and `look_after` are done without a failure, around each call. How many allocations were let fail.
	static uint64_t fail_each(const std::function<void()> &prepare, const std::function<void()> &call,
				  const std::function<void()> &look_after = {})
	{
		for (uint64_t number = 1; number <= most_failures; ++number) {
			prepare();
			fail_heap_allocation(number);
			call();
			const bool came_to_it = !heap_failure_is_pending();
			cancel_heap_failure();
			if (look_after)
				look_after();
			if (!came_to_it)
				return number - 1;
		}
		return most_failures;
	}

	void expect_frame(kl_engine *of)
	{
		const Picture input = noise_picture(64, 36, 1);
		Picture output(64, 36);
		EXPECT_EQ(kl_process_rgba(of, input.bytes.data(), 64, 36, input.stride, output.bytes.data(),
					  KL_PIXEL_FORMAT_RGBA, 0),
			  KL_OK);
	}

	// Everything on.
	void switch_all_on(kl_engine *of) const
	{
		for (const auto set : {kl_set_smoothing, kl_set_whitening, kl_set_rosiness, kl_set_sharpening,
				       kl_set_lipstick, kl_set_blush, kl_set_contour, kl_set_eye_shadow,
				       kl_set_eye_liner, kl_set_eyebrow, kl_set_eyelash, kl_set_pupil})
			set(of, 0.5F);
		kl_set_reshape(of, 0, 0.5F);
		kl_set_body_reshape(of, 0, 0.5F);
		kl_set_filter(of, shipped("filters/vivid/vivid.kld").c_str());
		kl_set_sticker(of, shipped("stickers/screen/petals.kld").c_str());
		kl_set_virtual_background_blur(of, 0.5F);
	}
};

TEST_F(OutOfMemoryEntries, EverySetterSurvivesEachOfItsAllocations)
{
	uint64_t failures = 0;
	for (const Entry &entry : setters()) {
		SCOPED_TRACE(entry.name);
		const uint64_t of_entry = fail_each([] {}, [&] { entry.call(engine.get()); });
		EXPECT_LT(of_entry, most_failures);
		failures += of_entry;
		expect_frame(engine.get());
	}
	RecordProperty("failures", std::to_string(failures));
	std::printf("%u allocations of the setters were let fail\n", static_cast<unsigned>(failures));
	EXPECT_GT(failures, 300U);
}

TEST_F(OutOfMemoryEntries, TheFirstFrameOfAFaceWithEverythingOnSurvivesEachOfItsAllocations)
{
	if (!engine->nets->is_complete())
		GTEST_SKIP() << "the bundle has no nets: " << engine->nets->reason;
	FacePainter painter(engine->nets->head);
	Image image;
	painter.paint(FaceRecipe(), 1, image);
	EnginePointer fresh;
	std::vector<uint8_t> output(image.pixels.size());
	const auto frame = [&] {
		return kl_process_rgba(fresh.get(), image.pixels.data(), image.width, image.height, image.width * 4,
				       output.data(), KL_PIXEL_FORMAT_RGBA, 0);
	};
	const uint64_t failures = fail_each(
		[&] {
			fresh = create();
			ASSERT_NE(fresh, nullptr);
			fresh->pool = std::make_shared<Pool>(1); // all of it on this thread, where it can fail
			switch_all_on(fresh.get());
		},
		[&] { frame(); }, [&] { EXPECT_EQ(frame(), KL_OK); });
	std::printf("%u allocations of the frame were let fail\n", static_cast<unsigned>(failures));
	EXPECT_GT(failures, 30U);
}

TEST_F(OutOfMemoryEntries, AnEngineWithItsNetsSurvivesEachOfItsAllocations)
{
	engine.reset(); // the nets are shared with whoever has them
	const uint64_t failures = fail_each([] {}, [this] { (void)create(); });
	std::printf("%u allocations of an engine were let fail\n", static_cast<unsigned>(failures));
	EXPECT_GT(failures, 100U);
	const EnginePointer whole = create();
	ASSERT_NE(whole, nullptr);
	expect_frame(whole.get());
}

TEST_F(OutOfMemoryEntries, TheEndOfAnEngineSurvivesEachOfItsAllocations)
{
	EnginePointer other;
	const uint64_t failures = fail_each(
		[&] {
			other = create();
			switch_all_on(other.get());
		},
		[&] { other.reset(); });
	EXPECT_LT(failures, most_failures);
	expect_frame(engine.get());
}

TEST_F(OutOfMemoryEntries, NoFunctionOfTheHeaderIsLeftOut)
{
	std::set<std::string> tried = {"kl_engine_create", "kl_engine_destroy", "kl_process_rgba"};
	for (const Entry &entry : setters())
		tried.insert(entry.name);
	const std::string header = read_text(KALVIO_ENGINE_HEADER);
	const std::regex declaration("KL_API [a-z0-9_ ]+[ *](kl_\\w+)\\(");
	std::set<std::string> declared;
	for (std::sregex_iterator match(header.begin(), header.end(), declaration), end; match != end; ++match)
		declared.insert(match->str(1));
	EXPECT_EQ(tried, declared);
}

} // namespace
} // namespace kalvio::engine::testing
