// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/version.h"

#include <limits>

namespace kalvio {

namespace {

// Not isdigit: that one depends on the locale, which the host sets.
bool is_digit(char character) noexcept
{
	return character >= '0' && character <= '9';
}

// Takes the run of digits at the front off `text`.
std::uint64_t take_number(std::string_view &text) noexcept
{
	constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
	std::uint64_t value = 0;
	while (!text.empty() && is_digit(text.front())) {
		const auto digit = static_cast<std::uint64_t>(text.front() - '0');
		value = value > (largest - digit) / 10 ? largest : value * 10 + digit;
		text.remove_prefix(1);
	}
	return value;
}

} // namespace

std::optional<Version> parse_version(std::string_view text) noexcept
{
	if (!text.empty() && (text.front() == 'v' || text.front() == 'V'))
		text.remove_prefix(1);
	if (text.empty() || !is_digit(text.front()))
		return std::nullopt;

	Version version;
	for (std::uint64_t &component : version.components) {
		component = take_number(text);
		if (text.size() < 2 || text[0] != '.' || !is_digit(text[1]))
			break;
		text.remove_prefix(1);
	}
	return version;
}

bool is_older(std::string_view own, std::string_view other) noexcept
{
	const std::optional<Version> other_version = parse_version(other);
	if (!other_version)
		return false;
	const std::optional<Version> own_version = parse_version(own);
	return !own_version || own_version->components < other_version->components;
}

} // namespace kalvio
