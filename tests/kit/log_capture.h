// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <mutex>
#include <ostream>
#include <string>
#include <util/base.h>
#include <vector>

namespace kalvio::test {

struct LogLine {
	int level; // LOG_ERROR, LOG_WARNING, LOG_INFO or LOG_DEBUG
	std::string text;

	bool operator==(const LogLine &) const = default;
	friend std::ostream &operator<<(std::ostream &out, const LogLine &line);
};

// Takes over the host's log for as long as it lives and hands it back afterwards. Lines come from any thread. The lines
// of the product ("[Kalvio] ...") also go into the call journal, as log(level, text). One capture at a time.
class LogCapture {
public:
	LogCapture();
	~LogCapture();
	LogCapture(const LogCapture &) = delete;
	LogCapture &operator=(const LogCapture &) = delete;

	std::vector<LogLine> lines() const;         // everything
	std::vector<LogLine> product_lines() const; // what begins with "[Kalvio] "
	size_t count(const LogLine &line) const;
	void clear();

private:
	[[gnu::format(printf, 2, 0)]] static void receive(int level, const char *format, va_list arguments,
							  void *capture);

	mutable std::mutex mutex_;
	std::vector<LogLine> lines_;
	log_handler_t previous_handler_ = nullptr;
	void *previous_parameter_ = nullptr;
};

} // namespace kalvio::test
