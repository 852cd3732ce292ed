// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "bundle.h"

#include <filesystem>
#include <string>
#include <vector>

namespace kalvio::engine {

struct BundleFile {
	std::string name; // relative, with "/"
	Bytes content;
};

// Writes a bundle; the same files give the same bytes. The manifest is one of the files, and no check is made of it or
// of any other. Throws std::runtime_error when the bundle cannot be written.
void write_bundle(const std::filesystem::path &output, std::vector<BundleFile> files);

} // namespace kalvio::engine
