// SPDX-License-Identifier: GPL-2.0-or-later
#include "log.h"

#include <chrono>
#include <cstdarg>

namespace kalvio::engine {

namespace {

constexpr size_t max_line_bytes = 1024;
constexpr const char *level_names[] = {"error", "warning", "info", "debug"};

struct CurrentLog {
	std::mutex mutex;
	std::shared_ptr<Log> log;
};

// Never destroyed: an engine of a thread that outlives the end of main may still ask for it.
CurrentLog &current()
{
	static auto *state = new CurrentLog;
	return *state;
}

std::string timestamp()
{
	using namespace std::chrono;
	const auto now = system_clock::now();
	const auto milliseconds_of_second = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
	const std::tm local = platform::local_time(system_clock::to_time_t(now));
	char date[32];
	std::strftime(date, sizeof(date), "%Y-%m-%d %H:%M:%S", &local);
	char text[48];
	std::snprintf(text, sizeof(text), "%s.%03d", date, static_cast<int>(milliseconds_of_second));
	return text;
}

} // namespace

Log::Log(const kl_log_config &config)
	: level_(config.level), console_(config.console != 0), to_file_(config.file != 0),
	  path_(config.path != nullptr ? config.path : "")
{
	if (to_file_ && !path_.empty())
		file_ = platform::open_for_append(path_.c_str());
}

bool Log::has_configuration(const kl_log_config &config) const
{
	return level_ == config.level && console_ == (config.console != 0) && to_file_ == (config.file != 0) &&
	       path_ == (config.path != nullptr ? config.path : "");
}

void Log::write(LogLevel level, const char *format, ...)
{
	if (!wants(level) || (!console_ && !file_))
		return;
	char text[max_line_bytes];
	va_list arguments;
	va_start(arguments, format);
	std::vsnprintf(text, sizeof(text), format, arguments);
	va_end(arguments);
	// A path or a manifest may carry line breaks: a log line stays one line.
	for (char *character = text; *character != '\0'; ++character) {
		if (static_cast<unsigned char>(*character) < 0x20)
			*character = ' ';
	}
	write_line(timestamp() + " [" + level_names[static_cast<int>(level)] + "] " + text + "\n");
}

void Log::write_line(const std::string &line)
{
	const std::lock_guard lock(mutex_);
	if (console_)
		std::fwrite(line.data(), 1, line.size(), stderr);
	if (file_) {
		// One write a line: other processes append to the same file.
		std::fwrite(line.data(), 1, line.size(), file_.get());
		std::fflush(file_.get());
	}
}

void set_current_log(const kl_log_config &config)
{
	const std::lock_guard lock(current().mutex);
	if (!current().log || !current().log->has_configuration(config))
		current().log = std::make_shared<Log>(config);
}

std::shared_ptr<Log> current_log()
{
	const std::lock_guard lock(current().mutex);
	if (!current().log)
		current().log = std::make_shared<Log>(kl_log_config{});
	return current().log;
}

} // namespace kalvio::engine
