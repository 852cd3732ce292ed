// SPDX-License-Identifier: GPL-2.0-or-later
#include "art.h"

#include "art_raster.h"
#include "art_texture.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <sstream>
#include <stdexcept>

namespace kalvio::engine {

namespace {

using nlohmann::json;

// Premultiplied colors, 0..1.
using Color = std::array<float, 4>;

struct Canvas {
	int width;
	int height;
	std::vector<float> values; // four a pixel, premultiplied
};

// x' = a x + c y + e, y' = b x + d y + f
struct Transform {
	double a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;

	PathPoint operator()(PathPoint point) const
	{
		return {a * point.x + c * point.y + e, b * point.x + d * point.y + f};
	}

	PathPoint back(PathPoint point) const
	{
		const double determinant = a * d - b * c;
		return {(d * (point.x - e) - c * (point.y - f)) / determinant,
			(a * (point.y - f) - b * (point.x - e)) / determinant};
	}
};

Transform operator*(const Transform &outer, const Transform &inner)
{
	const PathPoint origin = outer({inner.e, inner.f});
	return {outer.a * inner.a + outer.c * inner.b,
		outer.b * inner.a + outer.d * inner.b,
		outer.a * inner.c + outer.c * inner.d,
		outer.b * inner.c + outer.d * inner.d,
		origin.x,
		origin.y};
}

Transform moved(double x, double y)
{
	return {1, 0, 0, 1, x, y};
}

Transform turned(double degrees, const std::array<double, 2> &about)
{
	const double angle = degrees * std::numbers::pi / 180;
	const Transform turn = {std::cos(angle), std::sin(angle), -std::sin(angle), std::cos(angle), 0, 0};
	return moved(about[0], about[1]) * turn * moved(-about[0], -about[1]);
}

Transform transform_of(const json &shape)
{
	const std::array<double, 2> about = shape.value("about", std::array<double, 2>{0, 0});
	const std::array<double, 2> move = shape.value("move", std::array<double, 2>{0, 0});
	std::array<double, 2> scale = {1, 1};
	if (const auto found = shape.find("scale"); found != shape.end())
		scale = found->is_number() ? std::array<double, 2>{*found, *found}
					   : found->get<std::array<double, 2>>();
	const Transform stretch = {scale[0], 0, 0, scale[1], 0, 0};
	return moved(move[0], move[1]) * turned(shape.value("rotate", 0.0), about) * moved(about[0], about[1]) *
	       stretch * moved(-about[0], -about[1]);
}

Color color_of(const std::string &text)
{
	if ((text.size() != 7 && text.size() != 9) || text[0] != '#')
		throw std::runtime_error("no color: " + text);
	const auto channel = [&](size_t index) {
		return static_cast<float>(std::stoi(text.substr(1 + index * 2, 2), nullptr, 16)) / 255.0F;
	};
	const float alpha = text.size() == 9 ? channel(3) : 1.0F;
	return {channel(0) * alpha, channel(1) * alpha, channel(2) * alpha, alpha};
}

// A color or a gradient in the shape's own coordinates.
class Paint {
public:
	Paint(const json &fill, const Transform &transform) : transform_(transform)
	{
		if (fill.is_string()) {
			stops_.push_back({0, color_of(fill)});
			return;
		}
		linear_ = fill.contains("linear");
		numbers_ = fill.at(linear_ ? "linear" : "radial").get<std::vector<double>>();
		for (const json &stop : fill.at("stops"))
			stops_.push_back({stop.at(0).get<double>(), color_of(stop.at(1))});
	}

	// The color here, brighter or darker, as a paint of its own.
	Paint single(double x, double y, double shade) const
	{
		Color color = at(x, y);
		for (size_t channel = 0; channel < 3; ++channel)
			color[channel] = std::min(color[channel] * static_cast<float>(shade), color[3]);
		return Paint(color);
	}

	Color at(double x, double y) const
	{
		if (stops_.size() == 1)
			return stops_.front().color;
		const double position = position_of(x, y);
		size_t next = 0;
		while (next < stops_.size() && stops_[next].place < position)
			++next;
		if (next == 0)
			return stops_.front().color;
		if (next == stops_.size())
			return stops_.back().color;
		const Stop &from = stops_[next - 1];
		const Stop &to = stops_[next];
		const auto part = static_cast<float>((position - from.place) / (to.place - from.place));
		Color color;
		for (size_t channel = 0; channel < 4; ++channel)
			color[channel] = from.color[channel] + part * (to.color[channel] - from.color[channel]);
		return color;
	}

private:
	struct Stop {
		double place;
		Color color;
	};

	explicit Paint(const Color &color) : stops_({{0, color}}) {}

	double position_of(double x, double y) const
	{
		const PathPoint point = transform_.back({x, y});
		if (!linear_)
			return std::hypot(point.x - numbers_[0], point.y - numbers_[1]) / numbers_[2];
		const double dx = numbers_[2] - numbers_[0];
		const double dy = numbers_[3] - numbers_[1];
		return ((point.x - numbers_[0]) * dx + (point.y - numbers_[1]) * dy) / (dx * dx + dy * dy);
	}

	Transform transform_;
	bool linear_ = false;
	std::vector<double> numbers_;
	std::vector<Stop> stops_;
};

void add_curve(Polygon &polygon, PathPoint p1, PathPoint p2, PathPoint p3)
{
	constexpr int pieces = 24;
	const PathPoint p0 = polygon.back();
	for (int piece = 1; piece <= pieces; ++piece) {
		const double t = static_cast<double>(piece) / pieces;
		const double u = 1 - t;
		const double w[4] = {u * u * u, 3 * u * u * t, 3 * u * t * t, t * t * t};
		polygon.push_back({w[0] * p0.x + w[1] * p1.x + w[2] * p2.x + w[3] * p3.x,
				   w[0] * p0.y + w[1] * p1.y + w[2] * p2.y + w[3] * p3.y});
	}
}

std::vector<Polygon> polygons_of_path(const std::string &path)
{
	std::vector<Polygon> polygons;
	std::istringstream stream(path);
	const auto point = [&] {
		PathPoint result;
		if (!(stream >> result.x >> result.y))
			throw std::runtime_error("a path ends too early: " + path);
		return result;
	};
	char command;
	while (stream >> command) {
		if (command == 'M')
			polygons.push_back({point()});
		else if (polygons.empty())
			throw std::runtime_error("a path without a start: " + path);
		else if (command == 'L')
			polygons.back().push_back(point());
		else if (command == 'C') {
			const PathPoint p1 = point();
			const PathPoint p2 = point();
			add_curve(polygons.back(), p1, p2, point());
		} else if (command == 'Q') {
			const PathPoint from = polygons.back().back();
			const PathPoint middle = point();
			const PathPoint to = point();
			add_curve(polygons.back(),
				  {from.x + 2 * (middle.x - from.x) / 3, from.y + 2 * (middle.y - from.y) / 3},
				  {to.x + 2 * (middle.x - to.x) / 3, to.y + 2 * (middle.y - to.y) / 3}, to);
		} else if (command != 'Z')
			throw std::runtime_error("a path with an unknown command: " + path);
	}
	return polygons;
}

// A quarter of a circle at a time; the classical control points.
Polygon rounded(double x, double y, double width, double height, double rx, double ry)
{
	constexpr double k = 0.5522847498;
	const double right = x + width;
	const double bottom = y + height;
	Polygon polygon = {{x + rx, y}, {right - rx, y}};
	add_curve(polygon, {right - rx + k * rx, y}, {right, y + ry - k * ry}, {right, y + ry});
	polygon.push_back({right, bottom - ry});
	add_curve(polygon, {right, bottom - ry + k * ry}, {right - rx + k * rx, bottom}, {right - rx, bottom});
	polygon.push_back({x + rx, bottom});
	add_curve(polygon, {x + rx - k * rx, bottom}, {x, bottom - ry + k * ry}, {x, bottom - ry});
	polygon.push_back({x, y + ry});
	add_curve(polygon, {x, y + ry - k * ry}, {x + rx - k * rx, y}, {x + rx, y});
	return polygon;
}

std::vector<Polygon> polygons_of(const json &shape)
{
	if (const auto path = shape.find("path"); path != shape.end())
		return polygons_of_path(*path);
	if (const auto ellipse = shape.find("ellipse"); ellipse != shape.end()) {
		const auto n = ellipse->get<std::array<double, 4>>();
		return {rounded(n[0] - n[2], n[1] - n[3], 2 * n[2], 2 * n[3], n[2], n[3])};
	}
	const auto n = shape.at("rect").get<std::vector<double>>();
	if (n.size() == 4)
		return {{{n[0], n[1]}, {n[0] + n[2], n[1]}, {n[0] + n[2], n[1] + n[3]}, {n[0], n[1] + n[3]}}};
	return {rounded(n[0], n[1], n[2], n[3], n.at(4), n.at(4))};
}

// The outline as a chain of short bars with round joints. Closed paths come back to their start by themselves.
std::vector<Polygon> outline(const std::vector<Polygon> &polygons, double width, bool closed)
{
	std::vector<Polygon> result;
	const double half = width / 2;
	for (const Polygon &polygon : polygons) {
		const size_t pieces = closed ? polygon.size() : polygon.size() - 1;
		for (size_t index = 0; index < pieces; ++index) {
			const PathPoint a = polygon[index];
			const PathPoint b = polygon[(index + 1) % polygon.size()];
			const double length = std::hypot(b.x - a.x, b.y - a.y);
			result.push_back(rounded(a.x - half, a.y - half, width, width, half, half));
			if (length == 0)
				continue;
			const double nx = -(b.y - a.y) / length * half;
			const double ny = (b.x - a.x) / length * half;
			// In the same sense as the joints, or the non-zero rule would cut them out of each other.
			result.push_back({{a.x - nx, a.y - ny},
					  {b.x - nx, b.y - ny},
					  {b.x + nx, b.y + ny},
					  {a.x + nx, a.y + ny}});
		}
		if (!closed)
			result.push_back(
				rounded(polygon.back().x - half, polygon.back().y - half, width, width, half, half));
	}
	return result;
}

// One premultiplied pixel over another.
void blend_over(float *below, const float *above)
{
	const float rest = 1 - above[3];
	for (size_t channel = 0; channel < 4; ++channel)
		below[channel] = above[channel] + rest * below[channel];
}

void blend_over(Canvas &below, const std::vector<float> &above)
{
	for (size_t index = 0; index < above.size(); index += 4)
		blend_over(below.values.data() + index, above.data() + index);
}

void draw_shape(Canvas &canvas, const json &shape, const Transform &outer);

Canvas empty_like(const Canvas &canvas)
{
	return {canvas.width, canvas.height, std::vector<float>(canvas.values.size())};
}

// Polygons in pixels; of what lies outside the canvas nothing is drawn.
void fill_polygons(Canvas &canvas, std::vector<Polygon> polygons, const Paint &paint)
{
	double left = canvas.width;
	double right = 0;
	for (const Polygon &polygon : polygons) {
		for (const PathPoint &point : polygon) {
			left = std::min(left, point.x);
			right = std::max(right, point.x);
		}
	}
	const int first = std::max(0, static_cast<int>(std::floor(left)));
	const int end = std::min(canvas.width, static_cast<int>(std::ceil(right)));
	if (first >= end)
		return;
	for (Polygon &polygon : polygons) {
		for (PathPoint &point : polygon)
			point.x -= first;
	}
	const Coverage coverage = cover(polygons, end - first, canvas.height);
	for (size_t index = 0; index < coverage.values.size(); ++index) {
		const float part = coverage.values[index];
		if (part == 0)
			continue;
		const size_t x = size_t(first) + index % size_t(end - first);
		const size_t y = size_t(coverage.first_row) + index / size_t(end - first);
		Color color = paint.at(static_cast<double>(x) + 0.5, static_cast<double>(y) + 0.5);
		for (float &channel : color)
			channel *= part;
		blend_over(canvas.values.data() + (y * size_t(canvas.width) + x) * 4, color.data());
	}
}

HairStyle hair_style_of(const json &hairs)
{
	HairStyle style;
	style.count = hairs.at("count").get<int>();
	style.shortest = hairs.at("length").at(0).get<double>();
	style.longest = hairs.at("length").at(1).get<double>();
	style.width = hairs.at("width").get<double>();
	style.spread = hairs.value("spread", 0.0);
	style.bend = hairs.value("bend", 0.0);
	style.vary = hairs.value("vary", 0.0);
	style.seed = hairs.value("seed", 1U);
	for (const json &way : hairs.at("ways"))
		style.ways.push_back({{way.at(0).get<double>(), way.at(1).get<double>()}, way.at(2).get<double>()});
	return style;
}

void transform_polygons(std::vector<Polygon> &polygons, const Transform &transform)
{
	for (Polygon &polygon : polygons) {
		for (PathPoint &point : polygon)
			point = transform(point);
	}
}

void draw_area(Canvas &canvas, const json &shape, const Transform &transform)
{
	std::vector<Polygon> polygons = polygons_of(shape);
	const Paint paint(shape.at("fill"), transform);
	if (const auto hairs = shape.find("hairs"); hairs != shape.end()) {
		for (Hair &hair : hairs_in(polygons, hair_style_of(*hairs))) {
			std::vector<Polygon> strand = {std::move(hair.shape)};
			transform_polygons(strand, transform);
			const PathPoint root = transform(hair.root);
			fill_polygons(canvas, std::move(strand), paint.single(root.x, root.y, hair.shade));
		}
		return;
	}
	if (const auto line = shape.find("line"); line != shape.end()) {
		const bool closed =
			!shape.contains("path") || shape.at("path").get<std::string>().find('Z') != std::string::npos;
		polygons = outline(polygons, line->get<double>(), closed);
	}
	transform_polygons(polygons, transform);
	fill_polygons(canvas, std::move(polygons), paint);
}

void multiply_pixel(float *pixel, double factor)
{
	for (size_t channel = 0; channel < 4; ++channel)
		pixel[channel] *= static_cast<float>(factor);
}

// Blurs the part of the layer in which there is anything: most shapes are small.
void apply_blur(Canvas &layer, double sigma)
{
	int left = layer.width;
	int right = 0;
	int top = layer.height;
	int bottom = 0;
	for (size_t index = 0; index < layer.values.size(); index += 4) {
		if (layer.values[index + 3] == 0)
			continue;
		const int x = static_cast<int>(index / 4 % size_t(layer.width));
		const int y = static_cast<int>(index / 4 / size_t(layer.width));
		left = std::min(left, x);
		right = std::max(right, x + 1);
		top = std::min(top, y);
		bottom = y + 1;
	}
	if (left >= right)
		return;
	const int reach = blur_reach(sigma);
	left = std::max(left - reach, 0);
	right = std::min(right + reach, layer.width);
	top = std::max(top - reach, 0);
	bottom = std::min(bottom + reach, layer.height);
	const size_t row = size_t(right - left) * 4;
	std::vector<float> part(row * size_t(bottom - top));
	const auto whole_row = [&](int y) {
		return layer.values.begin() +
		       static_cast<std::ptrdiff_t>((size_t(y) * size_t(layer.width) + size_t(left)) * 4);
	};
	const auto part_row = [&](int y) {
		return part.begin() + static_cast<std::ptrdiff_t>(size_t(y - top) * row);
	};
	for (int y = top; y < bottom; ++y)
		std::copy_n(whole_row(y), row, part_row(y));
	blur_plane(part, right - left, bottom - top, 4, sigma);
	for (int y = top; y < bottom; ++y)
		std::copy_n(part_row(y), row, whole_row(y));
}

void apply_noise(Canvas &layer, const json &noise, const Transform &transform)
{
	const json &given = noise.at("size");
	const std::array<double, 2> size =
		given.is_number() ? std::array<double, 2>{given, given} : given.get<std::array<double, 2>>();
	if (size[0] <= 0 || size[1] <= 0)
		throw std::runtime_error("noise without a size");
	const auto range = noise.at("range").get<std::array<double, 2>>();
	const uint64_t seed = noise.value("seed", 1U);
	for (size_t index = 0; index < layer.values.size(); index += 4) {
		if (layer.values[index + 3] == 0)
			continue;
		const size_t pixel = index / 4;
		const PathPoint point = transform.back({static_cast<double>(pixel % size_t(layer.width)) + 0.5,
							static_cast<double>(pixel / size_t(layer.width)) + 0.5});
		const double value = noise_at(point.x / size[0], point.y / size[1], seed);
		multiply_pixel(layer.values.data() + index, std::clamp(std::lerp(range[0], range[1], value), 0.0, 1.0));
	}
}

void apply_clip(Canvas &layer, const json &clip, const Transform &transform)
{
	Canvas mask = empty_like(layer);
	draw_shape(mask, clip, transform);
	for (size_t index = 0; index < layer.values.size(); index += 4)
		multiply_pixel(layer.values.data() + index, mask.values[index + 3]);
}

void draw_plain(Canvas &canvas, const json &shape, const Transform &transform)
{
	const auto group = shape.find("shapes");
	if (group == shape.end()) {
		draw_area(canvas, shape, transform);
		return;
	}
	for (const json &item : *group)
		draw_shape(canvas, item, transform);
}

void draw_once(Canvas &canvas, const json &shape, const Transform &outer)
{
	const Transform transform = outer * transform_of(shape);
	const double blur = shape.value("blur", 0.0);
	const auto noise = shape.find("noise");
	const auto clip = shape.find("clip");
	if (blur == 0 && noise == shape.end() && clip == shape.end()) {
		draw_plain(canvas, shape, transform);
		return;
	}
	Canvas layer = empty_like(canvas);
	draw_plain(layer, shape, transform);
	if (noise != shape.end())
		apply_noise(layer, *noise, transform);
	if (blur > 0)
		apply_blur(layer, blur);
	if (clip != shape.end())
		apply_clip(layer, *clip, transform);
	blend_over(canvas, layer.values);
}

void draw_shape(Canvas &canvas, const json &shape, const Transform &outer)
{
	const json repeat = shape.value("repeat", json::object());
	const auto about = repeat.value("about", std::array<double, 2>{0, 0});
	for (int index = 0; index < repeat.value("count", 1); ++index) {
		const Transform place = outer *
					moved(index * repeat.value("dx", 0.0), index * repeat.value("dy", 0.0)) *
					turned(index * repeat.value("turn", 0.0), about);
		draw_once(canvas, shape, place);
		if (const auto mirror = shape.find("mirror"); mirror != shape.end())
			draw_once(canvas, shape, place * Transform{-1, 0, 0, 1, 2 * mirror->get<double>(), 0});
	}
}

// With the colors instead of their names.
json with_colors(json value, const json &colors)
{
	if (value.is_string() && colors.contains(value.get<std::string>()))
		return colors.at(value.get<std::string>());
	if (value.is_structured()) {
		for (json &item : value)
			item = with_colors(std::move(item), colors);
	}
	return value;
}

} // namespace

Image draw_art(const json &definition)
{
	Image image;
	image.width = definition.at("width").get<int>();
	image.height = definition.at("height").get<int>();
	if (image.width < 1 || image.height < 1 || image.width > 4096 || image.height > 4096)
		throw std::runtime_error("a picture of an impossible size");
	const size_t pixels = size_t(image.width) * size_t(image.height);
	Canvas canvas = {image.width, image.height, std::vector<float>(pixels * 4)};
	json group = definition;
	group.erase("colors");
	draw_shape(canvas, with_colors(std::move(group), definition.value("colors", json::object())), {});

	image.pixels.resize(pixels * 4);
	const bool dithered = definition.value("dither", true);
	uint32_t noise = 1;
	for (size_t pixel = 0; pixel < pixels; ++pixel) {
		const float *from = canvas.values.data() + pixel * 4;
		uint8_t *to = image.pixels.data() + pixel * 4;
		// One random offset per pixel instead of plain rounding: wide gradients do not fall into steps.
		noise = noise * 1664525U + 1013904223U;
		const float offset = dithered ? static_cast<float>(noise >> 8) / 16777216.0F : 0.5F;
		to[3] = static_cast<uint8_t>(std::lrint(std::clamp(from[3], 0.0F, 1.0F) * 255.0F));
		// A color that nobody sees would only be packed.
		for (size_t channel = 0; channel < 3 && to[3] > 0; ++channel) {
			const float straight = from[channel] / from[3];
			to[channel] = static_cast<uint8_t>(std::clamp(straight * 255.0F + offset, 0.0F, 255.0F));
		}
	}
	return image;
}

json art_of(const json &pictures, const std::string &name)
{
	const json &own = pictures.at(name);
	if (!own.contains("like"))
		return own;
	json whole = pictures.at(own.at("like").get<std::string>());
	if (whole.contains("like"))
		throw std::runtime_error(name + " is like a picture that is like another itself");
	whole.merge_patch(own);
	return whole;
}

} // namespace kalvio::engine
