// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <filesystem>
#include <string>
#include <vector>

// The checkout, for tests of the sources themselves.
namespace kalvio::test {

namespace fs = std::filesystem;

extern const fs::path root;

// The C and C++ sources and headers in `folder` and all below.
std::vector<fs::path> sources_in(const fs::path &folder);

std::string content_of(const fs::path &file);

// The content without comments and without what stands in quotation marks; the lines stay.
std::string code_of(const fs::path &file);

} // namespace kalvio::test
