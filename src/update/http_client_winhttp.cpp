// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/http_client.h"

#include "platform/utf16_windows.h"

#include <windows.h>
#include <winhttp.h>

#include <memory>
#include <optional>
#include <string_view>

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

std::string read_body(HINTERNET request, const HttpLimits &limits, std::chrono::steady_clock::time_point deadline)
{
	std::string body;
	for (;;) {
		DWORD available = 0;
		if (!WinHttpQueryDataAvailable(request, &available) || available == 0)
			return body;
		std::string buffer(available, '\0');
		DWORD read = 0;
		if (!WinHttpReadData(request, buffer.data(), available, &read) || read == 0)
			return body;
		if (read > limits.body_bytes - body.size())
			return {};
		body.append(buffer, 0, read);
		if (std::chrono::steady_clock::now() >= deadline)
			return body;
	}
}

} // namespace

HttpResponse http_request(const std::string &url, const HttpLimits &limits)
{
	const auto deadline = std::chrono::steady_clock::now() + limits.total;
	const int phase_ms = static_cast<int>(limits.phase.count());

	const std::optional<Target> target = crack(to_utf16(url));
	if (!target)
		return {};
	const Handle session(WinHttpOpen(user_agent, WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY, WINHTTP_NO_PROXY_NAME,
					 WINHTTP_NO_PROXY_BYPASS, 0));
	if (!session || !WinHttpSetTimeouts(session.get(), phase_ms, phase_ms, phase_ms, phase_ms) ||
	    !require_tls_1_2(session.get()))
		return {};
	const Handle connection(WinHttpConnect(session.get(), target->host.c_str(), target->port, 0));
	if (!connection)
		return {};
	const Handle request(WinHttpOpenRequest(connection.get(), L"GET", target->path.c_str(), nullptr,
						WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES, WINHTTP_FLAG_SECURE));
	if (!request || !restrict_request(request.get(), static_cast<DWORD>(phase_ms)))
		return {};

	const bool received =
		WinHttpSendRequest(request.get(), WINHTTP_NO_ADDITIONAL_HEADERS, 0, WINHTTP_NO_REQUEST_DATA, 0, 0, 0) &&
		WinHttpReceiveResponse(request.get(), nullptr);
	HttpResponse response;
	response.status = query_status(request.get());
	if (received)
		response.body = read_body(request.get(), limits, deadline);
	return response;
}

} // namespace kalvio
