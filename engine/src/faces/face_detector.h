// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_geometry.h"
#include "faces/image_views.h"
#include "faces/runnable_net.h"
#include "frame.h"

#include <array>
#include <memory>
#include <span>

namespace kalvio::engine {

// A face that the detector found, in pixels of the frame.
struct FaceDetection {
	static constexpr int key_count = 6;
	enum Key { LeftEye, RightEye, NoseTip, Mouth, LeftEar, RightEar }; // left and right of an upright face

	float score = 0; // 0..1
	Point center;
	float side = 0; // the longer one of its box
	std::array<Point, key_count> keys;

	// As regions::face_size and regions::face_center measure it.
	float size() const;
	Point face_center() const;
	// What the face's mesh is looked for in.
	CropSquare mesh_square() const;
};

// Looks for faces in squares of a frame with a single-shot detector (Bazarevsky et al., "BlazeFace", 2019): 896 boxes
// around fixed anchors, those of a face merged by their mean, weighted by the scores. One thread at a time.
class FaceDetector {
public:
	static constexpr int input_side = 128;
	static constexpr int box_count = 896;
	static constexpr int box_values = 16;
	static constexpr int max_detections = 16;
	static constexpr float least_score = 0.5F;
	static constexpr float same_face_overlap = 0.3F; // intersection over union

	// `net` takes 128 x 128 x 3 values of -1..1 and gives 896 x 16 boxes and 896 logits.
	explicit FaceDetector(std::unique_ptr<RunnableNet> net);

	// The faces in `square`, the surest first; valid until the next call. Allocates nothing once the frame's size
	// has been seen.
	std::span<const FaceDetection> find(const Frame &frame, const CropSquare &square);

private:
	// A box in places of the square, 0..1, and its key points.
	struct Candidate {
		float score;
		int number; // of the box: the order among equal scores
		Point center;
		float width;
		float height;
		std::array<Point, FaceDetection::key_count> keys;
	};

	int decode();
	void merge(int candidates, const CropSquare &square);
	static float overlap(const Candidate &left, const Candidate &right);

	std::unique_ptr<RunnableNet> net_;
	CropSampler sampler_;
	std::array<Candidate, box_count> candidates_;
	std::array<FaceDetection, max_detections> detections_;
	int detection_count_ = 0;
};

// 1 / (1 + exp(-x)), rounded to steps of 2^-16: the last bit of exp differs between math libraries.
float logistic(float logit);

} // namespace kalvio::engine
