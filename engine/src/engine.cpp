// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine.h"

using namespace kalvio::engine;

namespace {

int next_engine_number()
{
	static std::atomic<int> last = 0;
	return ++last;
}

} // namespace

kl_engine::kl_engine(std::shared_ptr<Log> engine_log)
	: number(next_engine_number()), log(std::move(engine_log)), pool(Pool::acquire())
{
}

void kl_engine::emit(Event event, const std::string &message)
{
	if (callback != nullptr)
		callback(callback_user_data, static_cast<int32_t>(event), message.c_str());
}

int32_t kl_engine::report_failed_load(const char *what, const char *path, int32_t status, const std::string &reason)
{
	log->write(LogLevel::Error, "engine %d: %s %s: %s", number, what, path, reason.c_str());
	emit(Event::ResourceFailed, std::string(what) + " " + path + ": " + reason);
	return status;
}
