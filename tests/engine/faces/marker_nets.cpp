// SPDX-License-Identifier: GPL-2.0-or-later
#include "marker_nets.h"

#include "faces/face_detector.h"
#include "faces/face_mesh.h"
#include "faces/face_regions.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <optional>

namespace kalvio::engine::testing {

namespace {

constexpr float disc_radius = 0.16F; // in eye distances

void draw_disc(Picture &picture, Point center, float radius, const std::array<uint8_t, 3> &color)
{
	for (int y = std::max(0, int(center.y - radius) - 1); y < std::min(picture.height, int(center.y + radius) + 2);
	     ++y) {
		for (int x = std::max(0, int(center.x - radius) - 1);
		     x < std::min(picture.width, int(center.x + radius) + 2); ++x) {
			const Point pixel = {float(x) + 0.5F, float(y) + 0.5F};
			const float cover = std::clamp(radius + 0.5F - distance(pixel, center), 0.0F, 1.0F);
			for (size_t channel = 0; channel < 3; ++channel) {
				uint8_t &level = picture.pixel(x, y)[channel];
				level = uint8_t(std::lround(level + cover * (float(color[channel]) - float(level))));
			}
		}
	}
}

// A disc that a net sees, in pixels of its input.
struct Mark {
	Point center;
	float mass = 0;
};

// How much a pixel has more of one channel than of both others, 0..1.
float purity(const float *pixel, size_t channel)
{
	const float others = std::max(pixel[(channel + 1) % 3], pixel[(channel + 2) % 3]);
	return pixel[channel] - others;
}

// The discs of one color: connected pixels, with the center of their mass.
std::vector<Mark> marks(const std::vector<float> &pixels, int side, size_t channel)
{
	constexpr float least = 0.25F;
	std::vector<uint8_t> done(size_t(side) * size_t(side), 0);
	std::vector<Mark> found;
	std::vector<int> open;
	for (int start = 0; start < side * side; ++start) {
		if (done[size_t(start)] || purity(&pixels[size_t(start) * 3], channel) < least)
			continue;
		Mark mark;
		open.push_back(start);
		done[size_t(start)] = 1;
		while (!open.empty()) {
			const int index = open.back();
			open.pop_back();
			const int x = index % side;
			const int y = index / side;
			const float mass = purity(&pixels[size_t(index) * 3], channel);
			mark.center = mark.center + Point{float(x) + 0.5F, float(y) + 0.5F} * mass;
			mark.mass += mass;
			const int near[][2] = {{x - 1, y}, {x + 1, y}, {x, y - 1}, {x, y + 1}};
			for (const auto &[nx, ny] : near) {
				if (nx < 0 || ny < 0 || nx >= side || ny >= side)
					continue;
				const auto neighbor = size_t(ny * side + nx);
				if (!done[neighbor] && purity(&pixels[neighbor * 3], channel) >= least) {
					done[neighbor] = 1;
					open.push_back(int(neighbor));
				}
			}
		}
		mark.center = mark.center * (1 / mark.mass);
		found.push_back(mark);
	}
	return found;
}

struct SeenFace {
	Point left;
	Point right;
	bool mouth;

	Point middle_of_eyes() const { return middle(left, right); }
};

const Mark *nearest(const std::vector<Mark> &list, Point place)
{
	const auto best = std::min_element(list.begin(), list.end(), [&](const Mark &a, const Mark &b) {
		return distance(a.center, place) < distance(b.center, place);
	});
	return best == list.end() ? nullptr : &*best;
}

// The mark that lies as far away as the other eye of a face, if there is one: half a disc at the border, or behind
// another face, is not an eye.
const Mark *partner(const std::vector<Mark> &list, Point eye, float eye_distance)
{
	const Mark *best = nullptr;
	float best_error = 0.25F * eye_distance;
	for (const Mark &mark : list) {
		const float error = std::abs(distance(mark.center, eye) - eye_distance);
		if (error < best_error) {
			best = &mark;
			best_error = error;
		}
	}
	return best;
}

std::vector<SeenFace> seen_faces(const std::vector<float> &pixels, int side)
{
	std::vector<SeenFace> faces;
	const std::vector<Mark> greens = marks(pixels, side, 1);
	const std::vector<Mark> blues = marks(pixels, side, 2);
	for (const Mark &red : marks(pixels, side, 0)) {
		const float radius = std::sqrt(red.mass / std::numbers::pi_v<float>);
		const Mark *green = partner(greens, red.center, radius / disc_radius);
		if (green == nullptr || distance(red.center, green->center) < 4)
			continue;
		const float apart = distance(red.center, green->center);
		const Point right = direction(red.center, green->center);
		const Point mouth = middle(red.center, green->center) + Point{-right.y, right.x} * (1.1F * apart);
		const Mark *blue = nearest(blues, mouth);
		faces.push_back(
			{red.center, green->center, blue != nullptr && distance(blue->center, mouth) < 0.3F * apart});
	}
	return faces;
}

class MarkerNet : public RunnableNet {
public:
	MarkerNet(MarkerNetPlan &plan, int side) : plan_(plan), side_(side), input_(size_t(side) * size_t(side) * 3) {}

	std::span<float> input() override { return input_; }
	std::span<const float> output(int index) const override { return outputs_[size_t(index)]; }

protected:
	// The input with values of 0..1.
	std::vector<float> pixels(float factor, float offset) const
	{
		std::vector<float> values = input_;
		for (float &value : values)
			value = value * factor + offset;
		return values;
	}
	void spoil()
	{
		for (std::vector<float> &values : outputs_)
			std::fill(values.begin(), values.end(), std::numeric_limits<float>::quiet_NaN());
	}

	MarkerNetPlan &plan_;
	const int side_;
	std::vector<float> input_;
	std::vector<std::vector<float>> outputs_;
};

class MarkerDetector : public MarkerNet {
public:
	explicit MarkerDetector(MarkerNetPlan &plan) : MarkerNet(plan, FaceDetector::input_side)
	{
		outputs_.emplace_back(size_t(FaceDetector::box_count * FaceDetector::box_values));
		outputs_.emplace_back(size_t(FaceDetector::box_count));
	}

	void run() override
	{
		++plan_.detector_runs;
		std::fill(outputs_[1].begin(), outputs_[1].end(), -20.0F);
		for (const SeenFace &face : seen_faces(pixels(0.5F, 0.5F), side_)) {
			const float apart = distance(face.left, face.right);
			if ((face.mouth || plan_.finds_without_mouth) && apart >= 0.05F * float(side_) &&
			    apart <= 0.4F * float(side_))
				write(face, apart);
		}
		if (plan_.not_a_number)
			spoil();
	}

private:
	// Into the box whose anchor is nearest, as the real net does, and into that one's neighbor in the same cell.
	void write(const SeenFace &face, float apart)
	{
		const Point right = direction(face.left, face.right);
		const Point down = {-right.y, right.x};
		const Point center = face.middle_of_eyes() + down * (0.45F * apart);
		constexpr int cells = 16;
		constexpr float cell = FaceDetector::input_side / float(cells);
		const int column = std::clamp(int(center.x / cell), 0, cells - 1);
		const int row = std::clamp(int(center.y / cell), 0, cells - 1);
		const Point anchor = {(float(column) + 0.5F) * cell, (float(row) + 0.5F) * cell};
		const Point keys[] = {face.left,
				      face.right,
				      face.middle_of_eyes() + down * (0.6F * apart),
				      face.middle_of_eyes() + down * (1.1F * apart),
				      face.left - right * (0.5F * apart),
				      face.right + right * (0.5F * apart)};
		for (int copy = 0; copy < 2; ++copy) {
			const auto box = size_t((row * cells + column) * 2 + copy);
			float *values = &outputs_[0][box * FaceDetector::box_values];
			const Point from_anchor = center - anchor;
			*values++ = from_anchor.x;
			*values++ = from_anchor.y;
			*values++ = 2.2F * apart;
			*values++ = 2.2F * apart;
			for (const Point key : keys) {
				*values++ = key.x - anchor.x;
				*values++ = key.y - anchor.y;
			}
			outputs_[1][box] = plan_.score_logit - float(copy);
		}
	}
};

class MarkerMesh : public MarkerNet {
public:
	explicit MarkerMesh(MarkerNetPlan &plan) : MarkerNet(plan, FaceMesh::input_side)
	{
		outputs_.emplace_back(size_t(face_surface_point_count * 3));
		for (const int points : {80, 71, 71, 5, 5})
			outputs_.emplace_back(size_t(points) * 2);
		outputs_.emplace_back(1);
	}

	void run() override
	{
		++plan_.mesh_runs;
		const std::optional<SeenFace> face = face_in_the_middle();
		outputs_[FaceMesh::flag_output][0] =
			face || plan_.flag_always ? plan_.flag_logit.load() : -plan_.flag_logit.load();
		// Without a face: an average one in the middle.
		const float side = float(side_);
		const SeenFace average = {{0.37F * side, 0.4F * side}, {0.63F * side, 0.4F * side}, false};
		SeenFace laid = face.value_or(average);
		laid.left = laid.left + (average.left - laid.left) * plan_.mesh_pull;
		laid.right = laid.right + (average.right - laid.right) * plan_.mesh_pull;
		write(laid);
		if (plan_.not_a_number)
			spoil();
	}

private:
	std::optional<SeenFace> face_in_the_middle() const
	{
		std::optional<SeenFace> best;
		const Point center = {float(side_) / 2, float(side_) / 2};
		for (const SeenFace &face : seen_faces(pixels(1, 0), side_)) {
			if (!best || distance(face.middle_of_eyes(), center) < distance(best->middle_of_eyes(), center))
				best = face;
		}
		return best;
	}

	void write(const SeenFace &face)
	{
		const Point right = face.right - face.left;
		const Point down = {-right.y, right.x};
		const auto place = [&](int point) {
			const Point3 offset = marker_point(point);
			return face.middle_of_eyes() + right * offset.x + down * offset.y;
		};
		for (int point = 0; point < face_surface_point_count; ++point) {
			float *values = &outputs_[0][size_t(point) * 3];
			values[0] = place(point).x;
			values[1] = place(point).y;
			values[2] = marker_point(point).z * length(right) * plan_.mesh_depth;
		}
		// Only the irises are refined.
		for (size_t index = 0; index < 5; ++index) {
			const Point left_iris = place(regions::left_iris[index]);
			const Point right_iris = place(regions::right_iris[index]);
			outputs_[4][index * 2] = left_iris.x;
			outputs_[4][index * 2 + 1] = left_iris.y;
			outputs_[5][index * 2] = right_iris.x;
			outputs_[5][index * 2 + 1] = right_iris.y;
		}
	}
};

// Points along an ellipse around (x, y), in order.
template <size_t Count>
void lay_ellipse(std::array<Point3, face_point_count> &points, const std::array<int, Count> &outline, Point center,
		 Point radius)
{
	for (size_t index = 0; index < Count; ++index) {
		const float angle = 2 * std::numbers::pi_v<float> * float(index) / float(Count);
		points[size_t(outline[index])] = {center.x - radius.x * std::cos(angle),
						  center.y - radius.y * std::sin(angle), 0.2F};
	}
}

std::array<Point3, face_point_count> lay_points()
{
	std::array<Point3, face_point_count> points;
	for (size_t point = 0; point < points.size(); ++point) {
		// Spread over the cheeks, so that the box around all of them is that of the oval.
		const float turn = 2.4F * float(point);
		const float radius = 0.9F * std::sqrt(float(point) / face_point_count);
		points[point] = {radius * std::cos(turn), 0.45F + 1.1F * radius * std::sin(turn), 0.3F * radius};
	}
	lay_ellipse(points, regions::oval, {0, 0.45F}, {1.05F, 1.3F});
	lay_ellipse(points, regions::left_eye, {-0.5F, 0}, {0.22F, 0.1F});
	lay_ellipse(points, regions::right_eye, {0.5F, 0}, {0.22F, 0.1F});
	lay_ellipse(points, regions::lips_outer, {0, 1.1F}, {0.4F, 0.15F});
	lay_ellipse(points, regions::lips_inner, {0, 1.1F}, {0.3F, 0.02F});
	lay_ellipse(points, regions::left_iris, {-0.5F, 0}, {0.09F, 0.09F});
	lay_ellipse(points, regions::right_iris, {0.5F, 0}, {0.09F, 0.09F});
	lay_ellipse(points, regions::left_lid_fold, {-0.5F, -0.05F}, {0.25F, 0.15F});
	lay_ellipse(points, regions::right_lid_fold, {0.5F, -0.05F}, {0.25F, 0.15F});
	lay_ellipse(points, regions::nose_bridge, {0, 0.3F}, {0.05F, 0.3F});
	lay_ellipse(points, regions::nose_wings, {0, 0.6F}, {0.2F, 0.05F});
	points[regions::left_iris_center] = {-0.5F, 0, 0.2F};
	points[regions::right_iris_center] = {0.5F, 0, 0.2F};
	points[regions::nose_tip] = {0, 0.6F, -0.3F};
	return points;
}

} // namespace

Point MarkedFace::at(float along, float down) const
{
	return center + right * (along * eye_distance) + Point{-right.y, right.x} * (down * eye_distance);
}

Picture marked_picture(int width, int height, const std::vector<MarkedFace> &faces)
{
	Picture picture(width, height);
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < width; ++x)
			std::fill_n(picture.pixel(x, y), 3, uint8_t(120 + 20 * ((x / 16 + y / 16) % 2)));
	}
	for (const MarkedFace &face : faces) {
		const float radius = disc_radius * face.eye_distance;
		// A head of plain gray, which hides what is behind it.
		draw_disc(picture, face.at(0, 0.45F), 1.2F * face.eye_distance, {170, 170, 170});
		draw_disc(picture, face.left_eye(), radius, {255, 0, 0});
		draw_disc(picture, face.right_eye(), radius, {0, 255, 0});
		if (face.mouth)
			draw_disc(picture, face.mouth_center(), radius, {0, 0, 255});
	}
	return picture;
}

Frame frame_of(const Picture &picture, Picture &output)
{
	return {picture.bytes.data(), output.bytes.data(), picture.width, picture.height, picture.stride};
}

FaceNets marker_nets(MarkerNetPlan &plan)
{
	FaceNets nets;
	nets.make_detector = [&plan] {
		return std::make_unique<MarkerDetector>(plan);
	};
	nets.make_mesh = [&plan] {
		return std::make_unique<MarkerMesh>(plan);
	};
	for (uint16_t point = 0; point < 5; ++point) {
		nets.refined[3].push_back(uint16_t(regions::left_iris[point]));
		nets.refined[4].push_back(uint16_t(regions::right_iris[point]));
	}
	return nets;
}

Point3 marker_point(int point)
{
	static const std::array<Point3, face_point_count> points = lay_points();
	return points[size_t(point)];
}

HeadGeometry marker_head()
{
	constexpr float eye_distance_cm = 6.3F;
	HeadGeometry head;
	for (int point = 0; point < face_surface_point_count; ++point) {
		const Point3 place = marker_point(point);
		head.vertices.push_back({place.x * eye_distance_cm, -place.y * eye_distance_cm,
					 -place.z * eye_distance_cm, 0.5F, 0.5F});
	}
	for (const int point : {33, 263, 1, 61, 291, 10, 152, 234})
		head.pose_weights.push_back({uint16_t(point), 0.5F + 0.1F * float(point % 3)});
	return head;
}

} // namespace kalvio::engine::testing
