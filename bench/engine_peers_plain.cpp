// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_bench.h"

#include <algorithm>
#include <cmath>
#include <memory>

namespace kalvio::bench {

namespace {

uint8_t to_byte(float value)
{
	return static_cast<uint8_t>(std::clamp(value, 0.0F, 255.0F) + 0.5F);
}

// A key as it is written down first: the distance of the colors in CbCr (BT.601), a ramp, and no more green than the
// mean of the other two. One pixel after the other; the compiler may do with it what it can.
void key_plainly(const Frame &frame, std::vector<uint8_t> &result)
{
	constexpr float key_cb = -84.67F; // of (0, 255, 0)
	constexpr float key_cr = -106.77F;
	constexpr float start = 50;
	constexpr float end = 70;
	for (size_t i = 0; i < frame.pixels.size(); i += 4) {
		const float red = frame.pixels[i];
		const float green = frame.pixels[i + 1];
		const float blue = frame.pixels[i + 2];
		const float cb = -0.1687F * red - 0.3313F * green + 0.5F * blue;
		const float cr = 0.5F * red - 0.4187F * green - 0.0813F * blue;
		const float distance = std::sqrt((cb - key_cb) * (cb - key_cb) + (cr - key_cr) * (cr - key_cr));
		const float alpha = std::clamp((distance - start) / (end - start), 0.0F, 1.0F);
		result[i] = to_byte(red);
		result[i + 1] = to_byte(std::min(green, (red + blue) / 2));
		result[i + 2] = to_byte(blue);
		result[i + 3] = to_byte(alpha * static_cast<float>(frame.pixels[i + 3]));
	}
}

} // namespace

// On the calling thread alone.
std::vector<Peer> plain_peers()
{
	return {{Work::PlainChromaKey, "plain loop", [](const Frame &frame, int) -> Peer::Prepared {
			 const auto input = std::make_shared<Frame>(frame);
			 const auto output = std::make_shared<std::vector<uint8_t>>(frame.pixels.size());
			 return {[=] { key_plainly(*input, *output); },
				 [=] {
					 return Frame{input->width, input->height, *output};
				 }};
		 }}};
}

} // namespace kalvio::bench
