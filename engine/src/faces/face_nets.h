// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_mesh.h"
#include "faces/runnable_net.h"

#include <functional>
#include <memory>

namespace kalvio::engine {

struct NetLibrary;

// What the tracker makes its nets from. Each call gives one more run of the same net.
struct FaceNets {
	std::function<std::unique_ptr<RunnableNet>()> make_detector;
	std::function<std::unique_ptr<RunnableNet>()> make_mesh;
	RefinedIndices refined;
};

// The nets of the library, which has all of them.
FaceNets face_nets(const NetLibrary &library);

} // namespace kalvio::engine
