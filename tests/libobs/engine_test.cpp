// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/libobs_fixture.h"
#include "kit/plugin_copy.h"
#include "libobs/stress_time.h"

#include <atomic>
#include <cmath>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <limits>
#include <thread>

// The module as it ships, with the engine library that lies beside it.
namespace kalvio::test {

namespace {

const LogLine creation_failed = {LOG_ERROR, "[Kalvio] kl_engine_create failed"};
const LogLine created_without_engine = {LOG_WARNING, "[Kalvio] filter created without engine (passthrough)"};

// Skin as it is: one color with faint blotches of some pixels and a finer grain that repeats nowhere.
Picture skin_picture()
{
	uint32_t state = 1;
	return make_picture(160, 120, [&state](uint32_t x, uint32_t y) {
		state = state * 1664525 + 1013904223;
		const int grain = static_cast<int>(state >> 30) - 2;
		const int blotch = static_cast<int>(std::lround(5 * std::sin(x / 1.7) * std::sin(y / 2.1)));
		return Rgba{static_cast<uint8_t>(214 + blotch + grain), static_cast<uint8_t>(164 + blotch + grain),
			    static_cast<uint8_t>(138 + blotch + grain), 255};
	});
}

double mean_green(const Picture &picture)
{
	double sum = 0;
	for (size_t i = 1; i < picture.rgba.size(); i += 4)
		sum += picture.rgba[i];
	return sum / (picture.width * picture.height);
}

// Standard deviation of the green channel away from the borders.
double unevenness_of(const Picture &picture)
{
	constexpr uint32_t border = 16;
	double sum = 0;
	double sum_of_squares = 0;
	int count = 0;
	for (uint32_t y = border; y < picture.height - border; y++) {
		for (uint32_t x = border; x < picture.width - border; x++) {
			const double green = picture.at(x, y)[1];
			sum += green;
			sum_of_squares += green * green;
			count++;
		}
	}
	const double mean = sum / count;
	return std::sqrt(sum_of_squares / count - mean * mean);
}

class EngineTest : public LibobsTest {
protected:
	// The picture as the filter shows it with these settings.
	static Picture filtered(const Picture &picture, obs_data_t *settings)
	{
		const OBSSourceAutoRelease source = create_picture_source("Camera", picture);
		const OBSSourceAutoRelease filter = add_filter(source, "Beauty", settings);
		return render(source);
	}
};

TEST_F(EngineTest, EngineIsTheLibraryBesideTheModule)
{
	const OBSSourceAutoRelease filter = create_filter("Beauty");

	const std::filesystem::path library = built_plugin().module_file.parent_path() / "libkalvio.so";
	EXPECT_NE(dlopen(library.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr) << "was not loaded";
	EXPECT_EQ(dlsym(RTLD_DEFAULT, "kl_engine_create"), nullptr) << "this executable has an engine of its own";
	const std::string bundle = (built_plugin().data_folder / "resource.kld").string();
	EXPECT_EQ(log().count({LOG_INFO, "[Kalvio] engine created, resource=" + bundle}), 1U);
}

TEST_F(EngineTest, NeutralSettingsChangeNoBit)
{
	for (const Picture &picture : {pattern_picture(33, 17), alpha_ramp_picture(), skin_picture()})
		EXPECT_EQ(filtered(picture, nullptr), picture);
	EXPECT_EQ(log().count({LOG_INFO, "[Kalvio] processing GPU frames 33x17"}), 1U);
}

TEST_F(EngineTest, NeutralSettingsChangeNoBitOfTheCanvas)
{
	const Picture ramp = alpha_ramp_picture();
	const OBSSourceAutoRelease source = create_picture_source("Camera", ramp);
	const Picture without = render_canvas(source);

	const OBSSourceAutoRelease filter = add_filter(source);

	EXPECT_EQ(render_canvas(source), without);
}

TEST_F(EngineTest, SmoothingEvensOutSkin)
{
	const Picture skin = skin_picture();

	const Picture smoothed = filtered(skin, settings_from(R"({"smoothing": 1.0, "smoothing_style": 2})"));

	EXPECT_LT(unevenness_of(smoothed), 0.7 * unevenness_of(skin));
	EXPECT_NEAR(mean_green(smoothed), mean_green(skin), 6);
}

TEST_F(EngineTest, WhiteningMakesSkinLighter)
{
	const Picture skin = skin_picture();

	const Picture whitened = filtered(skin, settings_from(R"({"whitening": 1.0})"));

	EXPECT_GT(mean_green(whitened), mean_green(skin) + 3);
}

TEST_F(EngineTest, ChangedSettingsShowFromTheNextTick)
{
	const Picture skin = skin_picture();
	const OBSSourceAutoRelease source = create_picture_source("Camera", skin);
	const OBSSourceAutoRelease filter = add_filter(source);
	EXPECT_EQ(render(source), skin);

	obs_source_update(filter, settings_from(R"({"smoothing": 1.0})"));
	wait_for_tick();
	EXPECT_NE(render(source), skin);

	obs_source_update(filter, settings_from(R"({"enabled": false})"));
	wait_for_tick();
	EXPECT_EQ(render(source), skin);
}

TEST_F(EngineTest, TwoFiltersDoNotShareTheirSettings)
{
	const Picture skin = skin_picture();
	const OBSSourceAutoRelease smoothed = create_picture_source("Smoothed", skin);
	const OBSSourceAutoRelease strong = add_filter(smoothed, "Strong", settings_from(R"({"smoothing": 1.0})"));
	const OBSSourceAutoRelease plain = create_picture_source("Plain", skin);
	const OBSSourceAutoRelease neutral = add_filter(plain, "Neutral");

	EXPECT_EQ(render(plain), skin);
	EXPECT_NE(render(smoothed), skin);
	EXPECT_EQ(render(plain), skin);
}

TEST_F(EngineTest, ValuesThatNoEffectHasLeaveThePictureVisible)
{
	const OBSDataAutoRelease settings = settings_from(R"({
		"smoothing": 1e30, "whitening": -1e30, "smoothing_style": -5, "whitening_style": 1000000,
		"face_thin": 99.0, "waist_slim": -99.0, "lipstick": 1e300, "lipstick_color": -2147483648,
		"bg_fill": 1, "bg_blur": 1e20, "chroma": 9
	})");
	for (const char *key : {"rosiness", "sharpening", "eye_size", "leg_long", "blush", "chroma_similarity"})
		obs_data_set_double(settings, key, std::numeric_limits<double>::quiet_NaN());
	for (const char *key : {"pupil", "eyebrow", "filter_intensity", "chroma_smoothness"})
		obs_data_set_double(settings, key, -std::numeric_limits<double>::infinity());
	const Picture skin = skin_picture();

	const Picture shown = filtered(skin, settings);

	ASSERT_EQ(shown.width, skin.width);
	EXPECT_GT(mean_green(shown), 60) << "the picture went dark";
}

TEST_F(EngineTest, SizesChangeFromFrameToFrame)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", {});
	const OBSSourceAutoRelease filter = add_filter(source, "Beauty", settings_from(R"({"smoothing": 0.8})"));
	const uint32_t sizes[][2] = {{1, 1}, {2, 3}, {640, 360}, {33, 17}, {16384, 1}, {1, 16384}, {160, 120}};

	for (const auto &[width, height] : sizes) {
		const Picture flat = solid_picture(width, height, {200, 150, 130, 255});
		set_picture(source, flat);
		EXPECT_LE(largest_difference(render(source), flat), 1) << width << "x" << height;
	}
}

TEST_F(EngineTest, SettingsChangeWhileTwoFiltersRender)
{
	const Picture flat = solid_picture(64, 36, {200, 150, 130, 255});
	const OBSSourceAutoRelease sources[] = {create_picture_source("First", flat),
						create_picture_source("Second", flat)};
	const OBSSourceAutoRelease filters[] = {add_filter(sources[0]), add_filter(sources[1])};

	std::atomic<bool> stop_updating = false;
	std::thread updater([&] {
		for (int round = 0; !stop_updating; round++) {
			const OBSDataAutoRelease settings = obs_data_create();
			obs_data_set_double(settings, "smoothing", round % 100 / 100.0);
			obs_data_set_int(settings, "smoothing_style", round % 3);
			obs_source_update(filters[round % 2], settings);
		}
	});
	int visible_frames = 0;
	int frames = 0;
	const auto end = std::chrono::steady_clock::now() + stress_time();
	while (std::chrono::steady_clock::now() < end) {
		for (const OBSSourceAutoRelease &source : sources) {
			visible_frames += largest_difference(render(source), flat) <= 1 ? 1 : 0;
			frames++;
		}
	}
	stop_updating = true;
	updater.join();

	EXPECT_GT(frames, 0);
	EXPECT_EQ(visible_frames, frames);
}

// A session over a copy of the module, whose files a test breaks.
class EngineCopyTest : public EngineTest {
protected:
	std::optional<SessionOptions> initial_session() override { return std::nullopt; }

	void start_copy(const PluginCopy &copy)
	{
		SessionOptions options;
		options.plugin = copy.files();
		start(options);
	}
};

TEST_F(EngineCopyTest, FolderThatIsNotAsciiIsNoObstacle)
{
	const PluginCopy copy("d\u00e9 \u76ee\u5f55 sp");
	copy.add_built_bundle();
	start_copy(copy);
	const Picture skin = skin_picture();

	EXPECT_NE(filtered(skin, settings_from(R"({"smoothing": 1.0})")), skin);
	const std::filesystem::path library = copy.files().module_file.parent_path() / "libkalvio.so";
	EXPECT_NE(dlopen(library.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr) << "another engine was loaded";
	EXPECT_EQ(log().count({LOG_INFO, "[Kalvio] engine created, resource=" + copy.bundle().string()}), 1U);
}

TEST_F(EngineCopyTest, EngineLogIsInTheTemporaryFolder)
{
	const PluginCopy copy; // the log's path is decided once per process and copy
	copy.add_built_bundle();
	start_copy(copy);

	const OBSSourceAutoRelease filter = create_filter("Beauty");

	const std::filesystem::path engine_log = session().config_folder() / "kalvio-obs.log";
	ASSERT_TRUE(std::filesystem::exists(engine_log));
	EXPECT_GT(std::filesystem::file_size(engine_log), 0U);
}

struct BrokenBundle {
	const char *name;
	void (*make)(const std::filesystem::path &bundle);
};

void PrintTo(const BrokenBundle &bundle, std::ostream *out)
{
	*out << bundle.name;
}

class BrokenBundleTest : public EngineCopyTest, public ::testing::WithParamInterface<BrokenBundle> {};

TEST_P(BrokenBundleTest, SourceStaysVisibleAndTheRepairedBundleIsUsed)
{
	announce_log_line(creation_failed);
	announce_log_line(created_without_engine);
	const PluginCopy copy;
	GetParam().make(copy.bundle());
	start_copy(copy);
	const Picture skin = skin_picture();
	const OBSSourceAutoRelease source = create_picture_source("Camera", skin);
	const OBSSourceAutoRelease filter = add_filter(source, "Beauty", settings_from(R"({"smoothing": 1.0})"));

	EXPECT_EQ(render(source), skin);
	EXPECT_EQ(log().count(created_without_engine), 1U);
	EXPECT_EQ(log().count(creation_failed), 2U) << "once at creation, once on the frame";

	std::filesystem::remove_all(copy.bundle());
	copy.add_built_bundle();
	EXPECT_NE(render(source), skin);
	EXPECT_EQ(log().count(creation_failed), 2U);
}

void write_bytes(const std::filesystem::path &file, const std::string &bytes)
{
	std::ofstream(file, std::ios::binary) << bytes;
}

void write_first_half_of_the_built_bundle(const std::filesystem::path &bundle)
{
	std::ifstream built(built_plugin().data_folder / "resource.kld", std::ios::binary);
	std::string bytes(std::istreambuf_iterator<char>(built), {});
	bytes.resize(bytes.size() / 2);
	write_bytes(bundle, bytes);
}

INSTANTIATE_TEST_SUITE_P(Bundles, BrokenBundleTest,
			 ::testing::Values(BrokenBundle{"Empty",
							[](const std::filesystem::path &bundle) {
								write_bytes(bundle, "");
							}},
					   BrokenBundle{"Garbage",
							[](const std::filesystem::path &bundle) {
								write_bytes(bundle, "no bundle at all");
							}},
					   BrokenBundle{"Truncated", write_first_half_of_the_built_bundle},
					   BrokenBundle{"Folder",
							[](const std::filesystem::path &bundle) {
								std::filesystem::create_directory(bundle);
							}}),
			 [](const auto &bundle) { return std::string(bundle.param.name); });

} // namespace

} // namespace kalvio::test
