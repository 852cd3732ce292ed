// SPDX-License-Identifier: GPL-2.0-or-later

// moving_head BUNDLE OUTPUT TONE WIDTHxHEIGHT FRAMES: paints a made head that turns and talks, as a clip of
// kalvio-apply. TONE is 0..3, from light to dark; after FRAMES the motion begins anew. BUNDLE brings the average head.
#include "arguments.h"
#include "face_trials.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

namespace {

using namespace kalvio::engine;
using namespace kalvio::engine::testing;

void run(const std::vector<std::string> &arguments)
{
	int width = 0;
	int height = 0;
	const int tone = std::atoi(arguments.at(3).c_str());
	const int frames = std::atoi(arguments.at(5).c_str());
	if (std::sscanf(arguments.at(4).c_str(), "%dx%d", &width, &height) != 2 || std::min(width, height) < 1 ||
	    frames < 1 || tone < 0 || tone >= head_tone_count)
		throw std::runtime_error("no such tone, size or number of frames");
	FacePainter painter(load_nets(arguments.at(1)).head);
	std::ofstream output(path_from_utf8(arguments.at(2)), std::ios::binary);
	Image image;
	for (int frame = 0; frame < frames; ++frame) {
		const float turn = static_cast<float>(frame) / static_cast<float>(frames);
		painter.paint(moving_head(tone, turn, width, height), uint32_t(frame), image);
		output.write(reinterpret_cast<const char *>(image.pixels.data()), std::streamsize(image.pixel_bytes()));
	}
	if (!output.flush())
		throw std::runtime_error("the clip cannot be written");
}

} // namespace

int main(int argc, char **argv)
{
	if (argc != 6) {
		std::fprintf(stderr, "usage: moving_head BUNDLE OUTPUT TONE WIDTHxHEIGHT FRAMES\n");
		return 2;
	}
	try {
		run(utf8_arguments(argc, argv));
		return 0;
	} catch (const std::exception &error) {
		std::fprintf(stderr, "moving_head: %s\n", error.what());
		return 1;
	}
}
