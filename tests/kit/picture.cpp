// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/picture.h"

#include <algorithm>
#include <cstdlib>
#include <ostream>

namespace kalvio::test {

namespace {

constexpr size_t bytes_per_pixel = 4;

size_t offset_of(const Picture &picture, uint32_t x, uint32_t y)
{
	return (size_t{y} * picture.width + x) * bytes_per_pixel;
}

} // namespace

Picture::Picture(uint32_t picture_width, uint32_t picture_height)
	: width(picture_width), height(picture_height), rgba(size_t{picture_width} * picture_height * bytes_per_pixel)
{
}

Rgba Picture::at(uint32_t x, uint32_t y) const
{
	Rgba pixel;
	const auto first = rgba.begin() + static_cast<ptrdiff_t>(offset_of(*this, x, y));
	std::copy_n(first, bytes_per_pixel, pixel.begin());
	return pixel;
}

void Picture::set(uint32_t x, uint32_t y, Rgba pixel)
{
	std::copy(pixel.begin(), pixel.end(), rgba.begin() + static_cast<ptrdiff_t>(offset_of(*this, x, y)));
}

void PrintTo(const Picture &picture, std::ostream *out)
{
	*out << picture.width << "x" << picture.height << ", first row";
	for (uint32_t x = 0; x < std::min(picture.width, 8U); x++) {
		const Rgba pixel = picture.at(x, 0);
		*out << " (" << int{pixel[0]} << " " << int{pixel[1]} << " " << int{pixel[2]} << " " << int{pixel[3]}
		     << ")";
	}
}

Picture make_picture(uint32_t width, uint32_t height, const std::function<Rgba(uint32_t x, uint32_t y)> &pixel_at)
{
	Picture picture(width, height);
	for (uint32_t y = 0; y < height; y++) {
		for (uint32_t x = 0; x < width; x++)
			picture.set(x, y, pixel_at(x, y));
	}
	return picture;
}

Picture solid_picture(uint32_t width, uint32_t height, Rgba pixel)
{
	return make_picture(width, height, [pixel](uint32_t, uint32_t) { return pixel; });
}

Picture pattern_picture(uint32_t width, uint32_t height)
{
	return make_picture(width, height, [](uint32_t x, uint32_t y) {
		return Rgba{static_cast<uint8_t>(7 + 3 * x), static_cast<uint8_t>(31 + 5 * y),
			    static_cast<uint8_t>(101 + 11 * x + 13 * y), 255};
	});
}

Picture alpha_ramp_picture()
{
	static constexpr std::array<Rgba, 8> colors = {{{255, 255, 255, 0},
							{0, 0, 0, 0},
							{255, 0, 0, 0},
							{0, 255, 0, 0},
							{0, 0, 255, 0},
							{128, 128, 128, 0},
							{200, 100, 50, 0},
							{1, 2, 254, 0}}};
	return make_picture(256, colors.size(), [](uint32_t x, uint32_t y) {
		Rgba pixel = colors[y];
		pixel[3] = static_cast<uint8_t>(x);
		return pixel;
	});
}

Picture inverted(Picture picture)
{
	for (size_t i = 0; i < picture.rgba.size(); i++) {
		if (i % bytes_per_pixel != 3)
			picture.rgba[i] = static_cast<uint8_t>(255 - picture.rgba[i]);
	}
	return picture;
}

int largest_difference(const Picture &left, const Picture &right)
{
	if (left.width != right.width || left.height != right.height)
		return 256;
	int largest = 0;
	for (size_t i = 0; i < left.rgba.size(); i++)
		largest = std::max(largest, std::abs(int{left.rgba[i]} - int{right.rgba[i]}));
	return largest;
}

} // namespace kalvio::test
