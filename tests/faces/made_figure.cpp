// SPDX-License-Identifier: GPL-2.0-or-later
#include "made_figure.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace kalvio::engine::testing {

namespace {

struct Shade {
	float r;
	float g;
	float b;
};

constexpr Shade shirt = {70, 110, 70};
constexpr Shade trousers = {60, 62, 92};
constexpr Shade knee_band = {170, 60, 60};
constexpr Shade spot = {190, 190, 60};
constexpr Shade shoe = {40, 30, 26};
constexpr Shade hand = {196, 150, 128};
constexpr Shade hair_from_behind = {52, 36, 28};

// The torso's half width, by centimeters below the eyes.
constexpr std::array<Point, 7> torso_outline = {
	{{17, 5.5F}, {19.5F, 12}, {22, 18}, {37, 16.5F}, {55, 13.5F}, {72, 17}, {84, 17}}};

float half_width_of_torso(float down)
{
	for (size_t index = 1; index < torso_outline.size(); ++index) {
		const Point &from = torso_outline[index - 1];
		const Point &to = torso_outline[index];
		if (down <= to.x)
			return from.y + (to.y - from.y) * smooth_step(from.x, to.x, down);
	}
	return torso_outline.back().y;
}

struct Limb {
	Point from; // centimeters from the middle, and below the eyes
	Point to;
	float radius_from;
	float radius_to;
};

// How far a place lies outside of a limb; `across` becomes -1..1 from one side of it to the other.
float limb_distance(const Limb &limb, Point place, float &across)
{
	const Point way = limb.to - limb.from;
	const Point offset = place - limb.from;
	const float along =
		std::clamp((offset.x * way.x + offset.y * way.y) / (way.x * way.x + way.y * way.y), 0.0F, 1.0F);
	const float radius = limb.radius_from + (limb.radius_to - limb.radius_from) * along;
	const Point nearest = limb.from + way * along;
	across = std::clamp((place.x - nearest.x) / radius, -1.0F, 1.0F);
	return distance(place, nearest) - radius;
}

class FigurePicture {
public:
	FigurePicture(const FigureRecipe &recipe, Image &image) : recipe_(recipe), image_(image) {}

	// distance(cm) is below 0 within the shape; shade(cm) is its color.
	template <typename Distance, typename Color>
	void draw(Point low, Point high, const Distance &distance, const Color &color)
	{
		const float scale = recipe_.pixels_per_cm();
		const auto bound = [](float value, int end) {
			return std::clamp(static_cast<int>(value), 0, end);
		};
		const int top = bound(recipe_.y_at(low.y) - 2, image_.height);
		const int bottom = bound(recipe_.y_at(high.y) + 2, image_.height);
		const float slack = std::abs(recipe_.lean) * 170 * scale + 2;
		const int left = bound(recipe_.eyes.x + low.x * scale - slack, image_.width);
		const int right = bound(recipe_.eyes.x + high.x * scale + slack, image_.width);
		for (int y = top; y < bottom; ++y) {
			for (int x = left; x < right; ++x) {
				const float down = (static_cast<float>(y) + 0.5F - recipe_.eyes.y) / scale;
				const Point place = {(static_cast<float>(x) + 0.5F - recipe_.eyes.x) / scale -
							     recipe_.lean * down,
						     down};
				const float share = std::clamp(0.5F - distance(place) * scale, 0.0F, 1.0F);
				if (share <= 0)
					continue;
				const Shade shade = color(place);
				uint8_t *pixel = image_.pixel(x, y);
				const std::array<float, 3> levels = {shade.r, shade.g, shade.b};
				for (size_t channel = 0; channel < 3; ++channel) {
					const float level = static_cast<float>(pixel[channel]);
					pixel[channel] =
						static_cast<uint8_t>(level + (levels[channel] - level) * share + 0.5F);
				}
			}
		}
	}

	template <typename Color>
	void draw_limb(const Limb &limb, const Color &color)
	{
		const float radius = std::max(limb.radius_from, limb.radius_to);
		const Point low = {std::min(limb.from.x, limb.to.x) - radius, limb.from.y - radius};
		const Point high = {std::max(limb.from.x, limb.to.x) + radius, limb.to.y + radius};
		float across = 0;
		draw(
			low, high, [&](Point place) { return limb_distance(limb, place, across); },
			[&](Point place) { return color(place, across); });
	}

private:
	const FigureRecipe &recipe_;
	Image &image_;
};

// Rounded by light from the left, with folds.
Shade lit(const Shade &shade, float across, Point place, uint32_t seed)
{
	const float fold = value_noise(place.x * 0.25F, place.y * 0.12F, seed);
	const float light = 1 - 0.35F * across * across - 0.15F * across + 0.12F * fold;
	return {shade.r * light, shade.g * light, shade.b * light};
}

void draw_legs(const FigureRecipe &recipe, FigurePicture &picture)
{
	using namespace figure_cm;
	for (const float side : {-1.0F, 1.0F}) {
		const auto cloth = [&](Point place, float across) {
			return lit(std::abs(place.y - knees) < 3 ? knee_band : trousers, across, place, recipe.seed);
		};
		picture.draw_limb({{side * 9, crotch - 6}, {side * 10, knees}, 8, 6}, cloth);
		picture.draw_limb({{side * 10, knees}, {side * 10.5F, feet - 8}, 6, 4.6F}, cloth);
		picture.draw_limb({{side * 11, feet - 5}, {side * 12.5F, feet - 4.5F}, 4.5F, 4.5F},
				  [&](Point place, float across) { return lit(shoe, across, place, recipe.seed); });
	}
}

void draw_torso(const FigureRecipe &recipe, FigurePicture &picture)
{
	using namespace figure_cm;
	const auto outside = [](Point place) {
		const float beside = std::abs(place.x) - half_width_of_torso(place.y);
		return std::max({beside, 17 - place.y, place.y - crotch - 1});
	};
	picture.draw({-20, 17}, {20, crotch + 2}, outside, [&](Point place) {
		const float half = half_width_of_torso(place.y);
		const float spot_distance = distance({std::abs(place.x), place.y}, {spot_offset, chest});
		if (recipe.has_face && spot_distance < spot_radius)
			return spot;
		return lit(place.y < hips ? shirt : trousers, place.x / half, place, recipe.seed + 1);
	});
}

void draw_arms(const FigureRecipe &recipe, FigurePicture &picture)
{
	for (const float side : {-1.0F, 1.0F}) {
		const auto sleeve = [&](Point place, float across) {
			return lit(shirt, across, place, recipe.seed + 2);
		};
		picture.draw_limb({{side * 17, 24.5F}, {side * 22.5F, 52}, 5.5F, 4.4F}, sleeve);
		picture.draw_limb({{side * 22.5F, 52}, {side * 23.5F, 74}, 4.4F, 3.4F}, sleeve);
		picture.draw_limb({{side * 23.5F, 77}, {side * 23, 83}, 3.8F, 3},
				  [&](Point place, float across) { return lit(hand, across, place, recipe.seed); });
	}
}

// Head and neck of the made face, which is painted on its own background and cut out of it.
void put_head(FacePainter &painter, const FigureRecipe &recipe, Image &image)
{
	FaceRecipe face = make_recipe(FaceCondition::Base, recipe.seed);
	face.width = recipe.width;
	face.height = recipe.height;
	face.eye_distance = recipe.eye_distance;
	face.yaw = face.pitch = face.roll = 0;
	constexpr float eyes_above_pivot_cm = 5.6F;
	face.center = {recipe.eyes.x, recipe.eyes.y + eyes_above_pivot_cm * recipe.pixels_per_cm()};
	face.camera.noise_levels = 0;
	face.camera.blur_pixels = 0;
	Image painted;
	painter.paint(face, 1, painted);
	std::vector<float> share;
	painter.person_share(share);
	const int end = std::clamp(static_cast<int>(recipe.y_at(20)), 0, image.height);
	for (int y = 0; y < end; ++y) {
		for (int x = 0; x < image.width; ++x) {
			const float part = share[size_t(y) * size_t(image.width) + size_t(x)];
			for (size_t channel = 0; part > 0 && channel < 3; ++channel) {
				uint8_t &level = image.pixel(x, y)[channel];
				const auto from = static_cast<float>(level);
				const auto to = static_cast<float>(painted.pixel(x, y)[channel]);
				level = static_cast<uint8_t>(from + (to - from) * part + 0.5F);
			}
		}
	}
}

void put_back_of_head(const FigureRecipe &recipe, FigurePicture &picture)
{
	const auto color = [&](Point place, float across) {
		return lit(hair_from_behind, across, place, recipe.seed);
	};
	picture.draw_limb({{0, 12}, {0, 19}, 6, 6}, color);
	picture.draw_limb({{0, -2}, {0, 3}, 9, 9}, color);
}

} // namespace

void add_figure(FacePainter &painter, const FigureRecipe &recipe, Image &image)
{
	FigurePicture picture(recipe, image);
	draw_legs(recipe, picture);
	if (recipe.has_face)
		put_head(painter, recipe, image);
	else
		put_back_of_head(recipe, picture);
	draw_torso(recipe, picture);
	draw_arms(recipe, picture);
}

void paint_figure(FacePainter &painter, const FigureRecipe &recipe, Image &image)
{
	image.resize(recipe.width, recipe.height);
	for (int y = 0; y < image.height; ++y) {
		for (int x = 0; x < image.width; ++x) {
			const float grain =
				value_noise(static_cast<float>(x) * 0.02F, static_cast<float>(y) * 0.02F, 7);
			const float floor = static_cast<float>(y) > recipe.y_at(figure_cm::feet - 15) ? 0.8F : 1.0F;
			const bool is_pole = recipe.pole && std::abs(static_cast<float>(x) + 0.5F - *recipe.pole) < 3;
			const std::array<float, 3> wall = {205 + 6 * grain, 200 + 6 * grain, 190 + 6 * grain};
			for (size_t channel = 0; channel < 3; ++channel)
				image.pixel(x, y)[channel] =
					is_pole ? pole_color[channel] : static_cast<uint8_t>(wall[channel] * floor);
			image.pixel(x, y)[3] = 255;
		}
	}
	add_figure(painter, recipe, image);
}

} // namespace kalvio::engine::testing
