// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <array>
#include <cmath>

// Coordinates of the face code. In a frame x runs to the right and y down, in pixels; the pixel in column i and row j
// covers i..i + 1 and j..j + 1, so its center lies at (i + 0.5, j + 0.5). z points away from the camera, in the same
// unit. "Left" and "right" are the picture's, not the person's.
namespace kalvio::engine {

struct Point {
	float x = 0;
	float y = 0;
};

struct Point3 {
	float x = 0;
	float y = 0;
	float z = 0;

	Point flat() const { return {x, y}; }
};

inline Point3 operator+(const Point3 &a, const Point3 &b)
{
	return {a.x + b.x, a.y + b.y, a.z + b.z};
}

inline Point3 operator-(const Point3 &a, const Point3 &b)
{
	return {a.x - b.x, a.y - b.y, a.z - b.z};
}

inline Point3 operator*(const Point3 &a, float factor)
{
	return {a.x * factor, a.y * factor, a.z * factor};
}

inline float dot(const Point3 &a, const Point3 &b)
{
	return a.x * b.x + a.y * b.y + a.z * b.z;
}

inline Point operator+(Point a, Point b)
{
	return {a.x + b.x, a.y + b.y};
}

inline Point operator-(Point a, Point b)
{
	return {a.x - b.x, a.y - b.y};
}

inline Point operator*(Point a, float factor)
{
	return {a.x * factor, a.y * factor};
}

// sqrt is exact everywhere; hypot differs between math libraries.
inline float length(Point a)
{
	return std::sqrt(a.x * a.x + a.y * a.y);
}

inline float distance(Point a, Point b)
{
	return length(a - b);
}

inline Point middle(Point a, Point b)
{
	return (a + b) * 0.5F;
}

// A square of the frame, which may be turned and may reach beyond the frame. Places in it run from 0 to 1 both ways.
struct CropSquare {
	Point center;
	float side = 0;
	Point right = {1, 0}; // a unit vector: where the square's own x axis points to in the frame

	Point to_frame(Point place) const
	{
		const Point offset = (place - Point{0.5F, 0.5F}) * side;
		return center + Point{right.x * offset.x - right.y * offset.y, right.y * offset.x + right.x * offset.y};
	}
};

// The unit vector from `from` to `to`; level where the two coincide.
inline Point direction(Point from, Point to)
{
	const Point way = to - from;
	const float way_length = length(way);
	return way_length > 0 ? way * (1 / way_length) : Point{1, 0};
}

inline constexpr int face_point_count = 478;
inline constexpr int face_surface_point_count = 468; // the others are the irises

using FacePoints = std::array<Point3, face_point_count>;

} // namespace kalvio::engine
