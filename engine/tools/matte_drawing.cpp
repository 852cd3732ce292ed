// SPDX-License-Identifier: GPL-2.0-or-later
#include "matte_drawing.h"

#include "kernels/kernels.h"

#include <cstring>
#include <vector>

namespace kalvio::engine {

void draw_matte(PersonMatte &matte, const Image &input, MatteUse use, Image &output)
{
	const size_t row_bytes = size_t(input.width) * bytes_per_pixel;
	std::vector<uint8_t> captured(row_bytes + kernels::row_padding_bytes);
	std::vector<uint8_t> row(captured.size());
	std::vector<uint8_t> gray(captured.size());
	output.resize(input.width, input.height);
	for (int y = 0; y < input.height; ++y) {
		std::memcpy(captured.data(), input.pixel(0, y), row_bytes);
		matte.write_row(y, 0, input.width, use, captured.data(), row.data(), gray.data());
		for (size_t alpha = 3; alpha < row_bytes; alpha += bytes_per_pixel)
			gray[alpha] = 255;
		std::memcpy(output.pixel(0, y), gray.data(), row_bytes);
	}
}

} // namespace kalvio::engine
