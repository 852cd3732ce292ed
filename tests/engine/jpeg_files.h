// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "image.h"
#include "read_result.h"

// JPEG files that the project's own writer does not make.
namespace kalvio::engine::testing {

// At full quality; alpha is left out.
Bytes jpeg_of(const Image &image);

// Progressive, of exactly this many scans, 66..128.
Bytes jpeg_of_scans(const Image &image, int scans);

// The same file with another size in its head.
Bytes with_jpeg_size(Bytes jpeg, int width, int height);

} // namespace kalvio::engine::testing
