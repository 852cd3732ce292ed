// SPDX-License-Identifier: GPL-2.0-or-later
#include "curl_faults.h"
#include "update/http_client.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

// Every call into libcurl fails once and always. A request then has no answer, nothing stays open, the library's lock
// is free, and the next request is answered. Against the servers that scripts/manifest-server starts.
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

class HttpFaults : public testing::TestWithParam<Step> {
protected:
	HttpFaults() { reset_curl_faults(); }
	~HttpFaults() override { reset_curl_faults(); }

	static void expect_no_answer()
	{
		const HttpResponse response = http_request(server_address());
		EXPECT_EQ(response.status, 0U);
		EXPECT_EQ(response.body, "");
		EXPECT_EQ(open_curl_objects(), 0);
		EXPECT_GT(curl_calls(GetParam().function), GetParam().passed);
	}

	static void expect_answer()
	{
		const HttpResponse response = http_request(server_address());
		EXPECT_EQ(response.status, 200U);
		EXPECT_EQ(response.body, "hello");
		EXPECT_EQ(open_curl_objects(), 0);
	}
};

TEST_P(HttpFaults, ARequestHasNoAnswerAndTheNextOneHas)
{
	make_curl_fail(GetParam().function, 1, GetParam().passed);
	expect_no_answer();
	expect_answer();
}

TEST_P(HttpFaults, NoRequestHasAnAnswerUntilItEnds)
{
	for (int request = 0; request < 5; request++) {
		reset_curl_faults();
		make_curl_fail(GetParam().function, every_time, GetParam().passed);
		expect_no_answer();
	}
	reset_curl_faults();
	expect_answer();
}

std::string name_of(const testing::TestParamInfo<Step> &info)
{
	return std::string(info.param.function) + "_" + std::to_string(info.param.passed);
}

INSTANTIATE_TEST_SUITE_P(Each, HttpFaults,
			 testing::Values(Step{"curl_url", 0}, Step{"curl_url_set", 0}, Step{"curl_url_get", 0},
					 Step{"curl_url_get", 1}, Step{"curl_url_set", 1}, Step{"curl_url_set", 2},
					 Step{"curl_url_set", 3}, Step{"curl_url_set", 4}, Step{"curl_slist_append", 0},
					 Step{"curl_easy_init", 0}, Step{"curl_multi_init", 0},
					 Step{"curl_easy_setopt", 0}, Step{"curl_easy_setopt", 9},
					 Step{"curl_easy_setopt", 18}, Step{"curl_multi_add_handle", 0},
					 Step{"curl_multi_perform", 0}, Step{"curl_multi_poll", 0}),
			 name_of);

// What is asked only about a request that goes on, or after it.
class HttpFault : public testing::Test {
protected:
	HttpFault() { reset_curl_faults(); }
	~HttpFault() override
	{
		EXPECT_EQ(open_curl_objects(), 0);
		reset_curl_faults();
	}
	static std::uint32_t status() { return http_request(server_address()).status; }
};

// First in this program, which initializes the library with its first request.
TEST_F(HttpFault, ALibraryThatWasNotInitializedInitializesItself)
{
	make_curl_fail("curl_global_init");
	EXPECT_EQ(status(), 200U);
}

TEST_F(HttpFault, NoOptionIsTakenForGranted)
{
	ASSERT_EQ(status(), 200U);
	const int options = curl_calls("curl_easy_setopt");
	ASSERT_GT(options, 15);
	for (int option = 0; option < options; option++) {
		reset_curl_faults();
		make_curl_fail("curl_easy_setopt", 1, option);
		EXPECT_EQ(status(), 0U) << option;
	}
}

TEST_F(HttpFault, AStatusThatCannotBeAskedForIsNone)
{
	make_curl_fail("curl_easy_getinfo");
	EXPECT_EQ(status(), 0U);
}

TEST_F(HttpFault, AHandleThatDoesNotComeOutIsClosedAllTheSame)
{
	make_curl_fail("curl_multi_remove_handle");
	EXPECT_EQ(status(), 200U);
}

} // namespace
} // namespace kalvio::test
