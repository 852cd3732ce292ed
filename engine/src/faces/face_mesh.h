// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_geometry.h"
#include "faces/image_views.h"
#include "faces/runnable_net.h"
#include "frame.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace kalvio::engine {

// For each of the mesh net's outputs 1 to 5 the points that it refines, in its order (Net::refined_indices).
inline constexpr int refined_output_count = 5;
using RefinedIndices = std::array<std::vector<uint16_t>, refined_output_count>;

// Lays the mesh of 478 points on the face in a square of the frame (Kartynnik et al., "Real-time Facial Surface
// Geometry from Monocular Video on Mobile GPUs", 2019; lips, eyes and irises refined as in Grishchenko et al.,
// "Attention Mesh", 2020). One thread at a time.
class FaceMesh {
public:
	static constexpr int input_side = 192;
	static constexpr int flag_output = 6;

	// `net` takes 192 x 192 x 3 values of 0..1 and gives the outputs that NetLibrary::face_mesh names. Indices
	// beyond the 478 points are left out.
	FaceMesh(std::unique_ptr<RunnableNet> net, RefinedIndices refined);

	// Finds the points, in pixels of the frame. How sure the net is that there is a face, 0..1, which alone proves
	// nothing. Where a point is no number, 0; `points` are then undefined.
	float fit(const Frame &frame, const CropSquare &square, FacePoints &points);

	// The color of the last fit's crop around a place of its square: red, green, blue, 0..1, a mean of 3 x 3 of
	// its pixels. Places beyond the square read its edge.
	std::array<float, 3> color_at(Point place) const;

	// The square in which a face with these points is looked for in the next frame: one and a half times as large
	// as it, with the eyes level.
	static CropSquare next_square(const FacePoints &points);

private:
	void take_points(const CropSquare &square, FacePoints &points) const;

	std::unique_ptr<RunnableNet> net_;
	RefinedIndices refined_;
	CropSampler sampler_;
};

} // namespace kalvio::engine
