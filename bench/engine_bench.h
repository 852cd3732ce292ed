// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// What the engine's benchmark and its peers share.
namespace kalvio::bench {

// Interleaved RGBA, 8 bits, no padding.
struct Frame {
	int width;
	int height;
	std::vector<uint8_t> pixels;
};

enum class Work { ColorFilter, ChromaKey, PlainChromaKey, Blur, Smoothing, Sharpening };

// One way of another library to do the work. `prepare` does everything that is not counted (conversions, tables) and
// gives the call to time; `result` after a call gives the picture back as RGBA, or nothing where nobody asks.
struct Peer {
	struct Prepared {
		std::function<void()> run;
		std::function<Frame()> result;
	};

	Work work;
	std::string name;
	std::function<Prepared(const Frame &frame, int threads)> prepare;
};

inline constexpr double blur_sigma = 0.03 * 1080;

// `cube_path`: a color table in the .cube format, the same that the engine is given.
std::vector<Peer> opencv_peers();
std::vector<Peer> ffmpeg_peers(const std::string &cube_path);
std::vector<Peer> vips_peers();
std::vector<Peer> plain_peers();
std::vector<Peer> opencolorio_peers(const std::string &cube_path); // none where it is not installed

} // namespace kalvio::bench
