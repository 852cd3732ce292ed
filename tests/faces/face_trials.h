// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "faces/face_tracker.h"
#include "made_face.h"
#include "nets/net_library.h"
#include "pool.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

// How well faces are found and followed: made faces whose points are known, faceless pictures, and a photograph.
namespace kalvio::engine::testing {

// The nets of a resource bundle. Throws std::runtime_error where it has none.
NetLibrary load_nets(const std::string &bundle_path);

// Mean distances of known points from the found lines, in percent of the face's size; that of the irises' centers from
// the found ones.
struct FaceErrors {
	double eyes = 0;
	double lips = 0;
	double iris = 0;
	double jaw = 0;
	double brows = 0;
};

FaceErrors face_errors(const FacePoints &truth, const FacePoints &found);

// What became of one made face in a second of video.
struct FaceTrial {
	std::optional<int> found_after; // frames
	FaceErrors errors;              // some frames after it was found
	GroupConfidence confidence{};
};

// The pictures of a trial as they are made, with what was found: to draw overlays.
using TrialWatcher = std::function<void(const FaceRecipe &, const Image &, std::span<const TrackedFace>)>;

struct ConditionResult {
	int faces = 0;
	int found = 0;
	double mean_frames = 0; // until they were found
	FaceErrors errors;      // means over those that were found
	GroupConfidence confidence{};

	double found_percent() const { return 100.0 * found / std::max(faces, 1); }
};

// A head that moves, from the first frame in which it was found on.
struct MovingTrial {
	int lost = 0; // frames in which it was not found
	FaceErrors worst;
};

class FaceTrials {
public:
	static constexpr int video_frames = 30;
	static constexpr double frame_s = 1.0 / 30;

	explicit FaceTrials(const NetLibrary &nets);

	FaceTrial try_face(const FaceRecipe &recipe, const TrialWatcher &watcher = {});
	ConditionResult try_condition(FaceCondition condition, int faces, const TrialWatcher &watcher = {});

	// Follows a head through one motion of four seconds, at 30 frames per second.
	MovingTrial try_moving_head(int tone);
	// How far points of a still face move in a noisy video, root mean square in percent of its size.
	double still_jitter(float noise_levels);
	// By how many frames the points follow a head that moves by a quarter of its size once a second.
	double moving_lag();
	// Which of the first `count` faceless pictures a face was seen in within a second.
	std::vector<int> faces_in_faceless(int count, const TrialWatcher &watcher = {});
	// The faces of a still picture after a second.
	std::vector<TrackedFace> faces_of(const Image &picture);

private:
	FaceTracker make_tracker() const;

	const NetLibrary &nets_;
	FacePainter painter_;
	Pool pool_;
};

// scikit-image's picture of an astronaut, as Debian's python3-skimage installs it, with its lines as found by eye at
// tenfold size; null when it is not there.
std::optional<Image> load_astronaut(const std::string &path);
FaceErrors astronaut_errors(const FacePoints &found);
inline constexpr const char *astronaut_path = "/usr/lib/python3/dist-packages/skimage/data/astronaut.png";

} // namespace kalvio::engine::testing
