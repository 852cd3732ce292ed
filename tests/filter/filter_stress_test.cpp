// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_registry.h"
#include "filter/filter_source.h"
#include "kit/call_journal.h"
#include "kit/host_double.h"
#include "kit/log_capture.h"
#include "kit/platform_double.h"
#include "kit/scratch.h"
#include "kit/seam_doubles.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <kalvio_engine.h>
#include <obs.hpp>
#include <thread>

// Everything at once, with the real engine: for the sanitizers above all. KALVIO_STRESS_SECONDS says for how long.
namespace {

using namespace kalvio;
using namespace kalvio::test;

std::chrono::seconds stress_time()
{
	const char *seconds = std::getenv("KALVIO_STRESS_SECONDS");
	return std::chrono::seconds(seconds && *seconds ? std::atoi(seconds) : 2);
}

// A camera and a filter on it.
struct FilteredCamera {
	FakeSource camera;
	FakeSource filter;

	FilteredCamera(const std::string &name, const obs_source_info &info) : camera(name), filter(name + " filter")
	{
		camera.set_size(64, 36);
		filter.put_on(camera);
		filter.create_filter(info);
	}
	// As the host: whoever holds a reference ends first, and nobody gets another.
	~FilteredCamera()
	{
		filter.wait_for_last_reference();
		filter.destroy_filter();
		camera.wait_for_last_reference();
	}

	// A tick and a frame of the host.
	std::vector<Drawn> render()
	{
		filter.tick();
		return host_double().render([this] { filter.info.video_render(filter.data, nullptr); });
	}
};

class FilterStress : public testing::Test {
protected:
	FilterStress()
	{
		host_double().reset();
		reset_seams();
		reset_platform();
		call_journal().reset();
		call_journal().set_enabled(false); // it would grow for as long as the test runs
		host_double().set_data_folder(KALVIO_TEST_DATA_FOLDER);
		set_temporary_folder(scratch_.path().generic_string() + "/");
	}
	// Windows does not remove a file that is open.
	~FilterStress() override
	{
		const kl_log_config none = {};
		kl_set_log_config(&none);
	}

	// Frames of one filter, at two sizes by turns. Every frame shows something of the camera's size, or nothing
	// while the filter is off its source.
	void render(FilteredCamera &filtered, std::atomic<int> &frames)
	{
		while (!stop_) {
			const int frame = frames++;
			if (frame % 500 == 499)
				filtered.camera.set_size(frame % 1000 < 500 ? 48 : 64, 36);
			const std::vector<Drawn> screen = filtered.render();
			if (screen.size() > 1 ||
			    (screen.size() == 1 && screen[0].picture.width != filtered.camera.picture.width))
				++wrong_frames_;
			pictures_ += static_cast<int>(screen.size());
		}
	}

	// What a user does in the panel: settings of one filter, texts of all lengths among them. Now and then an
	// update pauses all effects.
	void change_settings()
	{
		const std::string long_id(200, 'x');
		for (int round = 0; !stop_; ++round) {
			const OBSDataAutoRelease changes = obs_data_create();
			obs_data_set_double(changes, "smoothing", round % 100 / 100.0);
			obs_data_set_double(changes, "whitening", round % 7 / 7.0);
			obs_data_set_bool(changes, "enabled", round % 16 != 0);
			obs_data_set_string(changes, "filter_id", round % 3 ? "vivid" : "");
			obs_data_set_string(changes, "bg_preset", round % 2 ? "city" : long_id.c_str());
			obs_data_set_int(changes, "bg_fill", round % 2);
			update_filter_at(round % 2, changes);
			set_update_forced(round % 200 == 0);
			++updates_;
		}
	}

	// What the panel does.
	void use_registry()
	{
		for (int round = 0; !stop_; ++round) {
			const size_t count = registered_filter_names().size();
			const OBSDataAutoRelease settings = obs_data_create();
			if (read_filter_settings_at(round % 3, settings))
				update_filter_at(round % 3, settings);
			if (round % 10 == 0)
				update_all_filters(settings);
			EXPECT_LE(count, 3u);
			++reads_;
		}
	}

	// A filter that is taken off its source and put back while that is drawn.
	void remove_and_add(FilteredCamera &filtered)
	{
		while (!stop_) {
			filtered.filter.remove_from_source();
			std::this_thread::yield();
			filtered.filter.put_on(filtered.camera);
			std::this_thread::yield();
			++removals_;
		}
	}

	// Filters that are added and removed meanwhile.
	void come_and_go(const obs_source_info &info)
	{
		while (!stop_) {
			FilteredCamera filtered("Guest", info);
			filtered.render();
			filtered.filter.remove_from_source();
			++guests_;
		}
	}

	ScratchFolder scratch_;
	LogCapture log_;
	std::atomic<bool> stop_ = false;
	std::atomic<int> wrong_frames_ = 0;
	std::atomic<int> pictures_ = 0;
	std::atomic<int> removals_ = 0;
	std::atomic<int> updates_ = 0;
	std::atomic<int> reads_ = 0;
	std::atomic<int> guests_ = 0;
};

TEST_F(FilterStress, FiltersRenderWhileSettingsChangeThePanelReadsAndOthersComeAndGo)
{
	const obs_source_info info = filter_source_info();
	std::atomic<int> frames[2] = {0, 0};
	{
		FilteredCamera first("First", info);
		FilteredCamera second("Second", info);
		std::vector<std::thread> threads;
		threads.emplace_back([&] { render(first, frames[0]); });
		threads.emplace_back([&] { render(second, frames[1]); });
		threads.emplace_back([&] { change_settings(); });
		threads.emplace_back([&] { remove_and_add(second); });
		threads.emplace_back([&] { use_registry(); });
		threads.emplace_back([&] { come_and_go(info); });
		std::this_thread::sleep_for(stress_time()); // the length of the test, not a wait for anything
		stop_ = true;
		for (std::thread &thread : threads)
			thread.join();
	}

	EXPECT_EQ(wrong_frames_, 0);
	EXPECT_GT(frames[0], 0);
	EXPECT_GT(frames[1], 0);
	EXPECT_GT(pictures_, frames[0]) << "the second filter showed nothing at all";
	EXPECT_GT(removals_, 0);
	EXPECT_GT(updates_, 0);
	EXPECT_GT(reads_, 0);
	EXPECT_GT(guests_, 0);
	EXPECT_EQ(host_double().misuse(), std::vector<std::string>());
	EXPECT_EQ(host_double().live_gpu_objects(), 0);
	EXPECT_EQ(registered_filter_names(), std::vector<std::string>());
	for (const LogLine &line : log_.product_lines()) {
		// A filter that is added during the pause says so.
		if (line.text != "[Kalvio] filter created without engine (passthrough)") {
			EXPECT_EQ(line.level, LOG_INFO) << line.text;
		}
	}
	RecordProperty("frames", frames[0] + frames[1]);
	RecordProperty("updates", updates_);
	RecordProperty("guests", guests_);
	RecordProperty("removals", removals_);
}

} // namespace
