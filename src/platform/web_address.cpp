// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/web_address.h"

#include <algorithm>

namespace kalvio {

namespace {

constexpr std::string_view schemes[] = {"https://", "http://"};
constexpr std::string_view host_ends = "/?#:@";
constexpr std::string_view excluded = "\"<>\\^`{|}"; // RFC 3986 has no place for these, nor for blanks and controls

bool may_stand_in_address(char character) noexcept
{
	// Bytes of 0x80 and above are UTF-8: browsers take addresses in every script.
	const auto byte = static_cast<unsigned char>(character);
	return byte > 0x20 && byte != 0x7F && excluded.find(character) == std::string_view::npos;
}

} // namespace

bool is_web_address(std::string_view text) noexcept
{
	const auto *scheme = std::ranges::find_if(schemes, [&](std::string_view s) { return text.starts_with(s); });
	if (scheme == std::ranges::end(schemes))
		return false;
	text.remove_prefix(scheme->size());
	return !text.empty() && host_ends.find(text.front()) == std::string_view::npos &&
	       std::ranges::all_of(text, may_stand_in_address);
}

} // namespace kalvio
