// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kalvio_engine.h"
#include "platform.h"
#include "steady_clock.h"

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

namespace kalvio::engine {

enum class LogLevel : int {
	Error = KL_LOG_ERROR,
	Warning = KL_LOG_WARNING,
	Information = KL_LOG_INFORMATION,
	Debug = KL_LOG_DEBUG
};

// One log of the process: a file, the standard error stream, both or neither. Shared by the engines that were created
// while it was the current one. Any thread; a line is written whole. A log that cannot write is silent.
//
// It stays small however long a host runs. Of lines with the same level and text the first `max_repeats` of a
// `repeat_window_us` are written; the others are counted, and the count is written with the next one after the window,
// or when the log ends. A file that grows beyond `max_file_bytes` is emptied and begins anew.
class Log {
public:
	static constexpr int max_repeats = 5;
	static constexpr int64_t repeat_window_us = 60'000'000;
	static constexpr int64_t max_file_bytes = int64_t{4} << 20;

	// `clock_us` is a steady clock; tests put in their own.
	explicit Log(const kl_log_config &config, int64_t (*clock_us)() = steady_clock_us);
	~Log();
	Log(const Log &) = delete;
	Log &operator=(const Log &) = delete;

	bool wants(LogLevel level) const { return static_cast<int>(level) <= level_; }
	[[gnu::format(printf, 3, 4)]] void write(LogLevel level, const char *format, ...);

	bool has_configuration(const kl_log_config &config) const;

private:
	// A text that was written lately. Told apart by its hash: nothing is allocated for it.
	struct RecentText {
		uint64_t hash = 0;
		int64_t window_start_us = 0;
		int written = 0; // 0: the entry is free
		int64_t omitted = 0;
		LogLevel level = LogLevel::Error;
		char beginning[96] = {}; // for the line that tells the count
	};

	RecentText &find_recent(uint64_t hash, int64_t now_us);
	void write_omitted(const RecentText &recent);
	void write_line(LogLevel level, const char *text, int64_t omitted_before);
	void begin_file_anew();

	int64_t (*clock_us_)();
	int level_;
	bool console_;
	bool to_file_;
	std::string path_;
	std::mutex mutex_; // guards what follows and keeps lines whole
	platform::File file_;
	std::array<RecentText, 16> recent_;
};

// Replaces the current log. The old one lives on for the engines that hold it.
void set_current_log(const kl_log_config &config);

// Never null; silent until a configuration was set.
std::shared_ptr<Log> current_log();

} // namespace kalvio::engine
