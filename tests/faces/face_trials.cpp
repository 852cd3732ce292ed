// SPDX-License-Identifier: GPL-2.0-or-later
#include "face_trials.h"

#include "bundle.h"
#include "faceless.h"
#include "faces/face_regions.h"
#include "image_reader.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>

namespace kalvio::engine::testing {

namespace {

// How long after it was found a face is measured: until then the smoothing has come to rest.
constexpr int settling_frames = 10;

Frame frame_of(const Image &image)
{
	return {image.pixels.data(), nullptr, image.width, image.height, image.width * bytes_per_pixel};
}

template <typename List>
std::vector<Point> line_of(const FacePoints &points, const List &list)
{
	std::vector<Point> line;
	for (const int point : list)
		line.push_back(points[size_t(point)].flat());
	return line;
}

template <typename List>
std::vector<Point> closed_line_of(const FacePoints &points, const List &list)
{
	std::vector<Point> line = line_of(points, list);
	line.push_back(line.front());
	return line;
}

// Sums distances of points from lines.
class Distances {
public:
	void add(const std::vector<Point> &points, const std::vector<Point> &line)
	{
		for (const Point point : points)
			add(line_distance(point, line));
	}
	void add(float distance)
	{
		sum_ += static_cast<double>(distance);
		++count_;
	}
	double percent_of(float size) const { return 100 * sum_ / count_ / static_cast<double>(size); }

private:
	double sum_ = 0;
	int count_ = 0;
};

FaceErrors &operator+=(FaceErrors &sum, const FaceErrors &more)
{
	sum.eyes += more.eyes;
	sum.lips += more.lips;
	sum.iris += more.iris;
	sum.jaw += more.jaw;
	sum.brows += more.brows;
	return sum;
}

FaceErrors operator*(const FaceErrors &errors, double factor)
{
	return {errors.eyes * factor, errors.lips * factor, errors.iris * factor, errors.jaw * factor,
		errors.brows * factor};
}

const TrackedFace *face_at(std::span<const TrackedFace> faces, const FacePoints &truth)
{
	for (const TrackedFace &face : faces) {
		if (face.presence > 0 && distance(regions::face_center(face.points), regions::face_center(truth)) <
						 0.6F * regions::face_size(truth))
			return &face;
	}
	return nullptr;
}

} // namespace

NetLibrary load_nets(const std::string &bundle_path)
{
	Bundle bundle;
	NetLibrary nets;
	if (const ReadResult result = bundle.open(bundle_path.c_str(), "resource"); !result)
		throw std::runtime_error("cannot read " + bundle_path + ": " + result.reason);
	if (const ReadResult result = read_nets(bundle, nets); !result || !nets.is_complete())
		throw std::runtime_error("no nets in " + bundle_path + ": " + nets.reason);
	return nets;
}

FaceErrors face_errors(const FacePoints &truth, const FacePoints &found)
{
	using namespace regions;
	const float size = face_size(truth);
	Distances eyes;
	eyes.add(line_of(truth, left_eye), closed_line_of(found, left_eye));
	eyes.add(line_of(truth, right_eye), closed_line_of(found, right_eye));
	Distances lips;
	lips.add(line_of(truth, lips_outer), closed_line_of(found, lips_outer));
	lips.add(line_of(truth, lips_inner), closed_line_of(found, lips_inner));
	Distances iris;
	for (const int center : {left_iris_center, right_iris_center})
		iris.add(distance(truth[size_t(center)].flat(), found[size_t(center)].flat()));
	Distances outline;
	outline.add(line_of(truth, jaw), closed_line_of(found, oval));
	Distances brows;
	brows.add(line_of(truth, left_brow_upper), line_of(found, left_brow_upper));
	brows.add(line_of(truth, right_brow_upper), line_of(found, right_brow_upper));
	return {eyes.percent_of(size), lips.percent_of(size), iris.percent_of(size), outline.percent_of(size),
		brows.percent_of(size)};
}

FaceTrials::FaceTrials(const NetLibrary &nets) : nets_(nets), painter_(nets.head), pool_(1) {}

FaceTracker FaceTrials::make_tracker() const
{
	return FaceTracker(face_nets(nets_), nets_.head);
}

FaceTrial FaceTrials::try_face(const FaceRecipe &recipe, const TrialWatcher &watcher)
{
	FaceTracker tracker = make_tracker();
	Image image;
	const FacePoints truth = painter_.paint(recipe, 0, image);
	FaceTrial trial;
	for (int frame = 0; frame < video_frames + settling_frames; ++frame) {
		if (frame > 0)
			painter_.paint_again(recipe, uint32_t(frame), image);
		tracker.update(frame_of(image), frame * frame_s, pool_);
		const TrackedFace *face = face_at(tracker.faces(), truth);
		if (!trial.found_after && face != nullptr)
			trial.found_after = frame;
		if (!trial.found_after && frame >= video_frames)
			break;
		if (!trial.found_after || frame < *trial.found_after + settling_frames)
			continue;
		if (face == nullptr) { // found and lost again
			trial.found_after.reset();
			break;
		}
		trial.errors = face_errors(truth, face->points);
		trial.confidence = face->confidence;
		break;
	}
	if (watcher)
		watcher(recipe, image, tracker.faces());
	return trial;
}

ConditionResult FaceTrials::try_condition(FaceCondition condition, int faces, const TrialWatcher &watcher)
{
	ConditionResult result;
	result.faces = faces;
	for (int number = 0; number < faces; ++number) {
		const FaceTrial trial = try_face(make_recipe(condition, uint32_t(number) + 1), watcher);
		if (!trial.found_after)
			continue;
		++result.found;
		result.mean_frames += *trial.found_after;
		result.errors += trial.errors;
		for (size_t group = 0; group < trial.confidence.size(); ++group)
			result.confidence[group] += trial.confidence[group];
	}
	const double share = 1.0 / std::max(result.found, 1);
	result.mean_frames *= share;
	result.errors = result.errors * share;
	for (float &confidence : result.confidence)
		confidence *= static_cast<float>(share);
	return result;
}

MovingTrial FaceTrials::try_moving_head(int tone)
{
	constexpr int frames = 120;
	FaceTracker tracker = make_tracker();
	MovingTrial trial;
	Image image;
	bool found = false;
	for (int frame = 0; frame < frames; ++frame) {
		const FaceRecipe recipe = moving_head(tone, static_cast<float>(frame) / frames, 480, 270);
		const FacePoints truth = painter_.paint(recipe, uint32_t(frame), image);
		tracker.update(frame_of(image), frame * frame_s, pool_);
		const TrackedFace *face = face_at(tracker.faces(), truth);
		found = found || face != nullptr || frame == video_frames;
		if (face != nullptr) {
			const FaceErrors errors = face_errors(truth, face->points);
			trial.worst.iris = std::max(trial.worst.iris, errors.iris);
			trial.worst.lips = std::max(trial.worst.lips, errors.lips);
		} else if (found) {
			++trial.lost;
		}
	}
	return trial;
}

double FaceTrials::still_jitter(float noise_levels)
{
	// As a camera at 60 cm in 1080p: 120 pixels between the eyes.
	FaceRecipe recipe = make_recipe(FaceCondition::Base, 3);
	recipe.width = 960;
	recipe.height = 540;
	recipe.center = {480, 270};
	recipe.eye_distance = 120;
	recipe.camera.noise_levels = noise_levels;
	FaceTracker tracker = make_tracker();
	Image image;
	painter_.paint(recipe, 0, image);
	constexpr int frames = 90;
	constexpr int first = 30;
	std::vector<FacePoints> seen;
	for (int frame = 0; frame < frames; ++frame) {
		painter_.paint_again(recipe, uint32_t(frame), image);
		tracker.update(frame_of(image), frame * frame_s, pool_);
		if (frame >= first) {
			if (tracker.faces().size() != 1)
				return INFINITY;
			seen.push_back(tracker.faces()[0].points);
		}
	}
	double sum = 0;
	for (size_t point = 0; point < face_surface_point_count; ++point) {
		Point mean;
		for (const FacePoints &points : seen)
			mean = mean + points[point].flat() * (1 / static_cast<float>(seen.size()));
		for (const FacePoints &points : seen)
			sum += std::pow(static_cast<double>(distance(points[point].flat(), mean)), 2);
	}
	const double square = sum / static_cast<double>(seen.size() * face_surface_point_count);
	return 100 * std::sqrt(square) / static_cast<double>(regions::face_size(seen.back()));
}

double FaceTrials::moving_lag()
{
	FaceRecipe recipe = make_recipe(FaceCondition::Base, 3);
	recipe.camera.noise_levels = 3;
	recipe.center = {240, 130};
	recipe.eye_distance = 50;
	FaceTracker tracker = make_tracker();
	Image image;
	constexpr int frames = 90;
	constexpr int first = 30; // two whole turns are measured
	// The phases of what is seen and of what is there.
	double seen_along = 0;
	double seen_beside = 0;
	double true_along = 0;
	double true_beside = 0;
	for (int frame = 0; frame < frames; ++frame) {
		const double phase = 2 * std::numbers::pi * frame / 30;
		recipe.center.x = 240 + 0.25F * recipe.eye_distance * static_cast<float>(std::sin(phase));
		const FacePoints truth = painter_.paint(recipe, uint32_t(frame), image);
		tracker.update(frame_of(image), frame * frame_s, pool_);
		if (frame < first)
			continue;
		if (tracker.faces().size() != 1)
			return INFINITY;
		const double seen = static_cast<double>(regions::face_center(tracker.faces()[0].points).x) - 240;
		const double there = static_cast<double>(regions::face_center(truth).x) - 240;
		seen_along += seen * std::sin(phase);
		seen_beside += seen * std::cos(phase);
		true_along += there * std::sin(phase);
		true_beside += there * std::cos(phase);
	}
	const double late = std::atan2(-seen_beside, seen_along) - std::atan2(-true_beside, true_along);
	return late * 30 / (2 * std::numbers::pi);
}

std::vector<int> FaceTrials::faces_in_faceless(int count, const TrialWatcher &watcher)
{
	constexpr CameraLook camera = {1, {1, 1, 1}, 3, 0.5F};
	std::vector<int> wrong;
	Image image;
	for (int number = 0; number < count; ++number) {
		const Canvas canvas = paint_faceless(number);
		FaceTracker tracker = make_tracker();
		bool seen = false;
		for (int frame = 0; frame < video_frames; ++frame) {
			canvas.develop(camera, uint32_t(number * video_frames + frame), image);
			tracker.update(frame_of(image), frame * frame_s, pool_);
			seen = seen || !tracker.faces().empty();
		}
		if (!seen)
			continue;
		wrong.push_back(number);
		if (watcher)
			watcher({}, image, tracker.faces());
	}
	return wrong;
}

std::vector<TrackedFace> FaceTrials::faces_of(const Image &picture)
{
	FaceTracker tracker = make_tracker();
	for (int frame = 0; frame < video_frames; ++frame)
		tracker.update(frame_of(picture), frame * frame_s, pool_);
	return {tracker.faces().begin(), tracker.faces().end()};
}

namespace {

// In tenths of a pixel from (178, 76); good to about 1.5 % of the face's size.
constexpr std::array<Point, 15> astronaut_jaw = {{{40, 450},
						  {48, 570},
						  {70, 720},
						  {115, 825},
						  {185, 905},
						  {270, 975},
						  {360, 1015},
						  {450, 1028},
						  {545, 1018},
						  {640, 978},
						  {715, 925},
						  {795, 850},
						  {860, 745},
						  {890, 635},
						  {920, 480}}};
constexpr std::array<Point, 6> astronaut_left_eye = {
	{{140, 245}, {195, 212}, {285, 218}, {350, 262}, {295, 285}, {220, 282}}};
constexpr std::array<Point, 6> astronaut_right_eye = {
	{{590, 290}, {645, 248}, {735, 243}, {808, 280}, {745, 312}, {665, 308}}};
constexpr std::array<Point, 12> astronaut_outer_lips = {{{248, 636},
							 {350, 638},
							 {425, 634},
							 {468, 642},
							 {515, 636},
							 {595, 638},
							 {692, 632},
							 {605, 757},
							 {525, 798},
							 {470, 803},
							 {410, 795},
							 {335, 755}}};
constexpr std::array<Point, 8> astronaut_inner_lips = {
	{{275, 648}, {400, 672}, {465, 683}, {535, 676}, {662, 648}, {535, 730}, {465, 738}, {395, 727}}};
constexpr std::array<Point, 2> astronaut_irises = {{{255, 253}, {688, 277}}};

template <size_t Count>
std::vector<Point> in_picture(const std::array<Point, Count> &tenths)
{
	std::vector<Point> points;
	for (const Point point : tenths)
		points.push_back(Point{178, 76} + point * 0.1F);
	return points;
}

Point mean_of(const std::vector<Point> &points)
{
	Point sum;
	for (const Point point : points)
		sum = sum + point;
	return sum * (1 / static_cast<float>(points.size()));
}

} // namespace

std::optional<Image> load_astronaut(const std::string &path)
{
	Image image;
	if (!load_image(path.c_str(), image) || image.width != 512 || image.height != 512)
		return std::nullopt;
	return image;
}

FaceErrors astronaut_errors(const FacePoints &found)
{
	using namespace regions;
	const std::vector<Point> left = in_picture(astronaut_left_eye);
	const std::vector<Point> right = in_picture(astronaut_right_eye);
	const std::vector<Point> outer = in_picture(astronaut_outer_lips);
	const float size = size_from(distance(mean_of(left), mean_of(right)),
				     distance(middle(mean_of(left), mean_of(right)), middle(outer[0], outer[6])));
	Distances eyes;
	eyes.add(left, closed_line_of(found, left_eye));
	eyes.add(right, closed_line_of(found, right_eye));
	Distances lips;
	lips.add(outer, closed_line_of(found, lips_outer));
	lips.add(in_picture(astronaut_inner_lips), closed_line_of(found, lips_inner));
	Distances iris;
	const std::vector<Point> irises = in_picture(astronaut_irises);
	iris.add(distance(irises[0], found[left_iris_center].flat()));
	iris.add(distance(irises[1], found[right_iris_center].flat()));
	Distances outline;
	outline.add(in_picture(astronaut_jaw), closed_line_of(found, oval));
	return {eyes.percent_of(size), lips.percent_of(size), iris.percent_of(size), outline.percent_of(size), 0};
}

} // namespace kalvio::engine::testing
