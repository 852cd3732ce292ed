// SPDX-License-Identifier: GPL-2.0-or-later
#include "key_peers.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace kalvio::test {

namespace {

struct Chroma {
	double blue;
	double red;
};

// Rec. 601, full range.
Chroma chroma_of(const Rgba &pixel)
{
	return {-0.1687 * pixel[0] - 0.3313 * pixel[1] + 0.5 * pixel[2],
		0.5 * pixel[0] - 0.4187 * pixel[1] - 0.0813 * pixel[2]};
}

double chroma_distance(const Picture &camera, int x, int y, Rgba screen)
{
	const Chroma key = chroma_of(screen);
	double sum = 0;
	for (int dy = -1; dy <= 1; ++dy) {
		for (int dx = -1; dx <= 1; ++dx) {
			const int column = std::clamp(x + dx, 0, int(camera.width) - 1);
			const int row = std::clamp(y + dy, 0, int(camera.height) - 1);
			const Chroma own = chroma_of(camera.at(uint32_t(column), uint32_t(row)));
			sum += std::hypot(own.blue - key.blue, own.red - key.red) / (255 * std::sqrt(2.0));
		}
	}
	return sum / 9;
}

double color_distance(const Rgba &pixel, Rgba screen)
{
	return std::hypot(pixel[0] - screen[0], pixel[1] - screen[1], pixel[2] - screen[2]) / (255 * std::sqrt(3.0));
}

void despill(Rgba &pixel, int color)
{
	const size_t own = color == 0 ? 1 : 2;
	const size_t other = color == 0 ? 2 : 1;
	const double limit = 0.5 * pixel[0] + 0.5 * pixel[other];
	pixel[own] = static_cast<uint8_t>(std::lround(std::min<double>(pixel[own], limit)));
}

} // namespace

Picture keyed_by_peer(KeyPeer peer, const Picture &camera, int color, Rgba screen, const KeyPeerSettings &settings)
{
	return make_picture(camera.width, camera.height, [&](uint32_t x, uint32_t y) {
		Rgba pixel = camera.at(x, y);
		const double distance = peer == KeyPeer::ChromaKey ? chroma_distance(camera, int(x), int(y), screen)
								   : color_distance(pixel, screen);
		double alpha = distance > settings.similarity ? 1 : 0;
		if (settings.blend > 0)
			alpha = std::clamp((distance - settings.similarity) / settings.blend, 0.0, 1.0);
		if (settings.despill)
			despill(pixel, color);
		pixel[3] = static_cast<uint8_t>(std::lround(255 * alpha));
		return pixel;
	});
}

} // namespace kalvio::test
