// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/http_client.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

// Checks run on detached threads, so a process may end in the middle of one. In a program of its own: a process that is
// to be started anew for each case should not carry the threads of other tests.

namespace kalvio::test {

namespace {

using Clock = std::chrono::steady_clock;

std::string server(const char *variable)
{
	const char *address = std::getenv(variable);
	EXPECT_NE(address, nullptr) << variable
				    << " is not set: run this program by scripts/manifest-server --misbehave";
	return address ? address : "";
}

// Never destroyed: the threads below outlive main().
std::atomic<int> &finished_requests()
{
	static auto *count = new std::atomic<int>(0);
	return *count;
}

void request_for_ever(const std::string &url)
{
	std::thread([url] {
		for (;;) {
			(void)http_request(url);
			finished_requests()++;
		}
	}).detach();
}

constexpr std::chrono::seconds hang{120};

[[noreturn]] void exit_in_the_middle_of(const std::string &url)
{
	std::thread([url] {
		HttpLimits limits;
		limits.phase = hang;
		limits.total = hang;
		(void)http_request(url, limits);
	}).detach();
	// By the time that this one is through, the other hangs.
	(void)http_request(server("KALVIO_SERVER") + "/text");
	std::exit(0);
}

[[noreturn]] void exit_under_load(const std::string &url)
{
	for (int thread = 0; thread < 4; thread++)
		request_for_ever(url);
	while (finished_requests() < 4)
		std::this_thread::yield();
	std::exit(0);
}

class ProcessExitTest : public testing::Test {
protected:
	void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

	static void expect_quick_exit(const std::string &url)
	{
		const Clock::time_point start = Clock::now();
		EXPECT_EXIT(exit_in_the_middle_of(url), testing::ExitedWithCode(0), "") << url;
		EXPECT_LT(Clock::now() - start, hang / 2) << url; // all of it, on the slowest of machines
	}
};

} // namespace

TEST_F(ProcessExitTest, WaitsForNoRequest)
{
	for (const char *path : {"/stall-before-header", "/stall-in-body", "/drip"})
		expect_quick_exit(server("KALVIO_SERVER") + path);
	expect_quick_exit(server("KALVIO_SERVER_SILENT"));
	expect_quick_exit(server("KALVIO_SERVER_UNREACHABLE"));
}

TEST_F(ProcessExitTest, IsCleanWhileRequestsAreAtWork)
{
	for (int round = 0; round < 5; round++)
		EXPECT_EXIT(exit_under_load(server("KALVIO_SERVER") + "/text"), testing::ExitedWithCode(0), "")
			<< round;
}

} // namespace kalvio::test
