// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/makeup_canvas.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

int smooth_line(std::span<const Point> points, int steps, bool closed, Point *out)
{
	const int count = static_cast<int>(points.size());
	const auto at = [&](int index) {
		return points[size_t(closed ? (index + count) % count : std::clamp(index, 0, count - 1))];
	};
	int written = 0;
	for (int gap = 0; gap < (closed ? count : count - 1); ++gap) {
		const Point before = at(gap - 1);
		const Point from = at(gap);
		const Point to = at(gap + 1);
		const Point after = at(gap + 2);
		for (int step = 0; step < steps; ++step) {
			const float t = static_cast<float>(step) / static_cast<float>(steps);
			const float t2 = t * t;
			const float t3 = t2 * t;
			out[written++] = (before * (2 * t2 - t - t3) + from * (3 * t3 - 5 * t2 + 2) +
					  to * (4 * t2 + t - 3 * t3) + after * (t3 - t2)) *
					 0.5F;
		}
	}
	if (!closed)
		out[written++] = points.back();
	return written;
}

void MakeupMask::set(const MakeupGrid &grid)
{
	grid_ = grid;
	// One value more: an edge at the right border adds to the cell behind it.
	float *cells = cells_.ensure_capacity(with_reserve(grid.cells() + 2));
	scratch_.ensure_capacity(with_reserve(grid.cells() + 2));
	std::fill_n(cells, grid.cells() + 2, 0.0F);
}

void MakeupMask::add_outline(std::span<const Point> pixels)
{
	if (pixels.size() < 3)
		return;
	float area = 0;
	Point from = grid_.place(pixels.back());
	const Point origin = from; // near by: far from it the products would lose digits
	for (const Point pixel : pixels) {
		const Point to = grid_.place(pixel);
		area += (from.x - origin.x) * (to.y - origin.y) - (to.x - origin.x) * (from.y - origin.y);
		from = to;
	}
	const float sign = area < 0 ? -1.0F : 1.0F;
	from = grid_.place(pixels.back());
	for (const Point pixel : pixels) {
		const Point to = grid_.place(pixel);
		add_edge(from, to, sign);
		from = to;
	}
}

// An edge makes everything to its right covered, row by row, in proportion to the height that it passes.
void MakeupMask::add_edge(Point from, Point to, float sign)
{
	if (from.y == to.y || !std::isfinite(from.x + from.y + to.x + to.y))
		return;
	float direction = -sign;
	if (from.y > to.y) {
		std::swap(from, to);
		direction = sign;
	}
	const float slope = (to.x - from.x) / (to.y - from.y);
	const auto height = static_cast<float>(grid_.rows);
	const auto width = static_cast<float>(grid_.columns);
	const float first = std::clamp(from.y, 0.0F, height);
	const float last = std::clamp(to.y, 0.0F, height);
	for (int y = static_cast<int>(first); y < grid_.rows && static_cast<float>(y) < last; ++y) {
		const float top = std::max(first, static_cast<float>(y));
		const float bottom = std::min(last, static_cast<float>(y + 1));
		const float x0 = std::clamp(from.x + (top - from.y) * slope, 0.0F, width);
		const float x1 = std::clamp(from.x + (bottom - from.y) * slope, 0.0F, width);
		add_part(y, std::min(x0, x1), std::max(x0, x1), (bottom - top) * direction);
	}
}

// The part of an edge within one row, from x0 to x1 above it: the differences from cell to cell of what it covers.
void MakeupMask::add_part(int y, float x0, float x1, float height)
{
	float *cells = row(y);
	const int first = std::min(static_cast<int>(x0), grid_.columns - 1);
	const int last = std::min(static_cast<int>(x1), grid_.columns - 1);
	const auto add = [&](int x, float value) {
		if (x < grid_.columns)
			cells[x] += value;
	};
	if (first == last) {
		const float covered = height * (1 - ((x0 + x1) / 2 - static_cast<float>(first)));
		add(first, covered);
		add(first + 1, height - covered);
		return;
	}
	// Along the way the covered share grows with the square of the distance passed.
	const float rate = height / (x1 - x0);
	float before = 0;
	for (int x = first; x <= last; ++x) {
		const float enter = std::max(x0, static_cast<float>(x));
		const float leave = std::min(x1, static_cast<float>(x + 1));
		const float passed = (leave - enter) * rate;
		const float height_before = (enter - x0) * rate;
		const float covered = height_before + passed * (static_cast<float>(x + 1) - (enter + leave) / 2);
		add(x, covered - before);
		before = covered;
	}
	add(last + 1, height - before);
}

void MakeupMask::finish()
{
	constexpr float rounding_errors = 1e-3F;
	for (int y = 0; y < grid_.rows; ++y) {
		float *cells = row(y);
		float covered = 0;
		for (int x = 0; x < grid_.columns; ++x) {
			covered += cells[x];
			cells[x] = covered < rounding_errors ? 0.0F : std::min(covered, 1.0F);
		}
	}
}

void MakeupMask::blur(float radius_pixels)
{
	const auto radius = static_cast<int>(std::lround(radius_pixels / static_cast<float>(grid_.pitch)));
	if (radius < 1 || grid_.empty())
		return;
	for (int round = 0; round < 2; ++round) {
		blur_rows(radius);
		blur_columns(radius);
	}
	constexpr float rounding_errors = 1e-3F;
	float *cells = cells_.data();
	for (size_t cell = 0; cell < grid_.cells(); ++cell)
		cells[cell] = cells[cell] < rounding_errors ? 0.0F : cells[cell];
}

// Beyond the border nothing is covered.
void MakeupMask::blur_rows(int radius)
{
	const float scale = 1 / static_cast<float>(2 * radius + 1);
	float *line = scratch_.data();
	for (int y = 0; y < grid_.rows; ++y) {
		float *cells = row(y);
		std::copy_n(cells, grid_.columns, line);
		float sum = 0;
		for (int x = 0; x < std::min(radius, grid_.columns); ++x)
			sum += line[x];
		for (int x = 0; x < grid_.columns; ++x) {
			if (x + radius < grid_.columns)
				sum += line[x + radius];
			if (x > radius)
				sum -= line[x - radius - 1];
			cells[x] = sum * scale;
		}
	}
}

void MakeupMask::blur_columns(int radius)
{
	const float scale = 1 / static_cast<float>(2 * radius + 1);
	const auto columns = size_t(grid_.columns);
	float *before = scratch_.data();
	std::copy_n(cells_.data(), grid_.cells(), before);
	std::array<float, 64> sums;
	for (int first = 0; first < grid_.columns; first += 64) {
		const int count = std::min(grid_.columns - first, 64);
		sums.fill(0);
		const auto add = [&](int y, float sign) {
			const float *line = before + size_t(y) * columns + size_t(first);
			for (int x = 0; x < count; ++x)
				sums[size_t(x)] += sign * line[x];
		};
		for (int y = 0; y < std::min(radius, grid_.rows); ++y)
			add(y, 1);
		for (int y = 0; y < grid_.rows; ++y) {
			if (y + radius < grid_.rows)
				add(y + radius, 1);
			if (y > radius)
				add(y - radius - 1, -1);
			float *out = row(y) + first;
			for (int x = 0; x < count; ++x)
				out[x] = sums[size_t(x)] * scale;
		}
	}
}

} // namespace kalvio::engine
