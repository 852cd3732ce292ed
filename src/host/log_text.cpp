// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/log_text.h"

namespace kalvio {

namespace {

bool continues_character(char byte)
{
	return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

} // namespace

std::string sanitize_for_log(std::string_view text, std::size_t longest_bytes)
{
	if (text.size() > longest_bytes) {
		std::size_t end = longest_bytes;
		while (end > 0 && continues_character(text[end]))
			--end;
		text = text.substr(0, end);
	}
	std::string line(text);
	for (char &character : line) {
		if (static_cast<unsigned char>(character) < 0x20 || character == 0x7F)
			character = '?';
	}
	return line;
}

} // namespace kalvio
