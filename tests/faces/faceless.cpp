// SPDX-License-Identifier: GPL-2.0-or-later
#include "faceless.h"

#include <algorithm>
#include <numbers>

namespace kalvio::engine::testing {

namespace {

constexpr int width = 480;
constexpr int height = 270;
constexpr float pi = std::numbers::pi_v<float>;

Color any_color(Random &random, float darkest = 0.03F, float brightest = 0.7F)
{
	const float bright = random.uniform(darkest, brightest);
	return {bright * random.uniform(0.6F, 1.2F), bright * random.uniform(0.6F, 1.1F),
		bright * random.uniform(0.4F, 1.1F)};
}

void fill(Canvas &canvas, Random &random)
{
	const Color color = any_color(random, 0.1F);
	const uint32_t seed = static_cast<uint32_t>(random.below(10000));
	canvas.each([&](Point place, Color &light) {
		light = color * (1 + 0.15F * value_noise(place.x * 0.03F, place.y * 0.03F, seed));
	});
}

// A round thing with light from above.
void ball(Canvas &canvas, Random &random, Point center, float radius, const Color &color, float grain)
{
	const uint32_t seed = static_cast<uint32_t>(random.below(10000));
	const Point lit = {random.uniform(-0.5F, 0.5F), random.uniform(-0.7F, -0.1F)};
	canvas.each(center - Point{radius, radius}, center + Point{radius, radius}, [&](Point place, Color &light) {
		const Point at = (place - center) * (1 / radius);
		const float outside = length(at) - 1;
		if (outside > 0)
			return;
		const float shade = 1.05F - 0.45F * distance(at, lit);
		const float hair = 1 + grain * value_noise(place.x * 0.9F, place.y * 0.4F, seed);
		light = mix(light, color * (shade * hair), smooth_step(0, -1.5F / radius, outside));
	});
}

std::vector<Point> triangle(Point a, Point b, Point c)
{
	return {a, b, c};
}

// A cat's or a dog's head: ears, eyes, a muzzle with a nose, whiskers.
void animal(Canvas &canvas, Random &random)
{
	const Point center = {random.uniform(120, 360), random.uniform(110, 160)};
	const float radius = random.uniform(35, 85);
	const Color fur = any_color(random, 0.05F, 0.6F);
	const auto at = [&](float x, float y) {
		return center + Point{x, y} * radius;
	};
	ball(canvas, random, at(0, 1.7F), radius * 1.3F, fur * 0.9F, 0.3F);
	const bool dog = random.chance(0.4F);
	for (const float side : {-1.0F, 1.0F}) {
		if (dog)
			canvas.ellipse(at(side * 0.95F, 0.1F), {0.3F * radius, 0.75F * radius}, side * -0.25F,
				       fur * 0.6F);
		else
			canvas.polygon(
				triangle(at(side * 0.35F, -0.8F), at(side * 0.95F, -0.35F), at(side * 0.85F, -1.35F)),
				fur * 0.85F);
	}
	ball(canvas, random, center, radius, fur, 0.35F);
	const float apart = random.uniform(0.36F, 0.5F);
	const Color eye = dog ? Color{0.05F, 0.03F, 0.02F} : Color{0.4F, 0.45F, 0.1F};
	for (const float side : {-1.0F, 1.0F}) {
		const Point place = at(side * apart, -0.12F);
		canvas.ellipse(place, {0.2F * radius, (dog ? 0.17F : 0.2F) * radius}, 0, eye);
		canvas.ellipse(place, {(dog ? 0.12F : 0.05F) * radius, 0.16F * radius}, 0, {0.01F, 0.01F, 0.01F});
		canvas.ellipse(place + Point{-0.04F, -0.06F} * radius, {0.03F * radius, 0.03F * radius}, 0, {1, 1, 1});
	}
	const float muzzle = dog ? 0.42F : 0.3F;
	canvas.ellipse(at(0, 0.45F), {muzzle * radius, 0.8F * muzzle * radius}, 0, fur * 1.3F);
	const float nose = dog ? 0.14F : 0.09F;
	canvas.polygon(triangle(at(-nose, 0.28F), at(nose, 0.28F), at(0, 0.28F + nose)), {0.08F, 0.04F, 0.04F});
	for (const float side : {-1.0F, 1.0F}) {
		canvas.stroke({at(0, 0.4F), at(side * 0.12F, 0.58F), at(side * 0.28F, 0.52F)}, 0.03F * radius,
			      {0.05F, 0.03F, 0.03F});
		for (const float tilt : {-0.1F, 0.02F, 0.14F})
			canvas.stroke({at(side * 0.2F, 0.45F), at(side * 1.05F, 0.4F + tilt)}, 0.8F,
				      {0.7F, 0.7F, 0.7F});
	}
}

// Footballs, beach balls, bowling balls with their holes.
void balls(Canvas &canvas, Random &random)
{
	const int count = 1 + random.below(3);
	for (int number = 0; number < count; ++number) {
		const Point center = {random.uniform(80, 400), random.uniform(70, 200)};
		const float radius = random.uniform(30, 80);
		ball(canvas, random, center, radius, any_color(random), 0);
		const int spots = 2 + random.below(6);
		const Color spot = any_color(random, 0.01F, 0.4F);
		for (int index = 0; index < spots; ++index) {
			const float angle = 2 * pi * static_cast<float>(index) / static_cast<float>(spots);
			const float out = spots == 3 ? 0.3F : 0.6F;
			canvas.ellipse(center + Point{std::cos(angle), std::sin(angle)} * (out * radius),
				       {0.14F * radius, 0.14F * radius}, angle, spot);
		}
	}
}

// Checks, dots, stripes, and sockets that look like two eyes and a mouth.
void pattern(Canvas &canvas, Random &random)
{
	const float cell = random.uniform(14, 50);
	const Color second = any_color(random);
	const int kind = random.below(4);
	canvas.each([&](Point place, Color &light) {
		const float x = place.x / cell - std::floor(place.x / cell);
		const float y = place.y / cell - std::floor(place.y / cell);
		const bool marked = kind == 0   ? (x < 0.5F) != (y < 0.5F)
				    : kind == 1 ? distance({x, y}, {0.5F, 0.5F}) < 0.3F
				    : kind == 2 ? x + y < 0.5F || (x + y > 1 && x + y < 1.5F)
						: distance({x, y}, {0.3F, 0.35F}) < 0.1F ||
							  distance({x, y}, {0.7F, 0.35F}) < 0.1F ||
							  (std::abs(x - 0.5F) < 0.2F && std::abs(y - 0.7F) < 0.06F);
		if (marked)
			light = second;
	});
}

// A chair with a back of bars or a cushion, and a lamp above.
void chair(Canvas &canvas, Random &random)
{
	const Color wood = any_color(random, 0.05F, 0.4F);
	const float middle_x = random.uniform(120, 360);
	const float half = random.uniform(35, 75);
	const float top = random.uniform(20, 60);
	const auto bar = [&](Point low, Point high) {
		canvas.polygon({low, {high.x, low.y}, high, {low.x, high.y}}, wood);
	};
	bar({middle_x - half, top}, {middle_x - half + 9, 270});
	bar({middle_x + half - 9, top}, {middle_x + half, 270});
	bar({middle_x - half, top}, {middle_x + half, top + 14});
	bar({middle_x - half, 150}, {middle_x + half, 168});
	if (random.chance(0.5F)) {
		canvas.ellipse({middle_x, (top + 150) / 2 + 8}, {half * 0.7F, (150 - top) * 0.42F}, 0,
			       any_color(random));
		for (const float side : {-1.0F, 0.0F, 1.0F}) // buttons
			canvas.ellipse({middle_x + side * half * 0.3F, (top + 150) / 2}, {4, 4}, 0, wood * 0.5F);
	} else {
		for (float x = middle_x - half + 22; x < middle_x + half - 18; x += 20)
			bar({x, top}, {x + 5, 150});
	}
	canvas.ellipse({random.uniform(60, 420), 30}, {24, 14}, 0, {0.9F, 0.85F, 0.6F});
}

// The back of a head on shoulders: hair, ears, a neck.
void from_behind(Canvas &canvas, Random &random)
{
	const Point center = {random.uniform(120, 360), random.uniform(95, 130)};
	const float radius = random.uniform(35, 70);
	const float bright = random.uniform(0.1F, 0.6F);
	const Color skin = {bright, bright * 0.6F, bright * 0.45F};
	const auto at = [&](float x, float y) {
		return center + Point{x, y} * radius;
	};
	canvas.ellipse(at(0, 2.9F), {1.9F * radius, 1.4F * radius}, 0, any_color(random));
	canvas.ellipse(at(0, 1.2F), {0.55F * radius, 0.7F * radius}, 0, skin * 0.7F);
	for (const float side : {-1.0F, 1.0F})
		canvas.ellipse(at(side * 0.85F, 0.15F), {0.12F * radius, 0.3F * radius}, side * 0.15F, skin);
	const uint32_t seed = static_cast<uint32_t>(random.below(10000));
	const Color hair = any_color(random, 0.01F, 0.35F);
	const float bottom = random.uniform(0.6F, 1.8F);
	canvas.each(at(-1, -1.3F), at(1, 2), [&](Point place, Color &light) {
		const Point own = (place - center) * (1 / radius);
		const float outside = own.y < 0 ? length({own.x / 0.88F, own.y / 1.15F}) - 1
						: std::max(std::abs(own.x) / 0.88F, own.y / bottom) - 1;
		if (outside < 0)
			light = hair *
				(1.1F - 0.4F * std::abs(own.x) + 0.5F * value_noise(own.x * 22, own.y * 2, seed));
	});
}

} // namespace

const char *name_of_faceless(int number)
{
	constexpr const char *names[faceless_kinds] = {"animal", "balls", "pattern", "chair", "from behind"};
	return names[number % faceless_kinds];
}

Canvas paint_faceless(int number)
{
	Random random(static_cast<uint32_t>(number) * 7919 + 3);
	Canvas canvas(width, height);
	fill(canvas, random);
	void (*const kinds[faceless_kinds])(Canvas &, Random &) = {animal, balls, pattern, chair, from_behind};
	kinds[number % faceless_kinds](canvas, random);
	return canvas;
}

} // namespace kalvio::engine::testing
