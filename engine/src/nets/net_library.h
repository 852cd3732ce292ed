// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "bundle.h"
#include "nets/net.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

// The nets of the resource bundle, and the head's geometry that belongs to them.
namespace kalvio::engine {

// An average head. Its vertices have the numbers of the face mesh's points.
struct HeadGeometry {
	// x to the image's right on an unmirrored frame, y up, z towards the camera, in centimetres.
	struct Vertex {
		float x, y, z;
		float u, v; // place in a flat picture of the face, 0..1, v upwards
	};
	// How much a point says about the head's position and direction; the others say nothing.
	struct PoseWeight {
		uint16_t point;
		float weight; // above 0
	};

	std::vector<Vertex> vertices;
	std::vector<std::array<uint16_t, 3>> triangles; // numbers of vertices
	std::vector<PoseWeight> pose_weights;
};

// All of it is there, or none: then the nets are null, the geometry is empty, and `reason` says why.
struct NetLibrary {
	// 128 x 128 x 3, values -1..1, red first. Outputs: 0 regressors 896 x 16, 1 classificators 896 x 1 (logits).
	std::shared_ptr<const Net> face_detector;
	// 192 x 192 x 3, values 0..1, red first. Outputs, in pixels of the input: 0 mesh 468 x 3, 1 lips 80 x 2,
	// 2 left eye 71 x 2, 3 right eye 71 x 2, 4 left iris 5 x 2, 5 right iris 5 x 2; 6 face flag 1 x 1 (a logit).
	// 1 to 5 have refined indices; the points of the irises are 468..472 and 473..477. Left is the image's left.
	std::shared_ptr<const Net> face_mesh;
	// 144 x 256 x 3, values 0..1, red first: the whole frame, stretched. Output 0: 144 x 256 x 1, 0..1, person.
	std::shared_ptr<const Net> person_matte;
	HeadGeometry head;
	std::string reason;

	bool is_complete() const { return face_detector && face_mesh && person_matte; }
};

// What the bundle has. KL_OK also where it has no nets at all, which `nets.reason` then says; KL_ERROR_FORMAT where a
// file of them is missing beside others, is damaged, or is not the net that its name promises. Throws std::bad_alloc
// alone. Takes about 30 ms.
ReadResult read_nets(const Bundle &bundle, NetLibrary &nets);

// The same, shared with the other engines of the process that were made from a bundle of the same bytes and are still
// there. Never null; where there are no nets, `reason` says why. Any thread.
std::shared_ptr<const NetLibrary> shared_nets(const Bundle &bundle);

} // namespace kalvio::engine
