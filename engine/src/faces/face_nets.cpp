// SPDX-License-Identifier: GPL-2.0-or-later
#include "faces/face_nets.h"

#include "nets/net_library.h"

#include <utility>

namespace kalvio::engine {

namespace {

// A net of the library with its run's memory.
class LibraryNet : public RunnableNet {
public:
	explicit LibraryNet(std::shared_ptr<const Net> net) : runner_(std::move(net)) {}

	std::span<float> input() override { return runner_.input(); }
	void run() override { runner_.run(); }
	std::span<const float> output(int index) const override { return runner_.output(index); }

private:
	NetRunner runner_;
};

} // namespace

FaceNets face_nets(const NetLibrary &library)
{
	FaceNets nets;
	nets.make_detector = [net = library.face_detector] {
		return std::make_unique<LibraryNet>(net);
	};
	nets.make_mesh = [net = library.face_mesh] {
		return std::make_unique<LibraryNet>(net);
	};
	for (int output = 0; output < refined_output_count; ++output) {
		const std::span<const uint16_t> indices = library.face_mesh->refined_indices(output + 1);
		nets.refined[size_t(output)].assign(indices.begin(), indices.end());
	}
	return nets;
}

} // namespace kalvio::engine
