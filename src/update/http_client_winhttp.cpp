// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/http_client.h"

#include "platform/utf16_windows.h"

#include <windows.h>
#include <winhttp.h>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

namespace kalvio {

namespace {

constexpr const wchar_t *user_agent = L"Kalvio-OBS/1.0";

struct CloseHandle {
	void operator()(HINTERNET handle) const { WinHttpCloseHandle(handle); }
};
using Handle = std::unique_ptr<void, CloseHandle>;

struct Target {
	std::wstring host;
	INTERNET_PORT port = INTERNET_DEFAULT_HTTPS_PORT;
	std::wstring path; // with the query
};

std::optional<Target> crack(const std::wstring &url)
{
	// A length that is not zero asks for a pointer into `url`.
	constexpr DWORD wanted = static_cast<DWORD>(-1);
	URL_COMPONENTS parts = {};
	parts.dwStructSize = sizeof(parts);
	parts.dwHostNameLength = wanted;
	parts.dwUrlPathLength = wanted;
	parts.dwExtraInfoLength = wanted;
	if (!WinHttpCrackUrl(url.c_str(), static_cast<DWORD>(url.size()), 0, &parts) || parts.dwHostNameLength == 0)
		return std::nullopt;

	Target target;
	target.host.assign(parts.lpszHostName, parts.dwHostNameLength);
	if (parts.nPort != 0)
		target.port = parts.nPort;
	target.path.assign(parts.lpszUrlPath, parts.dwUrlPathLength);
	// The extra part begins with the query and ends with the fragment, which is no business of the server.
	const std::wstring_view extra(parts.lpszExtraInfo, parts.dwExtraInfoLength);
	target.path += extra.substr(0, extra.find(L'#'));
	return target;
}

bool set_option(HINTERNET handle, DWORD option, DWORD value)
{
	return WinHttpSetOption(handle, option, &value, sizeof(value));
}

// What the session's four time-outs and Windows' own choices leave open.
bool restrict_request(HINTERNET request, DWORD phase_ms)
{
	// The wait for the response header has a limit of its own.
	if (!set_option(request, WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT, phase_ms))
		return false;
	return set_option(request, WINHTTP_OPTION_REDIRECT_POLICY,
			  WINHTTP_OPTION_REDIRECT_POLICY_DISALLOW_HTTPS_TO_HTTP);
}

// Windows before 11 knows no TLS 1.3 here and refuses both together.
bool require_tls_1_2(HINTERNET session)
{
	constexpr DWORD tls_1_2 = WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_2;
	constexpr DWORD tls_1_3 = WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_3;
	return set_option(session, WINHTTP_OPTION_SECURE_PROTOCOLS, tls_1_2 | tls_1_3) ||
	       set_option(session, WINHTTP_OPTION_SECURE_PROTOCOLS, tls_1_2);
}

std::uint32_t query_status(HINTERNET request)
{
	DWORD status = 0;
	DWORD size = sizeof(status);
	if (!WinHttpQueryHeaders(request, WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
				 WINHTTP_HEADER_NAME_BY_INDEX, &status, &size, WINHTTP_NO_HEADER_INDEX))
		return 0;
	return status;
}

// One request on its thread, and what has come of it so far. Shared: whoever asked may be gone before it ends.
struct Exchange {
	std::mutex mutex; // guards what follows
	std::condition_variable ended;
	HttpResponse response;
	bool has_ended = false;
	bool is_awaited = true;
};

// False when nobody waits for the rest.
bool note_status(Exchange &exchange, std::uint32_t status)
{
	const std::scoped_lock lock(exchange.mutex);
	exchange.response.status = status;
	return exchange.is_awaited;
}

// False when nobody waits for the rest, or when the body has become too long and is dropped.
bool note_body(Exchange &exchange, const std::string &part, std::size_t limit)
{
	const std::scoped_lock lock(exchange.mutex);
	std::string &body = exchange.response.body;
	const bool fits = part.size() <= limit - body.size();
	if (fits)
		body += part;
	else
		body.clear();
	return fits && exchange.is_awaited;
}

void read_body(HINTERNET request, Exchange &exchange, std::size_t limit)
{
	std::string part;
	do {
		DWORD available = 0;
		if (!WinHttpQueryDataAvailable(request, &available) || available == 0)
			return;
		part.resize(available);
		DWORD read = 0;
		if (!WinHttpReadData(request, part.data(), available, &read) || read == 0)
			return;
		part.resize(read);
	} while (note_body(exchange, part, limit));
}

void run_request(const std::string &url, const HttpLimits &limits, Exchange &exchange)
{
	const int phase_ms = static_cast<int>(limits.phase.count());
	const std::optional<Target> target = crack(to_utf16(url));
	if (!target)
		return;
	const Handle session(WinHttpOpen(user_agent, WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY, WINHTTP_NO_PROXY_NAME,
					 WINHTTP_NO_PROXY_BYPASS, 0));
	if (!session || !WinHttpSetTimeouts(session.get(), phase_ms, phase_ms, phase_ms, phase_ms) ||
	    !require_tls_1_2(session.get()))
		return;
	const Handle connection(WinHttpConnect(session.get(), target->host.c_str(), target->port, 0));
	if (!connection)
		return;
	const Handle request(WinHttpOpenRequest(connection.get(), L"GET", target->path.c_str(), nullptr,
						WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES, WINHTTP_FLAG_SECURE));
	if (!request || !restrict_request(request.get(), static_cast<DWORD>(phase_ms)))
		return;

	const bool received =
		WinHttpSendRequest(request.get(), WINHTTP_NO_ADDITIONAL_HEADERS, 0, WINHTTP_NO_REQUEST_DATA, 0, 0, 0) &&
		WinHttpReceiveResponse(request.get(), nullptr);
	if (note_status(exchange, query_status(request.get())) && received)
		read_body(request.get(), exchange, limits.body_bytes);
}

void run_thread(const std::string &url, const HttpLimits &limits, const std::shared_ptr<Exchange> &exchange) noexcept
{
	try {
		run_request(url, limits, *exchange);
	} catch (const std::bad_alloc &) {
		const std::scoped_lock lock(exchange->mutex);
		exchange->response.body.clear();
	}
	const std::scoped_lock lock(exchange->mutex);
	exchange->has_ended = true;
	exchange->ended.notify_all();
}

} // namespace

// WinHTTP has limits on single waits alone: a header that comes byte by byte, or redirect after redirect, may take any
// time. A call that is waiting cannot be broken off from outside (closing the handle of a synchronous request is a
// race, says its documentation), so the request has a thread of its own, which is left behind when the time is up: it
// ends at its next limit, or with the process.
HttpResponse http_request(const std::string &url, const HttpLimits &limits)
{
	const auto deadline = std::chrono::steady_clock::now() + limits.total;
	const auto exchange = std::make_shared<Exchange>();
	try {
		std::thread(run_thread, url, limits, exchange).detach();
	} catch (const std::system_error &) {
		return {}; // no more threads
	}
	std::unique_lock lock(exchange->mutex);
	exchange->ended.wait_until(lock, deadline, [&exchange] { return exchange->has_ended; });
	exchange->is_awaited = false;
	return std::move(exchange->response);
}

} // namespace kalvio
