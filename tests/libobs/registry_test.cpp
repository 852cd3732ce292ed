// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_registry.h"
#include "kit/seam_doubles.h"
#include "libobs/inner_filter_test.h"
#include "libobs/stress_time.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

// What the panel and the update service see and do in the real host, which no export of the module reaches.
namespace kalvio::test {

namespace {

class RegistryTest : public InnerFilterTest {
protected:
	const Picture picture_ = pattern_picture(16, 16);
};

// A source with one of our filters on it, both taken away at the end.
struct FilteredSource {
	OBSSourceAutoRelease source;
	OBSSourceAutoRelease filter;

	explicit FilteredSource(const std::string &name, obs_data_t *settings = nullptr)
		: source(create_picture_source(name, pattern_picture(16, 16))),
		  filter(add_filter(source, "Beauty", settings))
	{
	}
};

double smoothing_of(obs_source_t *filter)
{
	const OBSDataAutoRelease settings = obs_source_get_settings(filter);
	return obs_data_get_double(settings, "smoothing");
}

// Keeps the host from destroying what has been released.
class PausedDestruction {
public:
	PausedDestruction()
	{
		obs_queue_task(
			OBS_TASK_DESTROY,
			[](void *gate) {
				auto &paused = *static_cast<PausedDestruction *>(gate);
				std::unique_lock lock(paused.mutex_);
				paused.changed_.wait(lock, [&paused] { return paused.open_; });
			},
			this, false);
	}

	~PausedDestruction()
	{
		{
			const std::lock_guard lock(mutex_);
			open_ = true;
			changed_.notify_all();
		}
		obs_wait_for_destroy_queue();
	}

	PausedDestruction(const PausedDestruction &) = delete;
	PausedDestruction &operator=(const PausedDestruction &) = delete;

private:
	std::mutex mutex_;
	std::condition_variable changed_;
	bool open_ = false;
};

TEST_F(RegistryTest, FiltersAreListedByTheirSourcesInOrderOfCreation)
{
	const FilteredSource camera("Camera");
	const FilteredSource capture("Aufnahme \u00e4\u00f6\u00fc");
	const FilteredSource media("\u5a92\u4f53");

	EXPECT_EQ(registered_filter_names(),
		  (std::vector<std::string>{"Camera", "Aufnahme \u00e4\u00f6\u00fc", "\u5a92\u4f53"}));
}

TEST_F(RegistryTest, FilterOnNoSourceIsListedByItsOwnName)
{
	const OBSSourceAutoRelease filter = create_filter("Lonely");

	EXPECT_EQ(registered_filter_names(), std::vector<std::string>{"Lonely"});
}

TEST_F(RegistryTest, RenamedSourceIsListedByItsNewName)
{
	const FilteredSource camera("Camera");

	obs_source_set_name(camera.source, "Kamera");

	EXPECT_EQ(registered_filter_names(), std::vector<std::string>{"Kamera"});
}

TEST_F(RegistryTest, RemovingTheSecondOfThreeShiftsTheThird)
{
	const FilteredSource first("First");
	FilteredSource second("Second");
	const FilteredSource third("Third");

	obs_source_filter_remove(second.source, second.filter);
	release_and_wait(second.filter);

	EXPECT_EQ(registered_filter_names(), (std::vector<std::string>{"First", "Third"}));
	update_filter_at(2, settings_from(R"({"smoothing": 0.9})"));
	EXPECT_EQ(smoothing_of(third.filter), 0.0);
	update_filter_at(1, settings_from(R"({"smoothing": 0.4})"));
	EXPECT_EQ(smoothing_of(third.filter), 0.4);
	EXPECT_EQ(smoothing_of(first.filter), 0.0);
}

TEST_F(RegistryTest, UpdateReachesTheHostAtOnceAndTheEngineWithTheNextTick)
{
	const FilteredSource camera("Camera");
	call_journal().take();

	{
		const PausedGraphicsThread paused;
		update_filter_at(0, settings_from(R"({"smoothing": 0.5})"));
		EXPECT_EQ(smoothing_of(camera.filter), 0.5);
		EXPECT_EQ(call_journal().count("kl_set_smoothing"), 0U);
	}
	wait_for_tick();

	EXPECT_EQ(call_journal().calls_named("kl_set_smoothing"),
		  std::vector<Call>(1, Call{"kl_set_smoothing", {0.5F}, {}, {}, {}, {}}));
}

TEST_F(RegistryTest, UpdateOfAllReachesEachFilter)
{
	const FilteredSource first("First");
	const FilteredSource second("Second");

	update_all_filters(settings_from(R"({"smoothing": 0.25})"));

	EXPECT_EQ(smoothing_of(first.filter), 0.25);
	EXPECT_EQ(smoothing_of(second.filter), 0.25);
}

TEST_F(RegistryTest, SettingsAreReadFromTheChosenFilter)
{
	const FilteredSource first("First", settings_from(R"({"smoothing": 0.1})"));
	const FilteredSource second("Second", settings_from(R"({"smoothing": 0.2})"));
	const OBSDataAutoRelease read = obs_data_create();

	EXPECT_TRUE(read_filter_settings_at(1, read));

	EXPECT_EQ(obs_data_get_double(read, "smoothing"), 0.2);
}

TEST_F(RegistryTest, FilterThatIsGoingAwayRefusesBoth)
{
	FilteredSource camera("Camera");
	call_journal().take();
	const OBSDataAutoRelease read = obs_data_create();
	{
		const PausedDestruction paused;
		obs_source_filter_remove(camera.source, camera.filter);
		camera.filter = nullptr; // the last reference; destroy waits behind the pause

		ASSERT_EQ(registered_filter_names().size(), 1U);
		update_filter_at(0, settings_from(R"({"smoothing": 0.5})"));
		update_all_filters(settings_from(R"({"smoothing": 0.5})"));
		EXPECT_FALSE(read_filter_settings_at(0, read));
	}

	EXPECT_EQ(call_journal().count("kl_set_smoothing"), 0U);
	EXPECT_EQ(std::string(obs_data_get_json(read)), "{}");
	EXPECT_EQ(registered_filter_names().size(), 0U);
}

TEST_F(RegistryTest, ForcedUpdateTakesTheEngineOnTheNextFrameAndGivesItBackWithItsSettings)
{
	const FilteredSource camera("Camera", settings_from(R"({"smoothing": 0.5})"));
	EngineScript inverting;
	inverting.output = EngineOutput::Invert;
	set_engine_script(inverting);
	EXPECT_NE(render(camera.source), picture_);

	set_update_forced(true);
	EXPECT_EQ(render(camera.source), picture_);
	EXPECT_EQ(live_engine_count(), 0);

	call_journal().take();
	set_update_forced(false);
	EXPECT_NE(render(camera.source), picture_);
	EXPECT_EQ(call_journal().calls_named("kl_set_smoothing"),
		  std::vector<Call>(1, Call{"kl_set_smoothing", {0.5F}, {}, {}, {}, {}}));
}

TEST_F(RegistryTest, FilterMadeInARunningHostBringsThePanelForward)
{
	const FilteredSource loaded_with_the_collection("Camera");
	EXPECT_EQ(call_journal().count("show_dock"), 0U);

	set_frontend_ready(true);
	const FilteredSource added_by_the_user("Capture");

	EXPECT_EQ(call_journal().count("show_dock"), 1U);
}

TEST_F(RegistryTest, PanelReadsAndWritesWhileFiltersComeAndGoAndRender)
{
	call_journal().set_enabled(false); // it would grow for as long as the test runs
	const FilteredSource camera("Camera");
	std::atomic<bool> stop_polling = false;
	std::atomic<int> polls = 0;
	std::thread panel([&] {
		const OBSDataAutoRelease read = obs_data_create();
		for (; !stop_polling; polls++) {
			const int filters = static_cast<int>(registered_filter_names().size());
			read_filter_settings_at(polls % 3, read);
			update_filter_at(polls % 3, settings_from(R"({"smoothing": 0.5})"));
			if (filters > 1)
				update_all_filters(settings_from(R"({"whitening": 0.25})"));
		}
	});

	int wrong_frames = 0;
	const auto end = std::chrono::steady_clock::now() + stress_time();
	for (int round = 0; std::chrono::steady_clock::now() < end; round++) {
		const FilteredSource passing(std::to_string(round));
		wrong_frames += render(camera.source) == picture_ ? 0 : 1;
		wrong_frames += render(passing.source) == picture_ ? 0 : 1;
	}
	stop_polling = true;
	panel.join();

	EXPECT_EQ(wrong_frames, 0);
	EXPECT_GT(polls, 0);
}

} // namespace

} // namespace kalvio::test
