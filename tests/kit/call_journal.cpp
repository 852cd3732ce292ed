// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/call_journal.h"

#include <algorithm>
#include <bit>
#include <iterator>
#include <ostream>

namespace kalvio::test {

Argument::Argument(float value) : value_(FloatBits{std::bit_cast<uint32_t>(value)}) {}

Argument::Argument(double value) : value_(DoubleBits{std::bit_cast<uint64_t>(value)}) {}

Argument::Argument(const char *text)
{
	if (text)
		value_ = std::string(text);
}

Argument Argument::address(const void *pointer)
{
	Argument argument(nullptr);
	if (pointer)
		argument.value_ = pointer;
	return argument;
}

std::ostream &operator<<(std::ostream &out, const Argument &argument)
{
	if (const bool *flag = std::get_if<bool>(&argument.value_))
		return out << (*flag ? "true" : "false");
	if (const int64_t *integer = std::get_if<int64_t>(&argument.value_))
		return out << *integer;
	if (const auto *number = std::get_if<Argument::FloatBits>(&argument.value_))
		return out << std::bit_cast<float>(number->bits) << 'f';
	if (const auto *number = std::get_if<Argument::DoubleBits>(&argument.value_))
		return out << std::bit_cast<double>(number->bits);
	if (const std::string *text = std::get_if<std::string>(&argument.value_))
		return out << '"' << *text << '"';
	if (const void *const *pointer = std::get_if<const void *>(&argument.value_))
		return out << *pointer;
	return out << "null";
}

bool Call::operator==(const Call &other) const
{
	return name == other.name && arguments == other.arguments;
}

std::ostream &operator<<(std::ostream &out, const Call &call)
{
	out << call.name << '(';
	for (size_t i = 0; i < call.arguments.size(); ++i)
		out << (i ? ", " : "") << call.arguments[i];
	return out << ')';
}

void CallJournal::reset()
{
	const std::lock_guard lock(mutex_);
	calls_.clear();
	next_order_ = 0;
	enabled_ = true;
}

std::vector<Call> CallJournal::calls() const
{
	const std::lock_guard lock(mutex_);
	return calls_;
}

std::vector<Call> CallJournal::calls(CallOrigin origin) const
{
	const std::lock_guard lock(mutex_);
	std::vector<Call> result;
	std::copy_if(calls_.begin(), calls_.end(), std::back_inserter(result),
		     [origin](const Call &call) { return call.origin == origin; });
	return result;
}

std::vector<Call> CallJournal::calls_named(std::string_view name) const
{
	const std::lock_guard lock(mutex_);
	std::vector<Call> result;
	std::copy_if(calls_.begin(), calls_.end(), std::back_inserter(result),
		     [name](const Call &call) { return call.name == name; });
	return result;
}

std::vector<Call> CallJournal::take()
{
	const std::lock_guard lock(mutex_);
	return std::exchange(calls_, {});
}

void CallJournal::append(Call call)
{
	const std::lock_guard lock(mutex_);
	call.thread = std::this_thread::get_id();
	call.order = next_order_++;
	calls_.push_back(std::move(call));
}

CallJournal &call_journal()
{
	static CallJournal journal;
	return journal;
}

std::vector<std::string> names_of(const std::vector<Call> &calls)
{
	std::vector<std::string> names;
	std::transform(calls.begin(), calls.end(), std::back_inserter(names),
		       [](const Call &call) { return call.name; });
	return names;
}

} // namespace kalvio::test
