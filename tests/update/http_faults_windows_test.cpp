// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/windows_faults.h"
#include "process_counts.h"
#include "update/http_client.h"

#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <thread>

// Every call that prepares a request fails once and always. The request then has no answer, nothing stays open, and the
// next one is answered. Against the servers that scripts/manifest-server starts.
namespace kalvio::test {
namespace {

std::string server_address()
{
	const char *server = std::getenv("KALVIO_SERVER");
	EXPECT_NE(server, nullptr) << "run this program by scripts/manifest-server --misbehave";
	return std::string(server ? server : "") + "/text";
}

struct Step {
	const char *function;
	int passed; // calls that succeed first
};

void PrintTo(const Step &step, std::ostream *out)
{
	*out << step.function << " after " << step.passed;
}

class WinHttpTest : public testing::Test {
protected:
	static void SetUpTestSuite()
	{
		watch_windows_calls_of();
		watch_windows_calls_of(L"libwinpthread-1.dll"); // where std::thread is made
	}
	WinHttpTest() { reset_windows_faults(); }
	~WinHttpTest() override { reset_windows_faults(); }

	static void expect_no_answer(const Step &step)
	{
		const HttpResponse response = http_request(server_address());
		EXPECT_EQ(response.status, 0U);
		EXPECT_EQ(response.body, "");
		EXPECT_EQ(open_web_handles(), 0);
		EXPECT_GT(windows_calls(step.function), step.passed);
	}

	static void expect_answer()
	{
		const HttpResponse response = http_request(server_address());
		EXPECT_EQ(response.status, 200U);
		EXPECT_EQ(response.body, "hello");
		EXPECT_EQ(open_web_handles(), 0);
	}
};

class WinHttpFaults : public WinHttpTest, public testing::WithParamInterface<Step> {};

TEST_P(WinHttpFaults, ARequestHasNoAnswerAndTheNextOneHas)
{
	make_windows_fail(GetParam().function, 1, GetParam().passed);
	expect_no_answer(GetParam());
	expect_answer();
}

TEST_P(WinHttpFaults, NoRequestHasAnAnswerUntilItEnds)
{
	expect_answer(); // what the libraries keep for the life of the process they have by now
	const int handles = open_handles();
	const int threads = running_threads();
	ASSERT_GT(handles, 0);
	for (int request = 0; request < 20; request++) {
		reset_windows_faults();
		make_windows_fail(GetParam().function, every_time, GetParam().passed);
		expect_no_answer(GetParam());
	}
	// A thread may take a moment longer than its request.
	const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(30);
	while ((open_handles() > handles || running_threads() > threads) && std::chrono::steady_clock::now() < give_up)
		std::this_thread::yield();
	EXPECT_LE(open_handles(), handles);
	EXPECT_LE(running_threads(), threads);
	reset_windows_faults();
	expect_answer();
}

std::string name_of(const testing::TestParamInfo<Step> &info)
{
	return std::string(info.param.function) + "_" + std::to_string(info.param.passed);
}

// Of the options the first is TLS 1.3, which has a test of its own; the wait for the header and the redirects follow.
INSTANTIATE_TEST_SUITE_P(Each, WinHttpFaults,
			 testing::Values(Step{"_beginthreadex", 0}, Step{"WinHttpOpen", 0},
					 Step{"WinHttpSetTimeouts", 0}, Step{"WinHttpSetOption", 1},
					 Step{"WinHttpSetOption", 2}, Step{"WinHttpConnect", 0},
					 Step{"WinHttpOpenRequest", 0}),
			 name_of);

class WinHttpFault : public WinHttpTest {};

// As Windows before 11 does.
TEST_F(WinHttpFault, WithoutTls13ARequestIsSentByTls12)
{
	make_windows_fail("WinHttpSetOption", 1);
	expect_answer();
	EXPECT_EQ(windows_calls("WinHttpSetOption"), 4);
}

TEST_F(WinHttpFault, WithoutBothNothingIsSent)
{
	for (const int times : {2, every_time}) {
		reset_windows_faults();
		make_windows_fail("WinHttpSetOption", times);
		expect_no_answer({"WinHttpSetOption", 1});
		EXPECT_EQ(windows_calls("WinHttpSetOption"), 2);
		EXPECT_EQ(windows_calls("WinHttpConnect"), 0);
	}
}

} // namespace
} // namespace kalvio::test
