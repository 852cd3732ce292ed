// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine.h"

#include <chrono>

using namespace kalvio::engine;

namespace {

int next_engine_number()
{
	static std::atomic<int> last = 0;
	return ++last;
}

int64_t steady_clock_us()
{
	using namespace std::chrono;
	return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

kl_engine::kl_engine(std::shared_ptr<Log> engine_log)
	: number(next_engine_number()), log(std::move(engine_log)), pool(Pool::acquire()), clock_us(steady_clock_us)
{
}

void kl_engine::emit(Event event, const std::string &message)
{
	if (callback != nullptr)
		callback(callback_user_data, static_cast<int32_t>(event), message.c_str());
}

void kl_engine::record(const FrameTimes::Times &frame_times, int64_t now_us)
{
	if (!times.add(frame_times, now_us))
		return;
	const FrameTimes::Report report = times.report();
	const std::string text = report.text();
	log->write(LogLevel::Information, "engine %d: %s", number, text.c_str());
	if (report.over_budget)
		emit(Event::FrameBudget, "frame budget exceeded: " + text);
}

int32_t kl_engine::report_failed_load(const char *what, const char *path, int32_t status, const std::string &reason)
{
	log->write(LogLevel::Error, "engine %d: %s %s: %s", number, what, path, reason.c_str());
	emit(Event::ResourceFailed, std::string(what) + " " + path + ": " + reason);
	return status;
}
