// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kalvio_engine.h"
#include "platform.h"

#include <memory>
#include <mutex>
#include <string>

namespace kalvio::engine {

enum class LogLevel : int { Error = 0, Warning = 1, Information = 2, Debug = 3 };

// One log of the process: a file, the standard error stream, both or neither. Shared by the engines that were created
// while it was the current one. Any thread; a line is written whole. A log that cannot write is silent.
class Log {
public:
	explicit Log(const kl_log_config &config);

	bool wants(LogLevel level) const { return static_cast<int>(level) <= level_; }
#if defined(__GNUC__)
	__attribute__((format(printf, 3, 4)))
#endif
	void
	write(LogLevel level, const char *format, ...);

	bool has_configuration(const kl_log_config &config) const;

private:
	void write_line(const std::string &line);

	int level_;
	bool console_;
	bool to_file_;
	std::string path_;
	std::mutex mutex_; // guards file_ and keeps lines whole
	platform::File file_;
};

// Replaces the current log. The old one lives on for the engines that hold it.
void set_current_log(const kl_log_config &config);

// Never null; silent until a configuration was set.
std::shared_ptr<Log> current_log();

} // namespace kalvio::engine
