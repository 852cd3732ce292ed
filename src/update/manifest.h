// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <optional>
#include <string>

namespace kalvio {

// What the publisher says about the released versions. UTF-8 text as it was sent, nothing escaped.
struct Manifest {
	std::string latest;        // "version": the newest published version
	std::string force_below;   // "force_below": versions strictly below this one are paused
	std::string notes;         // "notes": release notes
	std::string download_page; // "download_page": a web address, or empty
	std::string download_file; // "download_windows": a web address; never empty once read
};

// Where the manifest is fetched from.
std::string manifest_url();

// The package that is offered when the manifest names none.
std::string default_package_url();

// Reads the body of the manifest's answer. A key that is missing or has another type than a string reads as empty, and
// so does an address that no browser should be handed. Nothing when `body` is not one JSON object.
std::optional<Manifest> parse_manifest(const std::string &body);

} // namespace kalvio
