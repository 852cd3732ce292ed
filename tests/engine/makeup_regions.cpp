// SPDX-License-Identifier: GPL-2.0-or-later
#include "makeup_regions.h"

#include "faces/face_regions.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine::testing {

namespace {

bool is_inside(Point place, const std::vector<Point> &outline)
{
	bool inside = false;
	Point from = outline.back();
	for (const Point to : outline) {
		if ((from.y > place.y) != (to.y > place.y) &&
		    place.x < from.x + (to.x - from.x) * (place.y - from.y) / (to.y - from.y))
			inside = !inside;
		from = to;
	}
	return inside;
}

float line_distance(Point place, const std::vector<Point> &line, bool closed)
{
	float nearest = 1e9F;
	for (size_t index = closed ? 0 : 1; index < line.size(); ++index) {
		const Point from = line[(index + line.size() - 1) % line.size()];
		const Point way = line[index] - from;
		const Point offset = place - from;
		const float squared = way.x * way.x + way.y * way.y;
		const float part =
			squared > 0 ? std::clamp((offset.x * way.x + offset.y * way.y) / squared, 0.0F, 1.0F) : 0.0F;
		nearest = std::min(nearest, distance(offset, way * part));
	}
	return nearest;
}

template <typename Numbers>
std::vector<Point> line_of(const MakeupFace &face, const Numbers &numbers)
{
	std::vector<Point> line;
	for (const int number : numbers)
		line.push_back(face.points[size_t(number)].flat());
	return line;
}

// Below 0 inside.
float outline_distance(Point place, const std::vector<Point> &outline)
{
	const float away = line_distance(place, outline, true);
	return is_inside(place, outline) ? -away : away;
}

struct Lines {
	explicit Lines(const MakeupFace &face)
	{
		using namespace regions;
		oval = line_of(face, regions::oval);
		lips = line_of(face, lips_outer);
		mouth = line_of(face, lips_inner);
		eyes = {line_of(face, left_eye), line_of(face, right_eye)};
		upper_lids = {std::vector<Point>(eyes[0].begin(), eyes[0].begin() + 9),
			      std::vector<Point>(eyes[1].begin(), eyes[1].begin() + 9)};
		const auto brow = [&](const auto &lower, const auto &upper) {
			std::vector<Point> outline = line_of(face, lower);
			const std::vector<Point> back = line_of(face, upper);
			outline.insert(outline.end(), back.rbegin(), back.rend());
			return outline;
		};
		brows = {brow(left_brow_lower, left_brow_upper), brow(right_brow_lower, right_brow_upper)};
		nose = line_of(face, nose_bridge);
		apples = {face.points[50].flat(), face.points[280].flat()};
		irises = {face.points[left_iris_center].flat(), face.points[right_iris_center].flat()};
	}

	std::vector<Point> oval;
	std::vector<Point> lips;
	std::vector<Point> mouth;
	std::array<std::vector<Point>, 2> eyes;
	std::array<std::vector<Point>, 2> upper_lids;
	std::array<std::vector<Point>, 2> brows;
	std::vector<Point> nose;
	std::array<Point, 2> apples;
	std::array<Point, 2> irises;
};

// How far a place lies from a part, in sizes of the face; 0 and below inside.
float distance_from(const Lines &lines, FacePart part, Point place, float size)
{
	constexpr float iris_radius = 0.092F;
	const auto nearer = [](float left, float right) {
		return std::min(left, right);
	};
	const auto of_both = [&](const auto &measure) {
		return nearer(measure(size_t{0}), measure(size_t{1}));
	};
	switch (part) {
	case FacePart::Lips:
		return std::max(outline_distance(place, lines.lips), -outline_distance(place, lines.mouth)) / size;
	case FacePart::Teeth:
		return outline_distance(place, lines.mouth) / size + 0.03F;
	case FacePart::Cheeks:
		return of_both([&](size_t side) { return distance(place, lines.apples[side]) / size - 0.40F; });
	case FacePart::Face:
		return outline_distance(place, lines.oval) / size;
	case FacePart::Nose:
		return line_distance(place, lines.nose, false) / size - 0.16F;
	case FacePart::Lids:
		return of_both([&](size_t side) {
			const float lid = line_distance(place, lines.upper_lids[side], false) / size - 0.16F;
			return std::max(lid, -outline_distance(place, lines.eyes[side]) / size);
		});
	case FacePart::LidLine:
		return of_both([&](size_t side) {
			return line_distance(place, lines.upper_lids[side], false) / size - 0.03F;
		});
	case FacePart::Brows:
		return of_both([&](size_t side) { return outline_distance(place, lines.brows[side]) / size - 0.02F; });
	case FacePart::Lashes:
		return of_both([&](size_t side) {
			const float lid = line_distance(place, lines.upper_lids[side], false) / size - 0.09F;
			return std::max(lid, -outline_distance(place, lines.eyes[side]) / size);
		});
	case FacePart::Irises:
		return of_both([&](size_t side) {
			return std::max(distance(place, lines.irises[side]) / size - iris_radius,
					outline_distance(place, lines.eyes[side]) / size);
		});
	case FacePart::EyeWhites:
		return of_both([&](size_t side) {
			return std::max(1.25F * iris_radius - distance(place, lines.irises[side]) / size,
					outline_distance(place, lines.eyes[side]) / size + 0.022F);
		});
	}
	return 1;
}

} // namespace

Lab lab_of(const uint8_t *pixel)
{
	const auto light = [](int value) {
		const double part = value / 255.0;
		return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
	};
	const double r = light(pixel[0]);
	const double g = light(pixel[1]);
	const double b = light(pixel[2]);
	const auto root = [](double value) {
		return value > 216.0 / 24389 ? std::cbrt(value) : (24389.0 / 27 * value + 16) / 116;
	};
	const double x = root((0.4124564 * r + 0.3575761 * g + 0.1804375 * b) / 0.95047);
	const double y = root(0.2126729 * r + 0.7151522 * g + 0.0721750 * b);
	const double z = root((0.0193339 * r + 0.1191920 * g + 0.9503041 * b) / 1.08883);
	return {116 * y - 16, 500 * (x - y), 200 * (y - z)};
}

Lab lab_of(unsigned hex)
{
	const uint8_t pixel[3] = {uint8_t(hex >> 16), uint8_t(hex >> 8), uint8_t(hex)};
	return lab_of(pixel);
}

double delta_e(const Lab &left, const Lab &right)
{
	double sum = 0;
	for (size_t axis = 0; axis < 3; ++axis)
		sum += (left[axis] - right[axis]) * (left[axis] - right[axis]);
	return std::sqrt(sum);
}

FaceRecipe makeup_recipe(int tone)
{
	constexpr std::array<Color, makeup_tone_count> skins = {
		{{0.62F, 0.42F, 0.33F}, {0.45F, 0.27F, 0.18F}, {0.20F, 0.105F, 0.065F}, {0.09F, 0.047F, 0.03F}}};
	constexpr std::array<Color, makeup_tone_count> lips = {
		{{0.48F, 0.19F, 0.18F}, {0.35F, 0.14F, 0.12F}, {0.16F, 0.065F, 0.052F}, {0.08F, 0.034F, 0.027F}}};
	FaceRecipe recipe;
	recipe.seed = 6 + static_cast<uint32_t>(tone); // a painter keeps the skin of a seed
	recipe.width = 640;
	recipe.height = 360;
	recipe.center = {320, 190};
	recipe.eye_distance = 84;
	recipe.skin = skins[size_t(tone)];
	recipe.lips = lips[size_t(tone)];
	return recipe;
}

MakeupFace paint_face(FacePainter &painter, const FaceRecipe &recipe, uint32_t noise_seed)
{
	Image image;
	const FacePoints points = painter.paint(recipe, noise_seed, image);
	MakeupFace face = {Picture(image.width, image.height), points, regions::face_size(points)};
	face.picture.bytes.assign(image.pixels.begin(), image.pixels.begin() + ptrdiff_t(image.pixel_bytes()));
	return face;
}

std::vector<bool> part_pixels(const MakeupFace &face, FacePart part, float margin)
{
	const Lines lines(face);
	std::vector<bool> pixels(size_t(face.picture.width) * size_t(face.picture.height));
	// Nothing of a face lies further from its middle.
	const float around = (1.6F + margin) * face.size;
	const Point center = regions::face_center(face.points);
	const auto bound = [](float value, int limit) {
		return std::clamp(static_cast<int>(value), 0, limit);
	};
	for (int y = bound(center.y - around, face.picture.height); y < bound(center.y + around, face.picture.height);
	     ++y) {
		for (int x = bound(center.x - around, face.picture.width);
		     x < bound(center.x + around, face.picture.width); ++x) {
			const Point place = {static_cast<float>(x) + 0.5F, static_cast<float>(y) + 0.5F};
			pixels[size_t(y) * size_t(face.picture.width) + size_t(x)] =
				distance_from(lines, part, place, face.size) <= margin;
		}
	}
	return pixels;
}

PartChange change_in(const std::vector<bool> &part, const Picture &before, const Picture &after)
{
	PartChange change;
	double pixels = 0;
	double changed = 0;
	for (int y = 0; y < before.height; ++y) {
		for (int x = 0; x < before.width; ++x) {
			if (!part[size_t(y) * size_t(before.width) + size_t(x)])
				continue;
			const Lab was = lab_of(before.pixel(x, y));
			const Lab is = lab_of(after.pixel(x, y));
			const double difference = delta_e(was, is);
			pixels += 1;
			change.mean += difference;
			if (difference < 2)
				continue;
			changed += 1;
			for (size_t axis = 0; axis < 3; ++axis) {
				change.before[axis] += was[axis];
				change.after[axis] += is[axis];
			}
		}
	}
	for (size_t axis = 0; axis < 3; ++axis) {
		change.before[axis] /= std::max(changed, 1.0);
		change.after[axis] /= std::max(changed, 1.0);
	}
	change.mean /= std::max(pixels, 1.0);
	change.share = changed / std::max(pixels, 1.0);
	return change;
}

} // namespace kalvio::engine::testing
