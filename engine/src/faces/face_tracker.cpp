// SPDX-License-Identifier: GPL-2.0-or-later
#include "faces/face_tracker.h"

#include "faces/face_belief.h"
#include "faces/face_regions.h"
#include "pool.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kalvio::engine {

namespace {

// The mesh is believed where the detector is so sure of the same face.
constexpr float believed_score = 0.65F;
// A face is harder to take than to keep.
constexpr float taken_plausibility = 0.6F; // on the mean of two checks
constexpr int checks_to_take = 2;
constexpr float least_flag = 0.5F;
constexpr int steps_to_belief = 2;
constexpr int frames_between_checks = 15;
constexpr int misses_that_lose = 3;
// A single miss happens on good faces.
constexpr int misses_that_fade = 2;

constexpr float fade_seconds = 0.25F;
constexpr double longest_gap_s = 0.5;
constexpr float shortest_step_s = 1.0F / 1000;

// The smallest face whose mesh means something, in pixels between its eyes.
constexpr float least_size = 8;

// A jump onto another face is remembered for some frames: the faces need not lie on each other at once.
constexpr float surprise_kept = 0.8F;

// While faces are followed, others are looked for in every second frame.
constexpr int frames_between_views = 2;

bool is_sound(const CropSquare &square, const Frame &frame)
{
	const float largest = 4 * static_cast<float>(std::max(frame.width, frame.height));
	const auto near = [](float center, int length) {
		return center > -static_cast<float>(length) && center < 2 * static_cast<float>(length);
	};
	return square.side >= least_size && square.side <= largest && near(square.center.x, frame.width) &&
	       near(square.center.y, frame.height);
}

// The turn of the views: the whole frame and its squares, which find nearly every face, come every other time.
int view_of_turn(int64_t turn)
{
	constexpr int large_views = first_half_view;
	constexpr int half_views = view_count - first_half_view;
	if (turn % 2 == 0)
		return static_cast<int>(turn / 2 % large_views);
	// Seven squares on, so that neighbors in time are not neighbors in the frame.
	constexpr int step = 7;
	return first_half_view + static_cast<int>(turn / 2 * step % half_views);
}

} // namespace

FaceTracker::FaceTracker(FaceNets nets, const HeadGeometry &head) : nets_(std::move(nets)), pose_estimator_(head) {}

FaceTracker::~FaceTracker() = default;

void FaceTracker::reset()
{
	for (Track &track : tracks_)
		track.state = State::Free;
	face_count_ = 0;
	turn_ = 0;
}

// Which views to look at in this frame: two while nobody is followed, then one in every other frame, none while all
// places are taken.
int FaceTracker::plan_views()
{
	bool free = false;
	bool followed = false;
	for (const Track &track : tracks_) {
		free = free || track.state == State::Free;
		followed = followed || track.state == State::Followed;
	}
	if (!free || (followed && frames_ % frames_between_views != 0))
		return 0;
	const int count = followed ? 1 : max_views_at_once;
	for (int index = 0; index < count; ++index)
		views_[size_t(index)] = {view_of_turn(turn_++), {}};
	return count;
}

// All memory of the frame is taken here, on one thread.
void FaceTracker::prepare(int views)
{
	for (int index = 0; index < views; ++index) {
		if (!detectors_[size_t(index)])
			detectors_[size_t(index)] = std::make_unique<FaceDetector>(nets_.make_detector());
	}
	for (Track &track : tracks_) {
		if (track.state != State::Free && !track.mesh) {
			track.mesh = std::make_unique<FaceMesh>(nets_.make_mesh(), nets_.refined);
			track.checker = std::make_unique<FaceDetector>(nets_.make_detector());
		}
	}
}

void FaceTracker::update(const Frame &frame, double time_s, Pool &pool)
{
	const double step_s = time_s - time_s_;
	const bool begins = frame.width != width_ || frame.height != height_ || !(step_s <= longest_gap_s);
	width_ = frame.width;
	height_ = frame.height;
	time_s_ = time_s;
	++frames_;
	if (begins) {
		reset();
		look_at_once(frame, pool);
		publish();
		return;
	}

	const float seconds = std::max(static_cast<float>(step_s), shortest_step_s);
	const int views = plan_views();
	prepare(views);
	pool.run(max_tracked_faces + views, [&](int task, int) {
		if (task < max_tracked_faces)
			follow(tracks_[size_t(task)], frame, seconds);
		else
			look(task - max_tracked_faces, frame);
	});
	for (Track &track : tracks_) {
		if (track.misses >= misses_that_lose)
			lose(track);
	}
	drop_duplicates();
	for (Track &track : tracks_)
		fade(track, seconds);
	take_detections(views);
	publish();
}

// The first frame: what the large views show is followed for as many steps as believing it takes, and does not fade in.
// Once a view shows a face, the turn of the views finds the others.
void FaceTracker::look_at_once(const Frame &frame, Pool &pool)
{
	prepare(max_views_at_once);
	const auto is_found = [](const Track &track) {
		return track.state == State::Found;
	};
	for (int view = whole_view; view < first_half_view && std::ranges::none_of(tracks_, is_found);
	     view += max_views_at_once) {
		const int views = std::min(max_views_at_once, first_half_view - view);
		for (int index = 0; index < views; ++index) {
			views_[size_t(index)] = {view + index, {}};
			turn_ += 2; // large views come every other time
		}
		pool.run(views, [&](int index, int) { look(index, frame); });
		take_detections(views);
	}
	prepare(0);
	for (Track &track : tracks_)
		track.checks_at_once = checks_to_take;
	for (int step = 0; step < steps_to_belief; ++step)
		pool.run(max_tracked_faces, [&](int task, int) { follow(tracks_[size_t(task)], frame, fade_seconds); });
	for (Track &track : tracks_)
		track.checks_at_once = 1;
	drop_duplicates();
	for (Track &track : tracks_) {
		if (track.state == State::Followed)
			track.presence = 1;
	}
}

void FaceTracker::look(int index, const Frame &frame)
{
	View &view = views_[size_t(index)];
	view.found = detectors_[size_t(index)]->find(frame, view_square(view.number, frame.width, frame.height));
}

// Whether the detector has to be asked. A face that was just found is laid twice first: its first square comes from the
// detector's box, the second from the mesh itself.
bool FaceTracker::must_check(const Track &track)
{
	if (track.state == State::Found)
		return track.age >= steps_to_belief;
	return track.misses > 0 || track.frames_since_check >= frames_between_checks ||
	       track.confidence.looks_strange();
}

// Whether the detector finds the mesh's face in the mesh's square. A face that is not taken yet must be plausible, too,
// on the mean of two checks, for which the mesh's square moves to either side in turn.
bool FaceTracker::is_confirmed(Track &track, const Frame &frame) const
{
	const MeshFace face = {track.raw, track.square, track.size, track.center};
	const float score = detector_score(*track.checker, frame, face);
	if (score < believed_score)
		return false;
	if (track.state != State::Found)
		return true;
	float mean = 0;
	for (int check = 0; check < track.checks_at_once; ++check) {
		const bool to_other_side = track.checks++ % checks_to_take != 0;
		const float now = plausibility(*track.mesh, pose_estimator_, frame, face, score, to_other_side);
		mean = (std::exchange(track.plausibility, now) + now) / 2;
	}
	return track.checks >= checks_to_take && mean >= taken_plausibility &&
	       !is_turned_over(*track.checker, frame, face, score);
}

// One frame of one face. Runs beside the other faces' and touches nothing but the track.
void FaceTracker::follow(Track &track, const Frame &frame, float seconds)
{
	if (track.state != State::Found && track.state != State::Followed)
		return;
	FacePoints points;
	const CropSquare square = track.square;
	++track.age;
	const float flag = track.mesh->fit(frame, square, points);
	const CropSquare next = FaceMesh::next_square(points);
	if (!(flag >= least_flag) || !is_sound(next, frame) || !(regions::face_size(points) >= least_size)) {
		++track.misses;
		return;
	}
	const Point center = regions::face_center(points);
	track.size = regions::face_size(points);
	if (track.placed) {
		const Point expected = track.center + track.velocity * seconds;
		track.surprise = std::max(track.surprise * surprise_kept, distance(center, expected) / track.size);
		track.velocity = (center - track.center) * (1 / seconds);
	}
	track.raw = points;
	track.square = next;
	track.center = center;
	track.placed = true;

	track.smoother.update(points, seconds, track.size);
	if (!pose_estimator_.estimate(track.smoother.points(), track.pose))
		track.pose.scale = 0;
	track.confidence.update(*track.mesh, square, points, track.pose, seconds);

	++track.frames_since_check;
	if (!must_check(track))
		return;
	track.frames_since_check = 0;
	if (is_confirmed(track, frame)) {
		track.misses = 0;
		track.state = State::Followed;
	} else {
		++track.misses;
	}
}

// A face that was never taken is forgotten, another one fades where it was.
void FaceTracker::lose(Track &track)
{
	if (track.state == State::Followed)
		track.state = State::Fading;
	else if (track.state == State::Found)
		track.state = State::Free;
	track.misses = 0;
}

// Where two tracks have come to lie on one face, as when it passes before another, that one goes which jumped there.
void FaceTracker::drop_duplicates()
{
	const auto is_placed = [](const Track &track) {
		return track.placed && (track.state == State::Found || track.state == State::Followed);
	};
	for (size_t first = 0; first < tracks_.size(); ++first) {
		for (size_t second = first + 1; second < tracks_.size(); ++second) {
			Track &left = tracks_[first];
			Track &right = tracks_[second];
			if (!is_placed(left) || !is_placed(right) ||
			    distance(left.center, right.center) >= same_face_distance * std::max(left.size, right.size))
				continue;
			const bool both = left.state == right.state;
			const bool right_goes = both ? right.surprise >= left.surprise : right.state == State::Found;
			// At once: fading, it would show twice on the face that stays.
			(right_goes ? right : left).state = State::Free;
		}
	}
}

bool FaceTracker::is_known(const FaceDetection &detection) const
{
	for (const Track &track : tracks_) {
		if (track.state == State::Free)
			continue;
		const float size = std::max(track.size, detection.size());
		if (distance(detection.face_center(), track.center) < same_face_distance * size)
			return true;
	}
	return false;
}

void FaceTracker::take_detections(int views)
{
	for (int index = 0; index < views; ++index) {
		for (const FaceDetection &detection : views_[size_t(index)].found) {
			const auto free = std::find_if(tracks_.begin(), tracks_.end(),
						       [](const Track &track) { return track.state == State::Free; });
			if (free == tracks_.end())
				return;
			const CropSquare square = detection.mesh_square();
			if (is_known(detection) || !(detection.size() >= least_size))
				continue;
			free->state = State::Found;
			free->number = ++last_number_;
			free->square = square;
			free->size = detection.size();
			free->center = detection.face_center();
			free->velocity = {};
			free->surprise = 0;
			free->placed = false;
			free->age = 0;
			free->frames_since_check = 0;
			free->misses = 0;
			free->checks = 0;
			free->presence = 0;
			free->smoother.reset();
			free->confidence.reset();
		}
	}
}

void FaceTracker::fade(Track &track, float seconds)
{
	const bool shown = track.state == State::Followed && track.misses < misses_that_fade;
	const float step = seconds / fade_seconds;
	track.presence = std::clamp(track.presence + (shown ? step : -step), 0.0F, 1.0F);
	if (track.state == State::Fading && track.presence <= 0)
		track.state = State::Free;
}

void FaceTracker::publish()
{
	face_count_ = 0;
	for (const Track &track : tracks_) {
		if (track.state != State::Followed && track.state != State::Fading)
			continue;
		TrackedFace &face = faces_[size_t(face_count_++)];
		face.number = track.number;
		face.presence = track.presence;
		face.points = track.smoother.points();
		face.size = regions::face_size(face.points);
		face.pose = track.pose;
		for (size_t group = 0; group < face.confidence.size(); ++group)
			face.confidence[group] = track.confidence.groups()[group] * track.presence;
	}
}

} // namespace kalvio::engine
