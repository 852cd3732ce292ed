// SPDX-License-Identifier: GPL-2.0-or-later
#include "pipeline.h"

#include <cstring>

namespace kalvio::engine {

namespace {

void copy_frame(const Frame &frame)
{
	const auto row_bytes = static_cast<size_t>(frame.width) * bytes_per_pixel;
	const auto stride = static_cast<size_t>(frame.stride_bytes);
	if (row_bytes == stride) {
		std::memcpy(frame.output, frame.input, stride * static_cast<size_t>(frame.height));
		return;
	}
	for (size_t y = 0; y < static_cast<size_t>(frame.height); ++y)
		std::memcpy(frame.output + y * stride, frame.input + y * stride, row_bytes);
}

} // namespace

void process_frame(kl_engine &, const Frame &frame)
{
	copy_frame(frame);
}

} // namespace kalvio::engine
