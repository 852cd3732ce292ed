// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string_view>

namespace kalvio {

// Whether `text` may be handed to the system's opener: it begins with "http://" or "https://", a host follows, and it
// holds none of the characters that an address must not hold. The system pastes the address into the command line of
// the browser, where a quotation mark or a blank would begin another argument.
bool is_web_address(std::string_view text) noexcept;

} // namespace kalvio
