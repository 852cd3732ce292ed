// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <compare>
#include <string>
#include <vector>

// The module's lines in OBS's log, as they are written. Any thread.
namespace kalvio::probe {

struct LogLine {
	int level;        // LOG_ERROR, LOG_WARNING, LOG_INFO
	std::string text; // without OBS's time stamp

	std::strong_ordering operator<=>(const LogLine &) const = default;
};

// Listens from here on; OBS's own log goes on as before. Main thread.
void start_log_tap();

// Must run before the probe's code leaves the process. Main thread.
void stop_log_tap();

// The lines beginning with "[Kalvio] " since the start, each once: hours of them take no memory that grows.
std::vector<LogLine> module_lines();

// How many lines there were that read exactly `text` at `level`.
int count_lines(int level, const std::string &text);

} // namespace kalvio::probe
