// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/http_client.h"

#include "process_counts.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

// Against real TLS servers on this machine; scripts/manifest-server starts them, trusts them and runs this program.

namespace kalvio::test {

namespace {

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr std::size_t pattern_bytes = 8'388'608;
// What a loaded machine may add to a limit.
constexpr milliseconds slack{3000};

// The base address of one of the servers.
std::string server(const char *variable = "KALVIO_SERVER")
{
	const char *address = std::getenv(variable);
	EXPECT_NE(address, nullptr) << variable
				    << " is not set: run this program by scripts/manifest-server --misbehave";
	return address ? address : "";
}

// For what ends by a limit; all of a handshake has to fit into it, also with a sanitizer on a busy machine.
HttpLimits short_limits()
{
	HttpLimits limits;
	limits.phase = milliseconds(1500);
	limits.total = milliseconds(20'000);
	return limits;
}

// The requests that every server has had so far, as JSON.
std::string seen()
{
	return http_request(server() + "/seen").body;
}

std::string pattern(std::size_t size)
{
	std::string bytes;
	bytes.reserve(size);
	for (std::size_t offset = 0; offset < size; offset += 4) {
		for (unsigned shift = 0; shift < 32; shift += 8)
			bytes += static_cast<char>(offset >> shift & 0xFF);
	}
	return bytes;
}

void expect_nothing(const std::string &url)
{
	const HttpResponse response = http_request(url);
	EXPECT_EQ(response.status, 0U) << url;
	EXPECT_EQ(response.body, "") << url;
}

// One request, and whether it took between `least` and `most`, give or take what a busy machine adds.
HttpResponse request_until_limit(const std::string &url, const HttpLimits &limits, milliseconds least,
				 milliseconds most)
{
	const Clock::time_point start = Clock::now();
	HttpResponse response = http_request(url, limits);
	const auto took = std::chrono::duration_cast<milliseconds>(Clock::now() - start);
	std::printf("%6d ms, status %u: %s\n", static_cast<int>(took.count()), response.status, url.c_str());
	EXPECT_GE(took, least - milliseconds(30)) << url; // clocks differ in how they round
	EXPECT_LE(took, most + slack) << url;
	return response;
}

// Every way a server can fall silent, each against the limit on one phase.
void expect_phase_limit_to_hold(const HttpLimits &limits)
{
	for (const std::string &url : {server("KALVIO_SERVER_UNREACHABLE") + "/text",
				       server("KALVIO_SERVER_SILENT") + "/text", server() + "/stall-before-header"}) {
		const HttpResponse response = request_until_limit(url, limits, limits.phase, limits.phase);
		EXPECT_EQ(response.status, 0U) << url;
		EXPECT_EQ(response.body, "") << url;
	}

	// The status line was there, so the status may be. Wine takes the unfinished header for a whole one and waits
	// once more, for the body.
	const HttpResponse header =
		request_until_limit(server() + "/stall-in-header", limits, limits.phase, 2 * limits.phase);
	EXPECT_EQ(header.body, "");

	const HttpResponse body = request_until_limit(server() + "/stall-in-body", limits, limits.phase, limits.phase);
	EXPECT_EQ(body.status, 200U);
	EXPECT_EQ(body.body, "the beginning");
}

} // namespace

// What is sent

TEST(HttpClient, SendsPathAndQueryAsTheyStand)
{
	const HttpResponse response = http_request(server() + "/echo?a=1&b=%20x%2By&c=d/e?f");
	EXPECT_EQ(response.status, 200U);
	EXPECT_TRUE(response.body.starts_with("GET /echo?a=1&b=%20x%2By&c=d/e?f HTTP/1.1\n")) << response.body;
}

TEST(HttpClient, SendsNeitherFragmentNorUser)
{
	std::string url = server() + "/echo?a=1#fragment";
	url.insert(url.find("localhost"), "user:secret@");
	const HttpResponse response = http_request(url);
	EXPECT_TRUE(response.body.starts_with("GET /echo?a=1 HTTP/1.1\n")) << response.body;
	EXPECT_EQ(response.body.find("Authorization"), std::string::npos) << response.body;
}

TEST(HttpClient, NamesItselfAndNothingElse)
{
	const std::string request = http_request(server() + "/echo").body;
	EXPECT_NE(request.find("\nUser-Agent: Kalvio-OBS/1.0\n"), std::string::npos) << request;
	for (const char *field : {"Accept", "Accept-Encoding", "Cookie", "Referer"})
		EXPECT_EQ(request.find(std::string("\n") + field + ":"), std::string::npos) << request;
}

TEST(HttpClient, UsesPort443_WhenTheAddressNamesNone)
{
	if (!std::getenv("KALVIO_SERVER_443"))
		GTEST_SKIP() << "no server could be started on port 443";
	EXPECT_EQ(http_request("https://localhost/text").body, "hello");
}

TEST(HttpClient, SpeaksTlsWhateverTheSchemeSays)
{
	std::string url = server() + "/text";
	url.replace(0, std::string("https").size(), "http");
	EXPECT_EQ(http_request(url).body, "hello");
	expect_nothing(server("KALVIO_SERVER_PLAIN") + "/text");
	EXPECT_EQ(seen().find("KALVIO_SERVER_PLAIN"), std::string::npos);
}

TEST(HttpClient, RefusesWhatIsNoWebAddress)
{
	for (const char *url : {"", "/", "localhost", "not an address", "https:", "https://", "https:///text",
				"ftp://localhost/", "file:///etc/passwd"})
		expect_nothing(url);
}

// What comes back

TEST(HttpClient, GivesStatusAndBodyAsSent)
{
	struct Row {
		const char *path;
		std::uint32_t status;
		std::string body;
	};
	for (const Row &row : {
		     Row{"/text", 200, "hello"},
		     Row{"/not-found", 404, "a body with the 404"},
		     Row{"/error", 500, "a body with the 500"},
		     Row{"/empty", 200, ""},
		     Row{"/no-content", 204, ""},
		     Row{"/nul", 200, std::string("a\0b\0\0c\xff\xfe\r\n\0", 11)},
		     Row{"/chunked", 200, "first second third"},
		     Row{"/until-close", 200, "all of it"},
		     Row{"/cut-short", 200, "only this"},
		     Row{"/redirect", 200, "hello"},
	     }) {
		const HttpResponse response = http_request(server() + row.path);
		EXPECT_EQ(response.status, row.status) << row.path;
		EXPECT_EQ(response.body, row.body) << row.path;
	}
}

TEST(HttpClient, TakesABodyOfAMebibyteWhole)
{
	const HttpResponse response = http_request(server() + "/limit");
	EXPECT_EQ(response.status, 200U);
	EXPECT_TRUE(response.body == pattern(1'048'576)) << response.body.size();
}

TEST(HttpClient, DropsABodyThatIsLonger)
{
	for (const char *path : {"/over-limit", "/large", "/large-chunked"}) {
		const HttpResponse response = http_request(server() + path);
		EXPECT_EQ(response.status, 200U) << path;
		EXPECT_EQ(response.body.size(), 0U) << path;
	}
}

TEST(HttpClient, TakesEightMebibytes_WhenTheLimitAllows)
{
	HttpLimits limits;
	limits.body_bytes = pattern_bytes;
	for (const char *path : {"/large", "/large-chunked"}) {
		const HttpResponse response = http_request(server() + path, limits);
		EXPECT_EQ(response.status, 200U) << path;
		EXPECT_TRUE(response.body == pattern(pattern_bytes)) << path << ": " << response.body.size();
	}
}

TEST(HttpClient, TakesNoAnswer_WhenTheServerSpeaksAnotherProtocol)
{
	expect_nothing(server() + "/no-http");
}

// Who is trusted

TEST(HttpClient, SendsNothingToAServerThatItCannotTrust)
{
	for (const char *variable : {"KALVIO_SERVER_WRONG_HOST", "KALVIO_SERVER_EXPIRED", "KALVIO_SERVER_SELF_SIGNED",
				     "KALVIO_SERVER_UNTRUSTED"}) {
		expect_nothing(server(variable) + "/text");
		EXPECT_EQ(seen().find(variable), std::string::npos) << variable;
	}
}

TEST(HttpClient, SpeaksTls12ButNothingOlder)
{
	EXPECT_EQ(http_request(server("KALVIO_SERVER_TLS_1_2") + "/text").body, "hello");
	expect_nothing(server("KALVIO_SERVER_TLS_1_1") + "/text");
	EXPECT_EQ(seen().find("KALVIO_SERVER_TLS_1_1"), std::string::npos);
}

TEST(HttpClient, FollowsNoRedirectOutOfHttps)
{
	for (const char *path : {"/redirect-to-http", "/redirect-to-file"}) {
		const HttpResponse response = http_request(server() + path);
		EXPECT_NE(response.status, 200U) << path;
	}
	EXPECT_EQ(seen().find("KALVIO_SERVER_PLAIN"), std::string::npos);
}

TEST(HttpClient, TrustsNobodyMore_BecauseARedirectNamesIt)
{
	const HttpResponse response = http_request(server() + "/redirect-to-untrusted");
	EXPECT_NE(response.status, 200U);
	EXPECT_EQ(response.body, "");
	EXPECT_EQ(seen().find("KALVIO_SERVER_UNTRUSTED"), std::string::npos);
}

TEST(HttpClient, LogsInNowhere_BecauseARedirectSaysSo)
{
	const HttpResponse response = http_request(server() + "/redirect-with-login");
	EXPECT_EQ(response.body.find("Authorization"), std::string::npos) << response.body;
}

TEST(HttpClient, LeavesALoopOfRedirects)
{
	const HttpResponse response = http_request(server() + "/redirect-loop");
	EXPECT_NE(response.status, 200U);
	EXPECT_EQ(response.body, "");
}

// How long it takes

TEST(HttpClient, GivesUpOnAServerThatFallsSilent_AndKeepsWhatCameBefore)
{
	expect_phase_limit_to_hold(short_limits());
}

// The limits that users get; a minute, so only on demand.
TEST(HttpClient, GivesUpOnAServerThatFallsSilent_AfterTenSecondsForUsers)
{
	if (!std::getenv("KALVIO_TEST_REAL_LIMITS"))
		GTEST_SKIP() << "takes a minute; set KALVIO_TEST_REAL_LIMITS=1";
	expect_phase_limit_to_hold({});
}

TEST(HttpClient, GivesUpOnAServerThatNeverComesToAnEnd)
{
	HttpLimits limits = short_limits();
	limits.total = milliseconds(2500);
	const HttpResponse response = request_until_limit(server() + "/drip", limits, limits.total, limits.total);
	EXPECT_EQ(response.status, 200U);
	EXPECT_GE(response.body.size(), 5U);
	EXPECT_LT(response.body.size(), 100U);
}

// On Windows neither lets a single wait run out; libcurl takes a line of the header for nothing until it is whole.
TEST(HttpClient, GivesUpOnAHeaderAndOnRedirectsThatNeverComeToAnEnd)
{
	HttpLimits limits = short_limits();
	limits.total = milliseconds(2500);
	for (const char *path : {"/drip-in-header", "/slow-redirect"}) {
		const HttpResponse response = request_until_limit(server() + path, limits, limits.phase, limits.total);
		EXPECT_EQ(response.body, "") << path;
	}
}

TEST(HttpClient, GivesUpAtOnce_WhenNobodyListens)
{
	const Clock::time_point start = Clock::now();
	HttpLimits limits;
	limits.phase = milliseconds(60'000);
	EXPECT_EQ(http_request(server("KALVIO_SERVER_CLOSED"), limits).status, 0U);
	EXPECT_EQ(http_request("https://nobody.invalid/", limits).status, 0U);
	EXPECT_LT(Clock::now() - start, milliseconds(20'000));
}

// What it shares and what it leaves behind

TEST(HttpClient, ServesManyThreadsAtOnce)
{
	HttpLimits limits;
	limits.phase = milliseconds(60'000); // each waits for the handshakes of all
	std::atomic<int> right = 0;
	std::vector<std::thread> threads;
	threads.reserve(8);
	for (int index = 0; index < 8; index++) {
		threads.emplace_back([&right, &limits, index] {
			for (int round = 0; round < 5; round++) {
				const std::string path =
					"/echo?thread=" + std::to_string(index) + "-" + std::to_string(round);
				const HttpResponse response = http_request(server() + path, limits);
				right += response.status == 200 &&
					 response.body.starts_with("GET " + path + " HTTP/1.1\n");
			}
		});
	}
	for (std::thread &thread : threads)
		thread.join();
	EXPECT_EQ(right, 40);
}

TEST(HttpClient, LeavesNoHandleAndNoThread)
{
	const std::string urls[] = {
		server() + "/text",
		server() + "/not-found",
		server() + "/large",
		server() + "/cut-short",
		server() + "/no-http",
		server() + "/redirect-loop",
		server() + "/redirect-to-http",
		server() + "/redirect-to-untrusted",
		server() + "/stall-before-header",
		server() + "/stall-in-body",
		server("KALVIO_SERVER_CLOSED"),
		server("KALVIO_SERVER_SILENT"),
		server("KALVIO_SERVER_UNREACHABLE"),
		server("KALVIO_SERVER_EXPIRED"),
		server("KALVIO_SERVER_TLS_1_1"),
		"https://nobody.invalid/",
		"not an address",
	};
	HttpLimits limits = short_limits();
	limits.phase = milliseconds(100);
	const auto request_all = [&] {
		for (const std::string &url : urls)
			(void)http_request(url, limits);
	};
	request_all(); // what the libraries keep for the life of the process they have by now

	const int handles = open_handles();
	const int threads = running_threads();
	ASSERT_GT(handles, 0);
	ASSERT_GT(threads, 0);
	for (int round = 0; round < 3; round++)
		request_all();

	// A resolver's thread may take a moment longer than the request that it no longer serves.
	const Clock::time_point give_up = Clock::now() + std::chrono::seconds(30);
	while ((open_handles() > handles || running_threads() > threads) && Clock::now() < give_up)
		std::this_thread::yield();
	EXPECT_LE(open_handles(), handles);
	EXPECT_LE(running_threads(), threads);
}

} // namespace kalvio::test
