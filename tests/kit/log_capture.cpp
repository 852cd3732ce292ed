// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/log_capture.h"

#include "kit/call_journal.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <iterator>

namespace kalvio::test {
namespace {

constexpr const char *product_prefix = "[Kalvio] ";

[[gnu::format(printf, 1, 0)]] std::string formatted(const char *format, va_list arguments)
{
	va_list measured;
	va_copy(measured, arguments);
	const int length = std::vsnprintf(nullptr, 0, format, measured);
	va_end(measured);
	if (length <= 0)
		return {};
	std::string text(static_cast<size_t>(length), '\0');
	std::vsnprintf(text.data(), text.size() + 1, format, arguments);
	return text;
}

} // namespace

std::ostream &operator<<(std::ostream &out, const LogLine &line)
{
	return out << line.level << " \"" << line.text << '"';
}

LogCapture::LogCapture()
{
	base_get_log_handler(&previous_handler_, &previous_parameter_);
	base_set_log_handler(&LogCapture::receive, this);
}

LogCapture::~LogCapture()
{
	base_set_log_handler(previous_handler_, previous_parameter_);
}

std::vector<LogLine> LogCapture::lines() const
{
	const std::lock_guard lock(mutex_);
	return lines_;
}

std::vector<LogLine> LogCapture::product_lines() const
{
	const std::lock_guard lock(mutex_);
	std::vector<LogLine> result;
	std::copy_if(lines_.begin(), lines_.end(), std::back_inserter(result),
		     [](const LogLine &line) { return line.text.starts_with(product_prefix); });
	return result;
}

size_t LogCapture::count(const LogLine &line) const
{
	const std::lock_guard lock(mutex_);
	return static_cast<size_t>(std::count(lines_.begin(), lines_.end(), line));
}

void LogCapture::clear()
{
	const std::lock_guard lock(mutex_);
	lines_.clear();
}

void LogCapture::receive(int level, const char *format, va_list arguments, void *capture)
{
	auto *self = static_cast<LogCapture *>(capture);
	LogLine line{level, formatted(format, arguments)};
	if (line.text.starts_with(product_prefix))
		call_journal().record(CallOrigin::Log, "log", nullptr, level, line.text);
	const std::lock_guard lock(self->mutex_);
	self->lines_.push_back(std::move(line));
}

} // namespace kalvio::test
