// SPDX-License-Identifier: GPL-2.0-or-later
#include "image_reader.h"

#include "file_reader.h"
#include "image_formats.h"

#include <algorithm>
#include <array>

namespace kalvio::engine {

namespace {

enum class Format { Unknown, Jpeg, Png };

template <size_t Length>
bool starts_with(const Bytes &bytes, const std::array<uint8_t, Length> &signature)
{
	return bytes.size() >= Length && std::equal(signature.begin(), signature.end(), bytes.begin());
}

Format format_of(const Bytes &bytes)
{
	constexpr std::array<uint8_t, 3> jpeg = {0xFF, 0xD8, 0xFF};
	constexpr std::array<uint8_t, 8> png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
	if (starts_with(bytes, jpeg))
		return Format::Jpeg;
	return starts_with(bytes, png) ? Format::Png : Format::Unknown;
}

ReadResult unknown_format()
{
	return image_error("neither a JPEG nor a PNG picture");
}

ReadResult unreadable()
{
	return {KL_ERROR_FILE, "the file could not be read to its end"};
}

} // namespace

const char *DecodeControl::reason_to_stop() const
{
	if (is_cancelled())
		return "the picture is no longer wanted";
	if (clock_us != nullptr && clock_us() > deadline_us)
		return "decoding takes longer than two seconds";
	return nullptr;
}

ReadResult decode_image(const Bytes &bytes, Image &image, const DecodeControl &control)
{
	switch (format_of(bytes)) {
	case Format::Jpeg:
		return decode_jpeg(bytes, image, control);
	case Format::Png:
		return decode_png(bytes, image, control);
	case Format::Unknown:
		break;
	}
	return unknown_format();
}

ReadResult load_image(const char *path, Image &image)
{
	Bytes bytes;
	if (ReadResult result = read_file(path, max_image_file_bytes, bytes); !result)
		return result;
	return decode_image(bytes, image);
}

ReadResult open_image(const char *path, ImageFile &opened)
{
	if (ReadResult result = open_file(path, max_image_file_bytes, opened.file, opened.size); !result)
		return result;
	opened.head.resize(std::min(static_cast<size_t>(opened.size), image_head_bytes));
	if (std::fread(opened.head.data(), 1, opened.head.size(), opened.file.get()) != opened.head.size())
		return unreadable();
	switch (format_of(opened.head)) {
	case Format::Jpeg:
		return check_jpeg_head(opened.head);
	case Format::Png:
		return check_png_head(opened.head);
	case Format::Unknown:
		break;
	}
	return unknown_format();
}

ReadResult read_image(ImageFile &opened, Bytes &bytes, const DecodeControl &control)
{
	constexpr size_t piece = size_t{1} << 20; // so that a slow disk does not keep a cancelled load busy
	size_t position = opened.head.size();
	bytes = std::move(opened.head);
	bytes.resize(static_cast<size_t>(opened.size));
	while (position < bytes.size()) {
		const size_t wanted = std::min(piece, bytes.size() - position);
		if (control.is_cancelled() ||
		    std::fread(bytes.data() + position, 1, wanted, opened.file.get()) != wanted)
			return unreadable();
		position += wanted;
	}
	return {};
}

} // namespace kalvio::engine
