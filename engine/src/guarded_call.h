// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "engine.h"

#include <cmath>
#include <exception>
#include <new>
#include <optional>

namespace kalvio::engine {

// Every call on a handle goes through here: the handle is tested, a second thread on it is turned away, and no
// exception leaves. `body` takes the engine and returns a status.
template <typename Body>
int32_t guarded_call(kl_engine *engine, Body body) noexcept
{
	if (engine == nullptr)
		return KL_ERROR_INVALID_ARGUMENT;
	if (engine->busy.test_and_set(std::memory_order_acquire)) {
		engine->log->write(LogLevel::Error, "engine %d: refused a call while another one is running",
				   engine->number);
		return KL_ERROR_BUSY;
	}

	int32_t status = KL_ERROR_INTERNAL;
	try {
		status = body(*engine);
	} catch (const std::bad_alloc &) {
		engine->log->write(LogLevel::Error, "engine %d: out of memory", engine->number);
		status = KL_ERROR_OUT_OF_MEMORY;
	} catch (const std::exception &error) {
		engine->log->write(LogLevel::Error, "engine %d: %s", engine->number, error.what());
	} catch (...) {
		engine->log->write(LogLevel::Error, "engine %d: unknown failure", engine->number);
	}
	engine->busy.clear(std::memory_order_release);
	return status;
}

// The value within its range, or nothing for a value that is no number.
inline std::optional<float> finite_in_range(float value, float low, float high)
{
	if (!std::isfinite(value))
		return std::nullopt;
	return std::fmin(std::fmax(value, low), high);
}

} // namespace kalvio::engine
