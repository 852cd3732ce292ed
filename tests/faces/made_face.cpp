// SPDX-License-Identifier: GPL-2.0-or-later
#include "made_face.h"

#include "faces/face_regions.h"

#include <algorithm>
#include <numbers>
#include <utility>

namespace kalvio::engine::testing {

namespace {

constexpr float eye_distance_cm = 6.36F; // of the average head
constexpr float camera_distance_cm = 60;
constexpr Point3 pivot = {0, -3, -4};
constexpr float iris_radius_cm = 0.585F;
constexpr Point left_eye_cm = {-3.18F, 2.62F};
constexpr float mouth_line_cm = -4.27F;

float bell(float x, float y, float width_x, float width_y)
{
	return std::exp(-0.5F * (x * x / (width_x * width_x) + y * y / (width_y * width_y)));
}

Point3 cross(const Point3 &a, const Point3 &b)
{
	return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

Point3 unit(const Point3 &a)
{
	return a * (1 / std::sqrt(dot(a, a) + 1e-12F));
}

template <size_t Count>
bool holds(const std::array<int, Count> &list, int point)
{
	return std::find(list.begin(), list.end(), point) != list.end();
}

// From the head's own axes to the camera's and to the picture.
class Holding {
public:
	explicit Holding(const FaceRecipe &recipe)
		: center_(recipe.center), pixels_per_cm_(recipe.eye_distance / eye_distance_cm)
	{
		constexpr float radians = std::numbers::pi_v<float> / 180;
		const float cy = std::cos(recipe.yaw * radians);
		const float sy = std::sin(recipe.yaw * radians);
		const float cp = std::cos(recipe.pitch * radians);
		const float sp = std::sin(recipe.pitch * radians);
		const float cr = std::cos(recipe.roll * radians);
		const float sr = std::sin(recipe.roll * radians);
		// First the yaw, then the pitch, then the roll.
		rows_[0] = {cr * cy - sr * sp * sy, -sr * cp, cr * sy + sr * sp * cy};
		rows_[1] = {sr * cy + cr * sp * sy, cr * cp, sr * sy - cr * sp * cy};
		rows_[2] = {-cp * sy, sp, cp * cy};
	}

	Point3 turned(const Point3 &way) const { return {dot(rows_[0], way), dot(rows_[1], way), dot(rows_[2], way)}; }
	Point3 placed(const Point3 &point) const { return turned(point - pivot) + pivot; }
	// x and y in pixels, z in pixels away from the camera.
	Point3 seen(const Point3 &placed_point) const
	{
		const float scale = pixels_per_cm_ * camera_distance_cm / (camera_distance_cm - placed_point.z);
		return {center_.x + placed_point.x * scale, center_.y - placed_point.y * scale,
			-placed_point.z * scale};
	}

private:
	Point center_;
	float pixels_per_cm_;
	std::array<Point3, 3> rows_;
};

struct Lighting {
	explicit Lighting(const FaceRecipe &recipe)
		: towards(unit(recipe.light)), color(recipe.light_color), ambient(recipe.ambient)
	{
	}

	Color shade(const Color &albedo, const Point3 &normal, float gloss) const
	{
		const Point3 n = unit(normal);
		const float facing = std::max(0.0F, (dot(n, towards) + 0.25F) / 1.25F);
		const Point3 half = unit(towards + Point3{0, 0, 1});
		const float shine = gloss * std::pow(std::max(0.0F, dot(n, half)), 20.0F);
		const float sky = ambient * (0.85F + 0.15F * n.y);
		return albedo * (Color{sky, sky, sky} + color * ((1 - ambient) * facing)) + color * shine;
	}

	Point3 towards;
	Color color;
	float ambient;
};

// Moves a point of the average head to where this head has it.
Point3 deformed(const FaceRecipe &recipe, const Point3 &average)
{
	Point3 p = average;
	const float side = p.x < 0 ? -1.0F : 1.0F;
	const float across = std::abs(average.x);
	const float eye = bell(across + left_eye_cm.x, average.y - left_eye_cm.y, 1.9F, 1.5F);
	p.y = p.y + (recipe.eye_opening - 1) * (average.y - left_eye_cm.y) *
			    bell(across + left_eye_cm.x, average.y - left_eye_cm.y, 1.6F, 0.7F);
	p.x += side * recipe.eye_spacing / 2 * eye;

	const float nose = bell(average.x, average.y + 1.2F, 1.8F, 1.2F);
	p.x *= 1 + (recipe.nose_width - 1) * nose;
	p.y -= (recipe.nose_length - 1) * 4 * bell(average.x, average.y + 1.5F, 1.8F, 1.6F);

	const float from_line = average.y - mouth_line_cm;
	const float mouth = bell(average.x, from_line, 2.2F, 1.3F);
	p.y += (recipe.lip_fullness - 1) * from_line * mouth;
	p.x *= 1 + (recipe.mouth_width - 1) * bell(average.x, from_line, 3.0F, 1.6F);
	const float corner = bell(across - 2.5F, from_line, 1.1F, 1.0F);
	p.x += side * recipe.smile * 0.45F * corner;
	p.y += recipe.smile * 0.45F * corner;
	const float below = smooth_step(0.1F, -0.4F, from_line) * std::exp(-0.5F * average.x * average.x / 9);
	p.y -= recipe.mouth_open * below;

	const float low = smooth_step(-2, -7, average.y);
	p.x *= recipe.face_width * (1 + (recipe.jaw_width - 1) * low);
	p.y -= recipe.chin_length * smooth_step(-5.5F, -9, average.y);
	return p;
}

// The average head's mouth is a little open: this closes it.
Point3 with_closed_mouth(int point, const Point3 &average)
{
	if (!holds(regions::lips_inner, point))
		return average;
	Point3 closed = average;
	closed.y = mouth_line_cm + 0.1F * (average.y - mouth_line_cm);
	return closed;
}

using Values = Canvas::CornerValues;

// A part of the body as an ellipsoid in the head's axes.
struct Ellipsoid {
	Point3 center;
	Point3 radius;
	bool turns; // with the head
};

template <typename Paint>
void draw(const Ellipsoid &solid, const Holding &holding, Canvas &canvas, const Paint &paint)
{
	constexpr int rings = 22;
	constexpr int sectors = 36;
	const auto corner = [&](int ring, int sector) {
		const float polar = std::numbers::pi_v<float> * static_cast<float>(ring) / rings;
		const float around = 2 * std::numbers::pi_v<float> * static_cast<float>(sector) / sectors;
		const Point3 ball = {std::sin(polar) * std::sin(around), std::cos(polar),
				     std::sin(polar) * std::cos(around)};
		const Point3 own = {ball.x * solid.radius.x, ball.y * solid.radius.y, ball.z * solid.radius.z};
		const Point3 point = own + solid.center;
		const Point3 out = {ball.x / solid.radius.x, ball.y / solid.radius.y, ball.z / solid.radius.z};
		const Point3 normal = solid.turns ? holding.turned(out) : out;
		const Point3 placed = solid.turns ? holding.placed(point) : point;
		const Point3 seen = holding.seen(placed);
		return Canvas::Corner{seen.flat(), placed.z,
				      Values{own.x, own.y, normal.x, normal.y, normal.z, around, polar}};
	};
	for (int ring = 0; ring < rings; ++ring) {
		for (int sector = 0; sector < sectors; ++sector) {
			const Canvas::Corner a = corner(ring, sector);
			const Canvas::Corner b = corner(ring, sector + 1);
			const Canvas::Corner c = corner(ring + 1, sector);
			const Canvas::Corner d = corner(ring + 1, sector + 1);
			canvas.triangle(a, b, c, paint);
			canvas.triangle(b, d, c, paint);
		}
	}
}

Point3 normal_of(const Values &values)
{
	return {values[2], values[3], values[4]};
}

void paint_body(const FaceRecipe &recipe, const Holding &holding, const Lighting &lighting, Canvas &canvas)
{
	const auto skin = [&](float shade) {
		return [&recipe, &lighting, shade](const Values &values) {
			return lighting.shade(recipe.skin * shade, normal_of(values), 0.01F);
		};
	};
	const auto hair = [&](const Values &values) {
		const float strand = value_noise(values[5] * 26, values[6] * 3, recipe.seed) * 0.5F +
				     value_noise(values[5] * 80, values[6] * 5, recipe.seed + 3) * 0.4F;
		return lighting.shade(recipe.hair * (1 + 0.6F * strand), normal_of(values), 0.03F);
	};
	const auto cloth = [&](const Values &values) {
		const float fold = value_noise(values[0] * 0.3F, values[1] * 0.2F, recipe.seed + 9);
		const float stripe = recipe.seed % 3 == 0 && std::fmod(values[1] + 100, 4) < 1.6F ? 0.5F : 1;
		return lighting.shade(recipe.cloth * ((1 + 0.3F * fold) * stripe), normal_of(values), 0);
	};
	if (recipe.portrait)
		draw({{0, -31, -7}, {22, 16, 9}, false}, holding, canvas, cloth);
	else
		draw({{0, -28, -7}, {19.5F, 11.5F, 9}, false}, holding, canvas, cloth);
	draw({{0, -18, -6}, {5.2F * recipe.face_width, 14, 5}, false}, holding, canvas, skin(0.62F));
	const float wide = recipe.face_width;
	draw({{0, 2.8F, -5}, {8.1F * wide, 8.7F, 9.2F}, true}, holding, canvas, hair);
	if (recipe.long_hair)
		draw({{0, -4, recipe.portrait ? -10.5F : -7}, {10.2F * wide, 15, 6.5F}, true}, holding, canvas, hair);
	for (const float side : {-1.0F, 1.0F})
		draw({{side * 7.9F * wide, 0.6F, -4.2F}, {0.9F, 2.9F, 1.7F}, true}, holding, canvas, skin(0.85F));
}

// Strands that leave the hair upwards and sideways and bend down.
void paint_strands(const FaceRecipe &recipe, const Holding &holding, const Lighting &lighting, Canvas &canvas)
{
	Random random(recipe.seed * 17 + 3);
	const auto hair = [&](const Values &values) {
		return lighting.shade(recipe.hair * values[5], normal_of(values), 0.03F);
	};
	for (int strand = 0; strand < recipe.strands; ++strand) {
		const float angle = random.uniform(-0.2F, std::numbers::pi_v<float> + 0.2F);
		const float reach = random.uniform(0.6F, 2.4F); // cm beyond the hair
		const float thickness = random.uniform(0.05F, 0.14F);
		const float shade = random.uniform(0.7F, 1.5F);
		const float lean = random.uniform(-0.25F, 0.25F);
		Point last[2];
		constexpr int pieces = 6;
		for (int piece = 0; piece <= pieces; ++piece) {
			const float along = static_cast<float>(piece) / pieces;
			const float radius = 7.6F + along * (reach + 0.8F);
			const float turn = angle + lean * along * along;
			const float wide = recipe.face_width;
			const Point3 middle = {std::cos(turn) * radius * wide,
					       2.8F + std::sin(turn) * (radius + 0.6F) - 0.5F * along * along, -6};
			const Point at = holding.seen(holding.placed(middle)).flat();
			const float half = thickness * (1 - 0.6F * along) / 2 * recipe.eye_distance / eye_distance_cm;
			const Point across = Point{-std::sin(turn), -std::cos(turn)} * half;
			const Point now[2] = {at - across, at + across};
			if (piece > 0) {
				const auto corner = [&](Point place) {
					return Canvas::Corner{place, -6, Values{0, 0, 0, 0.3F, 1, shade, 0}};
				};
				canvas.triangle(corner(last[0]), corner(last[1]), corner(now[0]), hair);
				canvas.triangle(corner(last[1]), corner(now[0]), corner(now[1]), hair);
			}
			std::copy_n(now, 2, last);
		}
	}
}

std::vector<Point> rim_of_glasses(const FaceRecipe &recipe, const Holding &holding, float side)
{
	Random random(recipe.seed * 7 + 5);
	const float half_width = random.uniform(2.2F, 2.8F);
	const float half_height = random.uniform(1.6F, 2.2F);
	const float power = random.chance(0.5F) ? 1.0F : 0.55F; // round, or nearly square
	std::vector<Point> rim;
	for (int step = 0; step <= 40; ++step) {
		const float angle = 2 * std::numbers::pi_v<float> * static_cast<float>(step) / 40;
		const auto bent = [&](float value) {
			return (value < 0 ? -1.0F : 1.0F) * std::pow(std::abs(value), power);
		};
		const float x = side * (3.2F + half_width * bent(std::cos(angle)));
		rim.push_back(holding.seen(holding.placed({x, 2.4F + half_height * bent(std::sin(angle)),
							   5.6F - 0.06F * x * x}))
				      .flat());
	}
	return rim;
}

void paint_glasses(const FaceRecipe &recipe, const Holding &holding, Canvas &canvas)
{
	Random random(recipe.seed * 7 + 6);
	const Color color = random.chance(0.6F) ? Color{0.02F, 0.02F, 0.02F}
						: Color{random.uniform(0.1F, 0.5F), random.uniform(0.05F, 0.3F), 0.08F};
	const float thickness = std::max(0.8F, recipe.eye_distance * random.uniform(0.02F, 0.05F));
	for (const float side : {-1.0F, 1.0F}) {
		const std::vector<Point> rim = rim_of_glasses(recipe, holding, side);
		if (recipe.sunglasses_tint)
			canvas.polygon(rim, {0.03F, 0.03F, 0.03F}, 0.35F);
		canvas.stroke(rim, thickness, color);
		if (random.chance(0.5F)) // a reflection
			canvas.stroke({middle(rim[4], rim[12]), middle(rim[16], rim[8])}, thickness, {1, 1, 1}, 0.5F);
		const bool seen = side * recipe.yaw > -20; // the far temple lies behind the face
		if (seen)
			canvas.stroke({rim[0], holding.seen(holding.placed({side * 8.2F, 2.6F, -4})).flat()}, thickness,
				      color);
	}
	canvas.stroke({holding.seen(holding.placed({-0.9F, 2.9F, 5.6F})).flat(),
		       holding.seen(holding.placed({0.9F, 2.9F, 5.6F})).flat()},
		      thickness, color);
}

void paint_cover(const FaceRecipe &recipe, const Holding &holding, Canvas &canvas)
{
	Random random(recipe.seed * 11 + 2);
	const Color color = random.chance(0.5F)
				    ? recipe.skin * 0.8F
				    : Color{random.uniform(0, 0.7F), random.uniform(0, 0.7F), random.uniform(0, 0.7F)};
	const Point middle_of_face = holding.seen(holding.placed({0, 0, 6})).flat();
	const Point place = middle_of_face + recipe.cover_place * recipe.eye_distance;
	const float angle = random.uniform(-1, 1);
	canvas.ellipse(place, recipe.cover_radius * recipe.eye_distance, angle, color);
	// Something to look at on it.
	canvas.ellipse(place - Point{2, 2}, recipe.cover_radius * (0.8F * recipe.eye_distance), angle, color * 1.25F,
		       0.5F);
}

void paint_background(const FaceRecipe &recipe, Canvas &canvas)
{
	Random random(recipe.seed * 13 + 1);
	const auto any_color = [&] {
		const float bright = random.uniform(0.05F, 0.6F);
		return Color{bright * random.uniform(0.6F, 1.2F), bright * random.uniform(0.6F, 1.1F),
			     bright * random.uniform(0.5F, 1.1F)};
	};
	const Color upper = any_color();
	const Color lower = any_color();
	const float cell = random.uniform(0.02F, 0.06F);
	const float height = static_cast<float>(canvas.height());
	canvas.each([&](Point place, Color &light) {
		const float grain = 1 + 0.08F * value_noise(place.x * cell, place.y * cell, recipe.seed);
		light = mix(upper, lower, place.y / height) * grain;
	});
	const int shapes = 4 + random.below(8);
	for (int shape = 0; shape < shapes; ++shape) {
		const Point at = {random.uniform(0, static_cast<float>(canvas.width())), random.uniform(0, height)};
		const Point radius = {random.uniform(0.03F, 0.2F) * height, random.uniform(0.05F, 0.35F) * height};
		const Color color = any_color();
		if (random.chance(0.5F))
			canvas.polygon({at - radius,
					{at.x + radius.x, at.y - radius.y},
					at + radius,
					{at.x - radius.x, at.y + radius.y}},
				       color);
		else
			canvas.ellipse(at, radius, random.uniform(0, 3), color);
	}
}

} // namespace

// The lines of the average head, in centimetres.
struct FacePainter::HeadLines {
	explicit HeadLines(const HeadGeometry &head)
	{
		const auto take = [&](const auto &list) {
			std::vector<Point> line;
			for (const int point : list)
				line.push_back({head.vertices[size_t(point)].x, head.vertices[size_t(point)].y});
			return line;
		};
		using namespace regions;
		lips = take(lips_outer);
		eyes = {take(left_eye), take(right_eye)};
		folds = {take(left_lid_fold), take(right_lid_fold)};
		upper_lids = {std::vector<Point>(eyes[0].begin(), eyes[0].begin() + 9),
			      std::vector<Point>(eyes[1].begin(), eyes[1].begin() + 9)};
		const auto brow = [&](const auto &lower, const auto &upper) {
			std::vector<Point> outline = take(lower);
			const std::vector<Point> back = take(upper);
			outline.insert(outline.end(), back.rbegin(), back.rend());
			return outline;
		};
		brows = {brow(left_brow_lower, left_brow_upper), brow(right_brow_lower, right_brow_upper)};
	}

	std::vector<Point> lips;
	std::array<std::vector<Point>, 2> eyes;
	std::array<std::vector<Point>, 2> folds;
	std::array<std::vector<Point>, 2> upper_lids;
	std::array<std::vector<Point>, 2> brows;
};

FacePainter::FacePainter(const HeadGeometry &head) : head_(head), lines_(std::make_unique<HeadLines>(head))
{
	const auto all_in = [](const std::array<uint16_t, 3> &triangle, const auto &list) {
		return std::all_of(triangle.begin(), triangle.end(), [&](int point) { return holds(list, point); });
	};
	for (const std::array<uint16_t, 3> &triangle : head_.triangles) {
		if (all_in(triangle, regions::left_eye) || all_in(triangle, regions::right_eye))
			parts_.push_back(Part::Eye);
		else if (all_in(triangle, regions::lips_inner))
			parts_.push_back(Part::Mouth);
		else
			parts_.push_back(Part::Skin);
	}
}

FacePainter::~FacePainter() = default;

Color FacePainter::Texture::at(Point cm) const
{
	const auto index = [](float value) {
		return std::clamp(static_cast<int>(value * per_cm + side / 2.0F), 0, side - 1);
	};
	return pixels[size_t(index(-cm.y)) * side + size_t(index(cm.x))];
}

namespace {

Color bare_skin(const FaceRecipe &recipe, Point cm)
{
	const float across = std::abs(cm.x);
	const float grain = 0.05F * value_noise(cm.x * 0.8F, cm.y * 0.8F, recipe.seed + 1) +
			    0.04F * value_noise(cm.x * 3, cm.y * 3, recipe.seed + 2) +
			    0.03F * value_noise(cm.x * 12, cm.y * 12, recipe.seed + 3);
	Color color = recipe.skin * (1 + grain);
	const float red = recipe.redness *
			  (bell(across - 4.2F, cm.y + 0.8F, 1.6F, 1.4F) + 0.7F * bell(cm.x, cm.y + 0.8F, 1.0F, 0.9F));
	color = color * Color{1 + 0.05F * red, 1 - 0.14F * red, 1 - 0.12F * red};
	// Where less light comes to.
	float shade = 1 - 0.28F * bell(across - 2.1F, cm.y - 2.9F, 0.9F, 0.7F);
	shade *= 1 - 0.15F * bell(across - 3.2F, cm.y - 1.7F, 1.2F, 0.4F);
	shade *= 1 - 0.35F * bell(cm.x, cm.y + 2.45F, 1.2F, 0.35F);
	shade *= 1 - 0.25F * bell(cm.x, cm.y + 6.1F, 1.4F, 0.35F);
	shade *= 1 - 0.20F * bell(across - 1.85F, cm.y + 1.1F, 0.18F, 0.6F);
	const float fold = line_distance({across, cm.y}, {{1.9F, -1.6F}, {2.6F, -2.6F}, {3.1F, -4.0F}});
	shade *= 1 - (0.12F + 0.15F * recipe.smile) * std::exp(-fold * fold / 0.06F);
	color = color * shade;
	const float nostril = bell(across - 0.75F, cm.y + 1.95F, 0.32F, 0.2F);
	return mix(color, {0.04F, 0.02F, 0.02F}, std::min(1.0F, 1.1F * nostril));
}

} // namespace

// Everything that lies on the skin, at a place of the average head seen from the front.
Color FacePainter::skin_at(const FaceRecipe &recipe, Point cm) const
{
	const HeadLines &lines = *lines_;
	Color color = bare_skin(recipe, cm);
	const float hair_noise = value_noise(cm.x * 9 + cm.y * 4, cm.y * 3 - cm.x, recipe.seed + 5);
	if (recipe.beard > 0) {
		const float jaw = std::max(smooth_step(-5.2F, -6.2F, cm.y),
					   smooth_step(4.2F, 5.4F, std::abs(cm.x)) * smooth_step(0, -2, cm.y));
		const float lip = bell(cm.x, cm.y + 2.85F, 2.0F, 0.4F);
		const float share = recipe.beard * std::max(jaw, lip) * (0.65F + 0.35F * hair_noise);
		color = mix(color, recipe.hair, std::clamp(share, 0.0F, 0.9F));
	}
	if (cm.y < -2.5F && cm.y > -7 && std::abs(cm.x) < 3.2F) {
		const float outside = outline_distance(cm, lines.lips);
		const float wrinkle = 1 + 0.12F * value_noise(cm.x * 7, cm.y, recipe.seed + 6);
		color = mix(color, recipe.lips * wrinkle, 1 - smooth_step(-0.12F, 0.06F, outside));
	}
	for (size_t side = 0; side < 2; ++side) {
		if (std::abs(cm.x - (side == 0 ? left_eye_cm.x : -left_eye_cm.x)) > 3.4F || cm.y < 1 || cm.y > 7)
			continue;
		const float brow = outline_distance(cm, lines.brows[side]);
		const float hairs = recipe.brow_strength * (0.8F + 0.3F * hair_noise);
		color = mix(color, recipe.hair * 0.8F,
			    std::clamp((1 - smooth_step(-0.18F, 0.1F, brow)) * hairs, 0.0F, 0.95F));
		const float lash = line_distance(cm, lines.upper_lids[side]);
		color = mix(color, {0.03F, 0.02F, 0.02F}, 0.9F * (1 - smooth_step(0.06F, 0.16F, lash)));
		const float crease = line_distance(cm, lines.folds[side]);
		color = color * (1 - 0.22F * (1 - smooth_step(0, 0.14F, crease)));
		const float rim = std::abs(outline_distance(cm, lines.eyes[side]));
		color = color * (1 - 0.3F * (1 - smooth_step(0, 0.12F, rim)));
	}
	return color;
}

Color FacePainter::eye_at(const FaceRecipe &recipe, Point from_iris, float below_lid)
{
	const float radius = length(from_iris);
	const float fibre =
		0.85F + 0.4F * value_noise(std::atan2(from_iris.y, from_iris.x) * 6, radius * 2, recipe.seed);
	const Color iris = recipe.iris * (fibre * (1 - 0.5F * smooth_step(0.42F, iris_radius_cm, radius)));
	Color color =
		mix(iris, {0.62F, 0.56F, 0.52F}, smooth_step(iris_radius_cm - 0.05F, iris_radius_cm + 0.05F, radius));
	color = color * (0.04F + 0.96F * smooth_step(0.17F, 0.24F, radius));
	color = color * (0.6F + 0.4F * smooth_step(0, 0.4F, below_lid));
	const float glint = bell(from_iris.x + 0.2F, from_iris.y - 0.22F, 0.09F, 0.09F);
	return color + Color{0.8F, 0.8F, 0.8F} * glint;
}

void FacePainter::bake(const FaceRecipe &recipe)
{
	if (baked_seed_ == recipe.seed)
		return;
	texture_.pixels.resize(size_t(Texture::side) * Texture::side);
	for (int y = 0; y < Texture::side; ++y) {
		for (int x = 0; x < Texture::side; ++x) {
			const Point cm = {(static_cast<float>(x) + 0.5F - Texture::side / 2.0F) / Texture::per_cm,
					  -(static_cast<float>(y) + 0.5F - Texture::side / 2.0F) / Texture::per_cm};
			texture_.pixels[size_t(y) * Texture::side + size_t(x)] = skin_at(recipe, cm);
		}
	}
	background_.emplace(recipe.width, recipe.height);
	paint_background(recipe, *background_);
	baked_seed_ = recipe.seed;
}

void FacePainter::paint_again(const FaceRecipe &recipe, uint32_t noise_seed, Image &image) const
{
	last_->develop(recipe.camera, noise_seed * 31 + recipe.seed, image);
}

FacePoints FacePainter::paint(const FaceRecipe &recipe, uint32_t noise_seed, Image &image)
{
	bake(recipe);
	Canvas canvas = *background_;
	canvas.begin_solids();
	const Holding holding(recipe);
	const Lighting lighting(recipe);
	paint_body(recipe, holding, lighting, canvas);
	paint_strands(recipe, holding, lighting, canvas);

	std::vector<Point3> own;
	for (size_t point = 0; point < head_.vertices.size(); ++point) {
		const HeadGeometry::Vertex &vertex = head_.vertices[point];
		own.push_back(
			deformed(recipe, with_closed_mouth(static_cast<int>(point), {vertex.x, vertex.y, vertex.z})));
	}
	for (const int point : regions::lips_inner) { // the lower ones go down when the mouth opens
		const bool lower = head_.vertices[size_t(point)].y < mouth_line_cm && point != 78 && point != 308;
		const float x = head_.vertices[size_t(point)].x / 2.3F;
		if (lower)
			own[size_t(point)].y -= 0.8F * recipe.mouth_open * std::max(0.0F, 1 - x * x);
	}
	std::vector<Point3> normals(own.size());
	for (const auto &[a, b, c] : head_.triangles) {
		Point3 normal = cross(own[b] - own[a], own[c] - own[a]);
		if (normal.z < 0)
			normal = normal * -1;
		for (const uint16_t point : {a, b, c})
			normals[point] = normals[point] + normal;
	}
	const std::array<Point, 2> irises = {
		deformed(recipe, {left_eye_cm.x + recipe.gaze.x, left_eye_cm.y + recipe.gaze.y, 0}).flat(),
		deformed(recipe, {-left_eye_cm.x + recipe.gaze.x, left_eye_cm.y + recipe.gaze.y, 0}).flat()};

	for (size_t index = 0; index < head_.triangles.size(); ++index) {
		const auto corner = [&](uint16_t point) {
			const Point3 placed = holding.placed(own[point]);
			const HeadGeometry::Vertex &average = head_.vertices[point];
			const Point3 normal = holding.turned(unit(normals[point]));
			const bool skin = parts_[index] == Part::Skin;
			return Canvas::Corner{holding.seen(placed).flat(), placed.z,
					      Values{skin ? average.x : own[point].x, skin ? average.y : own[point].y,
						     normal.x, normal.y, normal.z, average.y, 0}};
		};
		const auto &[a, b, c] = head_.triangles[index];
		canvas.triangle(corner(a), corner(b), corner(c), [&](const Values &values) {
			const Point place = {values[0], values[1]};
			switch (parts_[index]) {
			case Part::Eye: {
				const Point iris = irises[place.x < 0 ? 0 : 1];
				const float below_lid = 0.35F + left_eye_cm.y - values[5];
				return lighting.shade(eye_at(recipe, place - iris, below_lid), normal_of(values), 0);
			}
			case Part::Mouth: {
				const bool teeth = recipe.mouth_open > 0.3F && values[5] > mouth_line_cm - 0.1F;
				return lighting.shade(teeth ? Color{0.6F, 0.56F, 0.48F} : Color{0.10F, 0.03F, 0.03F},
						      normal_of(values), 0);
			}
			case Part::Skin:
				break;
			}
			return lighting.shade(texture_.at(place), normal_of(values), 0.05F);
		});
	}
	if (recipe.glasses)
		paint_glasses(recipe, holding, canvas);
	if (recipe.covered)
		paint_cover(recipe, holding, canvas);
	last_ = std::move(canvas);
	paint_again(recipe, noise_seed, image);

	FacePoints points{};
	for (size_t point = 0; point < own.size() && point < face_surface_point_count; ++point)
		points[point] = holding.seen(holding.placed(own[point]));
	for (size_t eye = 0; eye < 2; ++eye) {
		const auto &list = eye == 0 ? regions::left_iris : regions::right_iris;
		const float depth = middle({own[eye == 0 ? 159 : 386].z, 0}, {own[eye == 0 ? 145 : 374].z, 0}).x;
		const Point offsets[] = {
			{0, 0}, {iris_radius_cm, 0}, {0, iris_radius_cm}, {-iris_radius_cm, 0}, {0, -iris_radius_cm}};
		for (size_t index = 0; index < list.size(); ++index) {
			const Point place = irises[eye] + offsets[index];
			points[size_t(list[index])] = holding.seen(holding.placed({place.x, place.y, depth}));
		}
	}
	return points;
}

} // namespace kalvio::engine::testing
