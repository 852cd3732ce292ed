// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

// One file per system implements this header.
namespace kalvio {

struct HttpResponse {
	std::uint32_t status = 0; // HTTP status code, 0 when no response came
	std::string body;         // exactly as received, any bytes; cut where the connection broke off
};

struct HttpLimits {
	// The longest that resolving the name, connecting, sending or waiting for the next bytes may each take.
	std::chrono::milliseconds phase{10'000};
	// The longest for everything together: a server that sends a byte now and then, in its header too, or redirects
	// again and again, never lets a phase run out. On Windows the rest of such a request then ends on a thread of
	// its own, at one of its phases or with the process.
	std::chrono::milliseconds total{60'000};
	// A body that is longer is dropped: the status stays, the body is empty.
	std::size_t body_bytes = 1'048'576; // 1 MiB
};

// Fetches `url` (UTF-8) with a GET, always over TLS; an "http:" address keeps its default port 80. The server's
// certificate is always verified, TLS is 1.2 or newer, and redirects are followed only to https. Blocks for as long as
// the limits allow: never call it on a thread that draws or answers the user. Logs nothing. Any number of threads may
// call it at once; throws nothing but std::bad_alloc.
HttpResponse http_request(const std::string &url, const HttpLimits &limits = {});

} // namespace kalvio
