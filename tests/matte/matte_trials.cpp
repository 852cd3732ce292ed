// SPDX-License-Identifier: GPL-2.0-or-later
#include "matte_trials.h"

#include "image_reader.h"
#include "matte_drawing.h"
#include "stages/background_picture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <stdexcept>

namespace kalvio::engine::testing {

namespace {

constexpr int width = 960;
constexpr int height = 540;

float light_of(uint8_t level)
{
	const float value = static_cast<float>(level) / 255;
	return value <= 0.04045F ? value / 12.92F : std::pow((value + 0.055F) / 1.055F, 2.4F);
}

uint8_t level_of(float light)
{
	const float held = std::clamp(light, 0.0F, 1.0F);
	const float value = held <= 0.0031308F ? held * 12.92F : 1.055F * std::pow(held, 1 / 2.4F) - 0.055F;
	return static_cast<uint8_t>(std::lround(value * 255));
}

// A picture as the camera of a recipe sees it.
Image seen_by(const CameraLook &camera, const Image &picture)
{
	Image seen = picture;
	const std::array<float, 3> gains = {camera.white.r * camera.exposure, camera.white.g * camera.exposure,
					    camera.white.b * camera.exposure};
	for (size_t channel = 0; channel < 3; ++channel) {
		std::array<uint8_t, 256> levels;
		for (size_t level = 0; level < levels.size(); ++level)
			levels[level] =
				level_of(light_of(static_cast<uint8_t>(level)) * std::min(gains[channel], 1.0F));
		for (size_t index = channel; index < seen.pixels.size(); index += 4)
			seen.pixels[index] = levels[seen.pixels[index]];
	}
	return seen;
}

// value = value + (other - value) * share, in linear light.
void mix_light(uint8_t &value, uint8_t other, float share)
{
	if (share >= 1)
		value = other;
	else if (share > 0)
		value = level_of(light_of(value) + (light_of(other) - light_of(value)) * share);
}

} // namespace

MadePerson make_person(FacePainter &painter, FaceCondition condition, Hair hair, uint32_t seed)
{
	MadePerson person;
	person.recipe = make_recipe(condition, seed);
	FaceRecipe &recipe = person.recipe;
	const float scale = static_cast<float>(width) / static_cast<float>(recipe.width);
	recipe.width = width;
	recipe.height = height;
	recipe.center = recipe.center * scale;
	recipe.eye_distance *= scale;
	recipe.strands = 40;
	recipe.portrait = true;
	recipe.long_hair = hair == Hair::Long;
	// As a camera on a desk shows a person.
	if (condition != FaceCondition::Large && condition != FaceCondition::Small) {
		recipe.eye_distance *= 0.75F;
		recipe.center.y = 0.9F * recipe.center.y - 0.02F * static_cast<float>(height);
	}
	paint_person(painter, person);
	return person;
}

void paint_person(FacePainter &painter, MadePerson &person)
{
	FaceRecipe recipe = person.recipe;
	recipe.camera.noise_levels = 0;
	recipe.camera.blur_pixels = 0; // the known matte is not blurred either
	painter.paint(recipe, 0, person.picture);
	painter.person_share(person.truth);
}

void put_before(const Image &background, MadePerson &person)
{
	const Image seen = seen_by(person.recipe.camera, background);
	for (size_t pixel = 0; pixel < person.truth.size(); ++pixel) {
		for (size_t channel = pixel * 4; channel < pixel * 4 + 3; ++channel)
			mix_light(person.picture.pixels[channel], seen.pixels[channel], 1 - person.truth[pixel]);
	}
}

void add_person(const MadePerson &other, MadePerson &person)
{
	for (size_t pixel = 0; pixel < person.truth.size(); ++pixel) {
		const float share = other.truth[pixel];
		for (size_t channel = pixel * 4; channel < pixel * 4 + 3; ++channel)
			mix_light(person.picture.pixels[channel], other.picture.pixels[channel], share);
		person.truth[pixel] += (1 - person.truth[pixel]) * share;
	}
}

Image noisy(const Image &picture, float noise_levels, uint32_t moment)
{
	Image result = picture;
	Random noise(moment * 2654435761U + 99);
	for (size_t pixel = 0; pixel < result.pixels.size(); pixel += 4) {
		const float common = 0.6F * noise.normal();
		for (size_t channel = pixel; channel < pixel + 3; ++channel) {
			const float level = static_cast<float>(result.pixels[channel]) +
					    noise_levels * (common + 0.8F * noise.normal());
			result.pixels[channel] = static_cast<uint8_t>(std::clamp(std::lround(level), 0L, 255L));
		}
	}
	return result;
}

double matte_iou(const Image &matte, const std::vector<float> &truth)
{
	int64_t both = 0;
	int64_t either = 0;
	for (size_t pixel = 0; pixel < truth.size(); ++pixel) {
		const bool found = matte.pixels[pixel * 4] >= 128;
		const bool known = truth[pixel] >= 0.5F;
		both += static_cast<int64_t>(found && known);
		either += static_cast<int64_t>(found || known);
	}
	return either == 0 ? 1 : static_cast<double>(both) / static_cast<double>(either);
}

double mean_change(const Image &before, const Image &after)
{
	int64_t sum = 0;
	for (size_t index = 0; index < before.pixels.size(); index += 4)
		sum += std::abs(before.pixels[index] - after.pixels[index]);
	return 100.0 * static_cast<double>(sum) / 255 / (static_cast<double>(before.pixels.size()) / 4);
}

std::vector<std::string> shipped_rooms(const std::string &data_folder)
{
	std::vector<std::string> paths;
	for (const char *name : {"office", "living", "bookshelf", "cafe", "city", "studio"})
		paths.push_back(data_folder + "/backgrounds/" + name + ".jpg");
	return paths;
}

MatteTrials::MatteTrials(const NetLibrary &nets, const std::vector<std::string> &rooms)
	: nets_(nets), painter_(nets.head), pool_(2)
{
	for (const std::string &path : rooms) {
		Image picture;
		if (const ReadResult result = load_image(path.c_str(), picture); !result)
			throw std::runtime_error(path + ": " + result.reason);
		scale_to_cover(picture, width, height, nullptr, nullptr, rooms_.emplace_back());
	}
}

MadePerson MatteTrials::person_in(Surroundings surroundings, FaceCondition condition, uint32_t seed, Hair hair)
{
	MadePerson person = make_person(painter_, condition, hair, seed);
	if (surroundings == Surroundings::Rooms)
		put_before(room(seed), person);
	return person;
}

Image MatteTrials::matte_of(PersonMatte &matte, const Image &picture, int64_t now_us, MatteUse use)
{
	matte.update({picture.pixels.data(), nullptr, picture.width, picture.height, picture.width * bytes_per_pixel},
		     now_us, pool_);
	Image gray;
	draw_matte(matte, picture, use, gray);
	return gray;
}

Image MatteTrials::still_matte(const MadePerson &person, int frames)
{
	PersonMatte matte = make_matte();
	Image gray;
	for (int frame = 0; frame < frames; ++frame) {
		const Image picture =
			noisy(person.picture, person.recipe.camera.noise_levels, static_cast<uint32_t>(frame));
		gray = matte_of(matte, picture, frame * frame_us);
	}
	return gray;
}

MatteResult MatteTrials::try_people(Surroundings surroundings, FaceCondition condition, Hair hair, int people,
				    const MatteWatcher &watcher)
{
	MatteResult result;
	result.people = people;
	for (int number = 1; number <= people; ++number) {
		const MadePerson person = person_in(surroundings, condition, static_cast<uint32_t>(number), hair);
		const Image gray = still_matte(person);
		const double iou = matte_iou(gray, person.truth);
		result.mean_iou += iou / people;
		result.worst_iou = std::min(result.worst_iou, iou);
		if (watcher)
			watcher(person, gray);
	}
	return result;
}

double MatteTrials::flicker(FaceCondition condition, uint32_t seed, int frames)
{
	const MadePerson person = person_in(Surroundings::Rooms, condition, seed);
	PersonMatte matte = make_matte();
	Image last;
	double sum = 0;
	constexpr int settling = 10;
	for (int frame = 0; frame < settling + frames; ++frame) {
		const Image picture =
			noisy(person.picture, person.recipe.camera.noise_levels, static_cast<uint32_t>(frame));
		Image gray = matte_of(matte, picture, frame * frame_us);
		if (frame >= settling)
			sum += mean_change(last, gray) / frames;
		last = std::move(gray);
	}
	return sum;
}

double MatteTrials::motion_loss(uint32_t seed)
{
	MadePerson person = make_person(painter_, FaceCondition::Base, Hair::Short, seed);
	const Point start = person.recipe.center;
	PersonMatte matte = make_matte();
	double loss = 0;
	constexpr int frames = 30;
	for (int frame = 0; frame < frames; ++frame) {
		const float angle = 2 * std::numbers::pi_v<float> * static_cast<float>(frame) / frames;
		person.recipe.center = start + Point{0.5F * person.recipe.eye_distance * std::sin(angle), 0};
		paint_person(painter_, person);
		put_before(room(seed), person);
		PersonMatte fresh = make_matte();
		const double alone = matte_iou(matte_of(fresh, person.picture, 0), person.truth);
		const double moving = matte_iou(matte_of(matte, person.picture, frame * frame_us), person.truth);
		loss += (alone - moving) / frames;
	}
	return loss;
}

} // namespace kalvio::engine::testing
