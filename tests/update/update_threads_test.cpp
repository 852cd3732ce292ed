// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/update_check.h"

#include "update_world.h"

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace kalvio::test {

namespace {

class UpdateThreadsTest : public UpdateWorld {
protected:
	// As a pool of threads at once, each as often as it is told.
	template <typename Work>
	static void run_on_threads(int threads, int times, const Work &work)
	{
		std::vector<std::thread> pool;
		pool.reserve(static_cast<std::size_t>(threads));
		for (int index = 0; index < threads; index++) {
			pool.emplace_back([&work, times] {
				for (int round = 0; round < times; round++)
					work();
			});
		}
		for (std::thread &thread : pool)
			thread.join();
	}
};

} // namespace

TEST_F(UpdateThreadsTest, ThousandPollsStartOneCheck)
{
	for (int poll = 0; poll < 1000; poll++)
		start_update_check_if_due();
	wait_for_worker();
	EXPECT_EQ(fetched().size(), 1U);
}

TEST_F(UpdateThreadsTest, ThousandPollsOfEightThreadsStartOneCheck)
{
	run_on_threads(8, 1000, start_update_check_if_due);
	wait_for_worker();
	EXPECT_EQ(fetched().size(), 1U);
}

TEST_F(UpdateThreadsTest, ThousandPollsStartNoCheck_WhileOneIsUnderWay)
{
	hold_answers();
	for (int poll = 0; poll < 1000; poll++) {
		start_update_check_if_due();
		advance(21'600);
	}
	release_answers();
	wait_for_worker();
	EXPECT_EQ(fetched().size(), 1U);
}

TEST_F(UpdateThreadsTest, ReadersNeverSeeHalfOfAManifest)
{
	const std::string first = R"({"version": "1.0.13", "notes": "first"})";
	const std::string second = R"({"version": "1.0.14", "force_below": "1.0.14", "notes": "second"})";
	std::atomic<bool> done = false;
	std::thread writer([&] {
		for (int round = 0; round < 200; round++) {
			answer_manifest(round % 2 == 0 ? first : second);
			run_update_check();
		}
		done = true;
	});
	run_on_threads(4, 1, [&] {
		while (!done) {
			const UpdateStatus status = update_status();
			if (status.latest.empty())
				continue;
			const bool is_second = status.latest == "1.0.14";
			EXPECT_EQ(status.notes, is_second ? "second" : "first");
			EXPECT_EQ(status.forced, is_second);
			EXPECT_EQ(status.soft, !is_second);
			(void)update_is_forced();
		}
	});
	writer.join();
}

TEST_F(UpdateThreadsTest, EveryCallMayComeFromAnyThread)
{
	answer_manifest(R"({"version": "1.0.13"})");
	run_on_threads(4, 50, [&] {
		start_update_check_if_due();
		(void)update_status();
		(void)update_is_forced();
		dismiss_update();
		load_update_dismissal();
		open_update_download();
		advance(21'600);
	});
	wait_for_worker();
	EXPECT_EQ(opened().size(), 200U);
}

} // namespace kalvio::test
