// SPDX-License-Identifier: GPL-2.0-or-later
#include "log.h"

#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <utility>

namespace kalvio::engine {

namespace {

constexpr size_t max_text_bytes = 1024;
constexpr size_t max_line_bytes = max_text_bytes + 160; // with time, level and a count
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

void print_timestamp(char (&out)[48])
{
	using namespace std::chrono;
	const auto now = system_clock::now();
	const auto milliseconds_of_second = duration_cast<milliseconds>(now.time_since_epoch()).count() % 1000;
	const std::tm local = platform::local_time(system_clock::to_time_t(now));
	char date[32];
	std::strftime(date, sizeof(date), "%Y-%m-%d %H:%M:%S", &local);
	std::snprintf(out, sizeof(out), "%s.%03d", date, static_cast<int>(milliseconds_of_second));
}

// FNV-1a, 64 bits (Fowler, Noll, Vo).
uint64_t hash_of(LogLevel level, const char *text)
{
	constexpr uint64_t offset_basis = 0xCBF29CE484222325ULL;
	constexpr uint64_t prime = 0x100000001B3ULL;
	uint64_t hash = (offset_basis ^ static_cast<uint64_t>(level)) * prime;
	for (; *text != '\0'; ++text)
		hash = (hash ^ static_cast<unsigned char>(*text)) * prime;
	return hash;
}

} // namespace

Log::Log(const kl_log_config &config, int64_t (*clock_us)())
	: clock_us_(clock_us), level_(config.level), console_(config.console != 0), to_file_(config.file != 0),
	  path_(config.path != nullptr ? config.path : "")
{
	if (to_file_ && !path_.empty())
		file_ = platform::open_for_append(path_.c_str());
}

Log::~Log()
{
	for (const RecentText &recent : recent_)
		write_omitted(recent);
}

bool Log::has_configuration(const kl_log_config &config) const
{
	return level_ == config.level && console_ == (config.console != 0) && to_file_ == (config.file != 0) &&
	       path_ == (config.path != nullptr ? config.path : "");
}

void Log::write(LogLevel level, const char *format, ...)
{
	if (!wants(level))
		return;
	char text[max_text_bytes];
	va_list arguments;
	va_start(arguments, format);
	std::vsnprintf(text, sizeof(text), format, arguments);
	va_end(arguments);
	// A path or a manifest may carry line breaks: a log line stays one line.
	for (char *character = text; *character != '\0'; ++character) {
		if (static_cast<unsigned char>(*character) < 0x20 || *character == 0x7F)
			*character = ' ';
	}

	const int64_t now_us = clock_us_();
	const std::lock_guard lock(mutex_);
	if (!console_ && !file_)
		return;
	RecentText &recent = find_recent(hash_of(level, text), now_us);
	if (recent.written >= max_repeats && now_us - recent.window_start_us < repeat_window_us) {
		++recent.omitted;
		return;
	}
	if (recent.written == 0 || now_us - recent.window_start_us >= repeat_window_us) {
		recent.window_start_us = now_us;
		recent.written = 0;
	}
	++recent.written;
	recent.level = level;
	std::snprintf(recent.beginning, sizeof(recent.beginning), "%.*s",
		      static_cast<int>(sizeof(recent.beginning)) - 1, text);
	write_line(level, text, std::exchange(recent.omitted, 0));
}

// The entry of this text; a free one, or the one that was longest ago, when it has none.
Log::RecentText &Log::find_recent(uint64_t hash, int64_t now_us)
{
	RecentText *oldest = &recent_.front();
	for (RecentText &recent : recent_) {
		if (recent.written > 0 && recent.hash == hash)
			return recent;
		const bool older = recent.window_start_us < oldest->window_start_us;
		if (oldest->written > 0 && (recent.written == 0 || older))
			oldest = &recent;
	}
	write_omitted(*oldest);
	*oldest = {};
	oldest->hash = hash;
	oldest->window_start_us = now_us;
	return *oldest;
}

void Log::write_omitted(const RecentText &recent)
{
	if (recent.omitted == 0)
		return;
	char text[max_text_bytes];
	std::snprintf(text, sizeof(text), "%lld more times: %s", static_cast<long long>(recent.omitted),
		      recent.beginning);
	write_line(recent.level, text, 0);
}

void Log::write_line(LogLevel level, const char *text, int64_t omitted_before)
{
	char time[48];
	print_timestamp(time);
	char count[48] = "";
	if (omitted_before > 0)
		std::snprintf(count, sizeof(count), " (and %lld times before)", static_cast<long long>(omitted_before));
	char line[max_line_bytes];
	const int length = std::snprintf(line, sizeof(line), "%s [%s] %s%s\n", time,
					 level_names[static_cast<int>(level)], text, count);
	const auto bytes = static_cast<size_t>(length);
	if (console_)
		std::fwrite(line, 1, bytes, stderr);
	if (file_) {
		// One write per line: other processes append to the same file.
		std::fwrite(line, 1, bytes, file_.get());
		std::fflush(file_.get());
		if (std::ftell(file_.get()) > max_file_bytes)
			begin_file_anew();
	}
}

void Log::begin_file_anew()
{
	if (!platform::make_empty(file_.get())) {
		file_.reset();
		return;
	}
	char time[48];
	print_timestamp(time);
	std::fprintf(file_.get(), "%s [info] the log had reached %d MiB and begins anew\n", time,
		     static_cast<int>(max_file_bytes >> 20));
	std::fflush(file_.get());
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
