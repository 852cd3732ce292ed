// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "image.h"
#include "read_result.h"

#include <filesystem>

namespace kalvio::engine {

// Writes a PNG or, by the name's ending ".jpg", a JPEG picture (4:2:0 below quality 90). Throws std::runtime_error.
void write_image(const std::filesystem::path &path, const Image &image, int jpeg_quality = 88);

Bytes encode_png(const Image &image);

} // namespace kalvio::engine
