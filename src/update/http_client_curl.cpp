// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/http_client.h"

#include <curl/curl.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>
#include <thread>
#include <utility>

namespace kalvio {

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char *user_agent = "Kalvio-OBS/1.0";
constexpr long redirects_followed = 10;

template <auto release>
struct Release {
	template <typename T>
	void operator()(T *handle) const
	{
		release(handle);
	}
};
using UrlHandle = std::unique_ptr<CURLU, Release<curl_url_cleanup>>;
using EasyHandle = std::unique_ptr<CURL, Release<curl_easy_cleanup>>;
using MultiHandle = std::unique_ptr<CURLM, Release<curl_multi_cleanup>>;
using HeaderList = std::unique_ptr<curl_slist, Release<curl_slist_free_all>>;
using CurlText = std::unique_ptr<char, Release<curl_free>>;

// A check runs on a detached thread that may outlive main(), but the TLS library tears itself down in an exit handler.
// Whoever calls into libcurl holds this mutex; the exit handler takes it and never gives it back, so that no call runs
// into the tear-down. No call blocks while it holds the mutex: waiting for the network is done without it.
std::mutex &exit_gate()
{
	static auto *gate = new std::mutex; // outlives every static destructor
	return *gate;
}

std::atomic<bool> process_ends = false;

using LibraryLock = std::unique_lock<std::mutex>;

// The right to call into libcurl. Does not return once the process ends.
LibraryLock enter_library()
{
	LibraryLock lock(exit_gate());
	while (process_ends) {
		if (lock)
			lock.unlock(); // the exit handler may be waiting for it
		std::this_thread::sleep_for(std::chrono::hours(1));
	}
	return lock;
}

void close_exit_gate()
{
	process_ends = true;
	// The longest call loads the list of authorities, some 50 ms on a machine at rest. The process must end even
	// if one should hang.
	const Clock::time_point give_up = Clock::now() + std::chrono::seconds(10);
	while (!exit_gate().try_lock() && Clock::now() < give_up)
		std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void start_curl_once()
{
	static std::once_flag once;
	std::call_once(once, [] {
		// Never matched by a clean-up: the host uses the same library. Handlers run in reverse order of their
		// registration, so ours has to come after the one that the TLS library registers in here.
		curl_global_init(CURL_GLOBAL_DEFAULT);
		(void)std::atexit(close_exit_gate);
	});
}

struct Exchange {
	HttpResponse response;
	std::size_t body_limit = 0;
};

std::size_t take_body(const char *data, std::size_t size, std::size_t count, void *user)
{
	constexpr std::size_t abort_transfer = 0;
	std::string &body = static_cast<Exchange *>(user)->response.body;
	const std::size_t length = size * count;
	if (length > static_cast<Exchange *>(user)->body_limit - body.size()) {
		body.clear();
		return abort_transfer;
	}
	try {
		body.append(data, length);
	} catch (const std::bad_alloc &) {
		body.clear();
		return abort_transfer;
	}
	return length;
}

// The address with https in place of http; the port that the old scheme stood for stays.
UrlHandle parse_url(const std::string &text)
{
	UrlHandle url(curl_url());
	if (!url || curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_URLENCODE) != CURLUE_OK)
		return nullptr;

	char *scheme_text = nullptr;
	char *port_text = nullptr;
	curl_url_get(url.get(), CURLUPART_SCHEME, &scheme_text, 0);
	curl_url_get(url.get(), CURLUPART_PORT, &port_text, CURLU_DEFAULT_PORT);
	const CurlText scheme(scheme_text);
	const CurlText port(port_text);
	if (!scheme || !port || (std::string_view(scheme.get()) != "https" && std::string_view(scheme.get()) != "http"))
		return nullptr;

	const bool complete = curl_url_set(url.get(), CURLUPART_SCHEME, "https", 0) == CURLUE_OK &&
			      curl_url_set(url.get(), CURLUPART_PORT, port.get(), 0) == CURLUE_OK &&
			      curl_url_set(url.get(), CURLUPART_USER, nullptr, 0) == CURLUE_OK &&
			      curl_url_set(url.get(), CURLUPART_PASSWORD, nullptr, 0) == CURLUE_OK;
	return complete ? std::move(url) : nullptr;
}

// False when this libcurl does not know one of the options: an older one must not follow redirects to http in silence.
bool configure(CURL *easy, CURLU *url, curl_slist *headers, Exchange &exchange, const HttpLimits &limits)
{
	bool accepted = true;
	const auto set = [&](CURLoption option, auto value) {
		accepted = curl_easy_setopt(easy, option, value) == CURLE_OK && accepted;
	};
	set(CURLOPT_CURLU, url);
	set(CURLOPT_USERAGENT, user_agent);
	set(CURLOPT_HTTPHEADER, headers);
	set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
	set(CURLOPT_PATH_AS_IS, 1L);

	set(CURLOPT_PROTOCOLS_STR, "https");
	set(CURLOPT_REDIR_PROTOCOLS_STR, "https");
	set(CURLOPT_FOLLOWLOCATION, 1L);
	set(CURLOPT_MAXREDIRS, redirects_followed);
	// A redirect with a user name would have libcurl log in there.
	set(CURLOPT_DISALLOW_USERNAME_IN_URL, 1L);
	set(CURLOPT_SSL_VERIFYPEER, 1L);
	set(CURLOPT_SSL_VERIFYHOST, 2L);
	set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));

	set(CURLOPT_WRITEFUNCTION, take_body);
	set(CURLOPT_WRITEDATA, &exchange);
	set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);

	// For libcurl resolving, connecting and the TLS handshake are one phase, and it spreads the time over the
	// addresses of the host.
	set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(limits.phase.count()));
	set(CURLOPT_NOSIGNAL, 1L); // none in someone else's process
	// The name is resolved on a thread of libcurl's own. When the time is up, that thread is left to the resolver's
	// limit instead of being waited for.
	set(CURLOPT_QUICK_EXIT, 1L);
	return accepted;
}

// A number that changes whenever the exchange gets on.
curl_off_t progress_mark(CURL *easy)
{
	curl_off_t connected_at = 0;
	curl_off_t body_bytes = 0;
	long header_bytes = 0;
	long request_bytes = 0;
	curl_easy_getinfo(easy, CURLINFO_PRETRANSFER_TIME_T, &connected_at);
	curl_easy_getinfo(easy, CURLINFO_SIZE_DOWNLOAD_T, &body_bytes);
	curl_easy_getinfo(easy, CURLINFO_HEADER_SIZE, &header_bytes);
	curl_easy_getinfo(easy, CURLINFO_REQUEST_SIZE, &request_bytes);
	return connected_at + body_bytes + header_bytes + request_bytes;
}

// Runs the one transfer of `multi` until it ends or a limit is reached.
void run_transfer(CURLM *multi, CURL *easy, const HttpLimits &limits)
{
	const Clock::time_point started = Clock::now();
	Clock::time_point last_progress = started;
	curl_off_t last_mark = 0;

	for (;;) {
		int running = 0;
		{
			const LibraryLock lock = enter_library();
			if (curl_multi_perform(multi, &running) != CURLM_OK || running == 0)
				return;
		}
		const Clock::time_point now = Clock::now();
		if (const curl_off_t mark = progress_mark(easy); mark != last_mark) {
			last_mark = mark;
			last_progress = now;
		}
		const Clock::time_point deadline = std::min(last_progress + limits.phase, started + limits.total);
		if (now >= deadline)
			return;
		// Rounded up, so that the last wait does not end just short of the deadline, over and over.
		const auto wait = std::chrono::ceil<std::chrono::milliseconds>(deadline - now);
		if (curl_multi_poll(multi, nullptr, 0, static_cast<int>(wait.count()), nullptr) != CURLM_OK)
			return;
	}
}

} // namespace

HttpResponse http_request(const std::string &url, const HttpLimits &limits)
{
	start_curl_once();

	LibraryLock lock = enter_library();
	const UrlHandle target = parse_url(url);
	// Without a value the header is left out, as the other system's client does.
	const HeaderList headers(curl_slist_append(nullptr, "Accept:"));
	const EasyHandle easy(curl_easy_init());
	const MultiHandle multi(curl_multi_init());
	if (!target || !headers || !easy || !multi)
		return {};

	Exchange exchange;
	exchange.body_limit = limits.body_bytes;
	if (!configure(easy.get(), target.get(), headers.get(), exchange, limits))
		return {};
	if (curl_multi_add_handle(multi.get(), easy.get()) != CURLM_OK)
		return {};

	lock.unlock();
	run_transfer(multi.get(), easy.get(), limits);
	lock = enter_library(); // until the handles are closed

	long status = 0;
	curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &status);
	curl_multi_remove_handle(multi.get(), easy.get());
	exchange.response.status = static_cast<std::uint32_t>(status);
	return std::move(exchange.response);
}

} // namespace kalvio
