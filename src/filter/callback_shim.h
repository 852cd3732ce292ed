// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <exception>
#include <obs.h>

namespace kalvio {

// One error line for the exception that is being handled. Call it inside a catch block.
inline void log_current_exception() noexcept
{
	try {
		throw;
	} catch (const std::exception &error) {
		blog(LOG_ERROR, "[Kalvio] unexpected error: %s", error.what());
	} catch (...) {
		blog(LOG_ERROR, "[Kalvio] unexpected error");
	}
}

// Shim<callback>::call is the same function behind a door that no exception passes: the host is C. The fallback is a
// zero result.
template <auto callback>
struct Shim;

template <class Result, class... Arguments, Result (*callback)(Arguments...)>
struct Shim<callback> {
	static Result call(Arguments... arguments) noexcept
	{
		try {
			return callback(arguments...);
		} catch (...) {
			log_current_exception();
			return Result();
		}
	}
};

} // namespace kalvio
