// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "decode_control.h"
#include "image.h"
#include "platform.h"
#include "read_result.h"

#include <cstddef>
#include <cstdint>

namespace kalvio::engine {

inline constexpr int64_t max_image_file_bytes = int64_t{128} << 20;
// How much of a file tells what it is. Exif data with a preview picture can put the size of a JPEG behind that.
inline constexpr size_t image_head_bytes = size_t{64} << 10;

// Decodes JPEG (gray, color, CMYK) or PNG (any depth, palette, alpha; of an animated one the still picture). The
// content decides, not the file's name. KL_ERROR_FORMAT for anything else and for what takes too long,
// KL_ERROR_OUT_OF_MEMORY where a library gets no memory; throws std::bad_alloc where the picture gets none.
ReadResult decode_image(const Bytes &bytes, Image &image, const DecodeControl &control = {});
ReadResult load_image(const char *path, Image &image);

// A picture's file, opened, of which no more than the head was read.
struct ImageFile {
	platform::File file;
	int64_t size = 0; // bytes
	Bytes head;       // the first bytes, at most image_head_bytes
};

// Opens a picture and tells from its head what can be told: KL_ERROR_FILE for what cannot be read, KL_ERROR_FORMAT for
// an empty or too large file, for what is no picture, and for a size that may not be decoded if the head shows it.
ReadResult open_image(const char *path, ImageFile &opened);

// The rest of the file: `bytes` receives the whole content. KL_ERROR_FILE where it cannot be read, or is cancelled.
ReadResult read_image(ImageFile &opened, Bytes &bytes, const DecodeControl &control);

} // namespace kalvio::engine
