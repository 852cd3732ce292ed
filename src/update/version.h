// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace kalvio {

// Major, minor, patch; compared in that order. What a text does not give is 0.
struct Version {
	std::array<std::uint64_t, 3> components = {};

	bool operator==(const Version &) const = default;
};

// Reads "1.2.3" after one optional "v" or "V": up to three runs of decimal digits with single dots between them.
// Reading ends without complaint at the first character that does not fit, so "1.2-beta" is 1.2.0 and "1.2.3.4"
// is 1.2.3. A component that does not fit its type takes its largest value. Nothing when there is no digit to begin
// with.
std::optional<Version> parse_version(std::string_view text) noexcept;

// Whether `own` is below `other`. An `other` that is no version is above nothing; an `own` that is no version is below
// every version.
bool is_older(std::string_view own, std::string_view other) noexcept;

} // namespace kalvio
