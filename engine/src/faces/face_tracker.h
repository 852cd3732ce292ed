// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_confidence.h"
#include "faces/face_detector.h"
#include "faces/face_geometry.h"
#include "faces/face_mesh.h"
#include "faces/face_nets.h"
#include "faces/head_pose.h"
#include "faces/image_views.h"
#include "faces/one_euro.h"
#include "frame.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>

namespace kalvio::engine {

class Pool;

inline constexpr int max_tracked_faces = 4;

// A face that is followed from frame to frame.
struct TrackedFace {
	int number = 0;      // the same as long as the face is followed; counts from 1
	float presence = 0;  // 0..1: fades in when the face is taken, and out when it is lost
	float size = 0;      // regions::face_size of `points`, in pixels
	FacePoints points{}; // smoothed
	HeadPose pose;       // of the smoothed points
	// How far an effect on each part may show, 0..1: `presence` is in it.
	GroupConfidence confidence{};
};

// Finds up to four faces and follows them through the frames of one source.
//
// A face is found by the detector in squares of the frame, in a fixed turn, a square or two per frame while another
// face can be taken. The mesh then follows it: each frame's square comes from the last frame's points before smoothing.
// The mesh is sure of itself on cats and on the backs of heads, so it is believed only where the detector finds the
// same face within the mesh's own square: every 15th frame, and whenever the face looks unlike itself. Three misses in
// a row lose it. Before a face is taken it must be plausible, too, in two frames.
//
// The same frames at the same times give the same faces with any number of threads.
class FaceTracker {
public:
	// The nets' memory is taken when a face or a view first needs it.
	FaceTracker(FaceNets nets, const HeadGeometry &head);
	~FaceTracker();

	// Looks at the next frame, taken at `time_s` seconds of a clock that does not run backwards. A frame of another
	// size than the last one, or more than half a second after it, starts from nothing: then the large faces are
	// looked for and taken within that frame, which takes some times as long as a usual one.
	void update(const Frame &frame, double time_s, Pool &pool);
	// Forgets all faces.
	void reset();

	// The faces that were taken, with those that still fade out, in an order that does not change while they last.
	// Valid until the next update.
	std::span<const TrackedFace> faces() const { return {faces_.data(), size_t(face_count_)}; }

private:
	enum class State { Free, Found, Followed, Fading };

	// A place for one face, and what is needed to follow it.
	struct Track {
		State state = State::Free;
		int number = 0;
		CropSquare square;   // where the next frame is looked at
		FacePoints raw{};    // as the net found them
		float size = 0;      // of `raw`
		Point center;        // of `raw`
		Point velocity;      // of the center, pixels a second
		float surprise = 0;  // how far the last center lay from where it was expected, in sizes
		bool placed = false; // `raw` is of this square's face
		int age = 0;         // frames since it was found
		int frames_since_check = 0;
		int misses = 0; // in a row
		int checks = 0; // that asked whether the face is plausible
		int checks_at_once = 1;
		float plausibility = 0; // in the last of these
		float presence = 0;

		std::unique_ptr<FaceMesh> mesh;
		std::unique_ptr<FaceDetector> checker;
		FaceSmoother smoother;
		FaceConfidence confidence;
		HeadPose pose;
	};

	struct View {
		int number = whole_view;
		std::span<const FaceDetection> found;
	};

	void look_at_once(const Frame &frame, Pool &pool);
	int plan_views();
	void look(int index, const Frame &frame);
	void prepare(int views);
	void follow(Track &track, const Frame &frame, float seconds);
	static bool must_check(const Track &track);
	bool is_confirmed(Track &track, const Frame &frame) const;
	void lose(Track &track);
	void drop_duplicates();
	void take_detections(int views);
	bool is_known(const FaceDetection &detection) const;
	void fade(Track &track, float seconds);
	void publish();

	FaceNets nets_;
	PoseEstimator pose_estimator_;
	std::array<Track, max_tracked_faces> tracks_;
	static constexpr int max_views_at_once = 2;
	std::array<std::unique_ptr<FaceDetector>, max_views_at_once> detectors_;
	std::array<View, max_views_at_once> views_;
	std::array<TrackedFace, max_tracked_faces> faces_;
	int face_count_ = 0;
	int last_number_ = 0;
	int64_t turn_ = 0; // of the views
	int64_t frames_ = 0;
	int width_ = 0;
	int height_ = 0;
	double time_s_ = 0;
};

} // namespace kalvio::engine
