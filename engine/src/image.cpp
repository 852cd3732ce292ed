// SPDX-License-Identifier: GPL-2.0-or-later
#include "image.h"

#include "image_formats.h"

#include <algorithm>
#include <array>

namespace kalvio::engine {

namespace {

template <size_t Length>
bool starts_with(const Bytes &bytes, const std::array<uint8_t, Length> &signature)
{
	return bytes.size() >= Length && std::equal(signature.begin(), signature.end(), bytes.begin());
}

} // namespace

ReadResult decode_image(const Bytes &bytes, Image &image)
{
	constexpr std::array<uint8_t, 3> jpeg = {0xFF, 0xD8, 0xFF};
	constexpr std::array<uint8_t, 8> png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
	if (starts_with(bytes, jpeg))
		return decode_jpeg(bytes, image);
	if (starts_with(bytes, png))
		return decode_png(bytes, image);
	return image_error("neither a JPEG nor a PNG picture");
}

ReadResult load_image(const char *path, Image &image)
{
	Bytes bytes;
	if (ReadResult result = read_file(path, max_image_file_bytes, bytes); !result)
		return result;
	return decode_image(bytes, image);
}

} // namespace kalvio::engine
