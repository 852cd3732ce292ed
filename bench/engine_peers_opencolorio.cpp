// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_bench.h"

#include <OpenColorIO/OpenColorIO.h>

#include <memory>

namespace kalvio::bench {

namespace {

namespace ocio = OCIO_NAMESPACE;

// The same table on pixels of 8 bits or of 32-bit floats; the conversion to these is not counted.
template <typename Channel>
Peer opencolorio_peer(const std::string &cube_path, const char *name, ocio::BitDepth depth, Channel one)
{
	return {Work::ColorFilter, std::string("OpenColorIO ") + name, [=](const Frame &frame, int) -> Peer::Prepared {
			const auto transform = ocio::FileTransform::Create();
			transform->setSrc(cube_path.c_str());
			transform->setInterpolation(ocio::INTERP_TETRAHEDRAL);
			const auto processor =
				ocio::Config::CreateRaw()->getProcessor(transform)->getOptimizedCPUProcessor(
					depth, depth, ocio::OPTIMIZATION_DEFAULT);
			const auto input = std::make_shared<std::vector<Channel>>();
			for (const uint8_t value : frame.pixels)
				input->push_back(static_cast<Channel>(Channel(value) * one / Channel(255)));
			const auto output = std::make_shared<std::vector<Channel>>(input->size());
			const auto image = [=](std::vector<Channel> &pixels) {
				const auto channel = static_cast<ptrdiff_t>(sizeof(Channel));
				return std::make_shared<ocio::PackedImageDesc>(
					pixels.data(), frame.width, frame.height, ocio::CHANNEL_ORDERING_RGBA, depth,
					channel, 4 * channel, 4 * channel * frame.width);
			};
			const auto from = image(*input);
			const auto to = image(*output);
			return {[processor, from, to, input, output] { processor->apply(*from, *to); }, nullptr};
		}};
}

} // namespace

// It works on the calling thread alone, however many are asked for.
std::vector<Peer> opencolorio_peers(const std::string &cube_path)
{
	return {opencolorio_peer<uint8_t>(cube_path, "8 bits", ocio::BIT_DEPTH_UINT8, 255),
		opencolorio_peer<float>(cube_path, "floats", ocio::BIT_DEPTH_F32, 1.0F)};
}

} // namespace kalvio::bench
