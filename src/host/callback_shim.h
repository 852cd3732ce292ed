// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <exception>
#include <obs.h>

namespace kalvio {

// Logs one error line for the exception that is being handled. To be called inside a catch block.
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

// Shim<callback>::call wraps `callback` for C code: it logs any exception and then returns a value-initialized result.
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
