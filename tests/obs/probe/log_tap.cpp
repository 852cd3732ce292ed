// SPDX-License-Identifier: GPL-2.0-or-later
#include "log_tap.h"

#include <util/base.h>

#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>
#include <ranges>

namespace kalvio::probe {

namespace {

log_handler_t host_handler;
void *host_parameter;
std::mutex lines_mutex;
std::map<LogLine, int> lines; // and how often each was written

[[gnu::format(printf, 2, 0)]] void keep_and_pass_on(int level, const char *format, va_list arguments, void *)
{
	std::array<char, 4096> text{};
	va_list copy;
	va_copy(copy, arguments);
	(void)std::vsnprintf(text.data(), text.size(), format, copy);
	va_end(copy);
	if (std::strncmp(text.data(), "[Kalvio] ", 9) == 0) {
		const std::lock_guard lock(lines_mutex);
		++lines[{level, text.data()}];
	}
	host_handler(level, format, arguments, host_parameter);
}

} // namespace

void start_log_tap()
{
	base_get_log_handler(&host_handler, &host_parameter);
	base_set_log_handler(keep_and_pass_on, nullptr);
}

void stop_log_tap()
{
	base_set_log_handler(host_handler, host_parameter);
}

std::vector<LogLine> module_lines()
{
	const std::lock_guard lock(lines_mutex);
	const auto keys = std::views::keys(lines);
	return {keys.begin(), keys.end()};
}

int count_lines(int level, const std::string &text)
{
	const std::lock_guard lock(lines_mutex);
	const auto found = lines.find({level, text});
	return found == lines.end() ? 0 : found->second;
}

} // namespace kalvio::probe
