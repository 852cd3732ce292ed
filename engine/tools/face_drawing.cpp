// SPDX-License-Identifier: GPL-2.0-or-later
#include "face_drawing.h"

#include "faces/face_regions.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace kalvio::engine {

namespace {

using Ink = std::array<uint8_t, 3>;

void dot(Image &image, Point place, const Ink &ink)
{
	if (!(place.x >= 0 && place.y >= 0 && place.x < static_cast<float>(image.width) &&
	      place.y < static_cast<float>(image.height)))
		return;
	std::copy(ink.begin(), ink.end(), image.pixel(static_cast<int>(place.x), static_cast<int>(place.y)));
}

void line(Image &image, Point from, Point to, const Ink &ink)
{
	const int steps = std::clamp(static_cast<int>(distance(from, to) * 2), 1, 20'000);
	for (int step = 0; step <= steps; ++step)
		dot(image, from + (to - from) * (static_cast<float>(step) / static_cast<float>(steps)), ink);
}

Ink ink_of(float confidence)
{
	return {static_cast<uint8_t>(std::lround(255 * (1 - confidence))),
		static_cast<uint8_t>(std::lround(255 * confidence)), 40};
}

class FaceSheet {
public:
	FaceSheet(const TrackedFace &face, Image &image) : face_(face), image_(image) {}

	template <typename List>
	void outline(const List &list, FaceGroup group, bool closed)
	{
		const Ink ink = ink_of(face_.confidence[size_t(group)]);
		for (size_t index = closed ? 0 : 1; index < list.size(); ++index)
			line(image_, at(list[index > 0 ? index - 1 : list.size() - 1]), at(list[index]), ink);
	}

	void points()
	{
		for (const Point3 &point : face_.points)
			dot(image_, point.flat(), {255, 255, 0});
	}

	void bars()
	{
		const float unit = std::max(face_.size / 8, 2.0F);
		const Point start = at(regions::chin) + Point{-3.5F * unit, 0.5F * unit};
		for (int group = 0; group < face_group_count; ++group) {
			const float confidence = face_.confidence[size_t(group)];
			const Point left = start + Point{static_cast<float>(group) * 1.5F * unit, 0};
			const auto half_pixels = static_cast<int>(unit);
			for (int down = 0; down < half_pixels; ++down) {
				const Point row = left + Point{0, 0.5F * static_cast<float>(down)};
				line(image_, row, row + Point{unit, 0}, {60, 60, 60});
				line(image_, row, row + Point{unit * confidence, 0}, ink_of(confidence));
			}
		}
	}

private:
	Point at(int point) const { return face_.points[size_t(point)].flat(); }

	const TrackedFace &face_;
	Image &image_;
};

} // namespace

void draw_faces(std::span<const TrackedFace> faces, Image &image)
{
	using namespace regions;
	for (const TrackedFace &face : faces) {
		FaceSheet sheet(face, image);
		sheet.points();
		sheet.outline(oval, FaceGroup::Outline, true);
		for (const auto &eye : {left_eye, right_eye})
			sheet.outline(eye, FaceGroup::Eyes, true);
		for (const auto &iris : {left_iris, right_iris})
			sheet.outline(std::array{iris[1], iris[2], iris[3], iris[4]}, FaceGroup::Eyes, true);
		for (const auto &brow : {left_brow_lower, left_brow_upper, right_brow_lower, right_brow_upper})
			sheet.outline(brow, FaceGroup::Brows, false);
		sheet.outline(nose_bridge, FaceGroup::Nose, false);
		for (const auto &lips : {lips_outer, lips_inner})
			sheet.outline(lips, FaceGroup::Lips, true);
		sheet.bars();
	}
}

} // namespace kalvio::engine
