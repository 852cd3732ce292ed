// SPDX-License-Identifier: GPL-2.0-or-later
#include "libobs/recording_test.h"
#include "libobs/stress_time.h"

#include <atomic>
#include <chrono>
#include <thread>

// Two filters that render while their settings change, for as long as KALVIO_STRESS_SECONDS says.
namespace kalvio::test {

namespace {

class StressTest : public RecordingTest {};

TEST_F(StressTest, TwoFiltersRenderWhileTheirSettingsChange)
{
	call_journal().set_enabled(false); // it would grow for as long as the test runs
	const Picture pictures[] = {pattern_picture(64, 36), pattern_picture(32, 48)};
	const OBSSourceAutoRelease sources[] = {create_picture_source("First", pictures[0]),
						create_picture_source("Second", pictures[1])};
	const OBSSourceAutoRelease filters[] = {add_filter(sources[0]), add_filter(sources[1])};

	std::atomic<bool> stop_updating = false;
	std::atomic<int> updates = 0;
	std::thread updater([&] {
		for (int round = 0; !stop_updating; round++) {
			const OBSDataAutoRelease settings = obs_data_create();
			obs_data_set_double(settings, "smoothing", round % 100 / 100.0);
			obs_data_set_int(settings, "bg_fill", round % 2);
			obs_data_set_double(settings, "bg_blur", round % 7 / 7.0);
			obs_source_update(filters[round % 2], settings);
			updates++;
		}
	});

	int wrong_frames = 0;
	int frames = 0;
	const auto end = std::chrono::steady_clock::now() + stress_time();
	while (std::chrono::steady_clock::now() < end) {
		for (int i = 0; i < 2; i++)
			wrong_frames += render(sources[i]) == processed(pictures[i]) ? 0 : 1;
		frames++;
	}
	stop_updating = true;
	updater.join();

	EXPECT_EQ(wrong_frames, 0);
	EXPECT_GT(frames, 0);
	EXPECT_GT(updates, frames);
	RecordProperty("frames", frames);
	RecordProperty("updates", updates);
}

} // namespace

} // namespace kalvio::test
