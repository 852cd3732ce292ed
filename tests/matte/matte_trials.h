// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "image.h"
#include "made_face.h"
#include "nets/net_library.h"
#include "pool.h"
#include "stages/person_matte.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// How well people are told from what is behind them: made people in made rooms, whose matte is known.
namespace kalvio::engine::testing {

// A made person, without the camera's noise, and how much of each pixel the person is. 960 x 540.
struct MadePerson {
	FaceRecipe recipe;
	Image picture;
	std::vector<float> truth;
};

// Long hair is painted as one smooth surface, which the net often takes for something behind the person.
enum class Hair { Short, Long };

// A made person with hair that stands off, the shoulders in the picture. Behind it are flat shapes of many colors.
MadePerson make_person(FacePainter &painter, FaceCondition condition, Hair hair, uint32_t seed);
// The same one held elsewhere. Nothing else of the recipe may differ.
void paint_person(FacePainter &painter, MadePerson &person);

// Puts the person before a picture of the same size.
void put_before(const Image &background, MadePerson &person);
// Adds further people of the same size to a picture.
void add_person(const MadePerson &other, MadePerson &person);

// The picture with a camera's noise at a certain moment.
Image noisy(const Image &picture, float noise_levels, uint32_t moment);

// Intersection over union of a gray picture's bright half and the known matte's.
double matte_iou(const Image &matte, const std::vector<float> &truth);
// Mean difference of two gray pictures, in percent of white.
double mean_change(const Image &before, const Image &after);

// Where a person is shown: one of the rooms, or the person's own flat shapes.
enum class Surroundings { Rooms, Shapes };

struct MatteResult {
	int people = 0;
	double mean_iou = 0;
	double worst_iou = 1;
};

using MatteWatcher = std::function<void(const MadePerson &, const Image &matte)>;

class MatteTrials {
public:
	static constexpr int64_t frame_us = 33'333;

	// `rooms` are the paths of pictures.
	MatteTrials(const NetLibrary &nets, const std::vector<std::string> &rooms);

	// A person in a room, in that room's light.
	MadePerson person_in(Surroundings surroundings, FaceCondition condition, uint32_t seed,
			     Hair hair = Hair::Short);
	// The matte after some frames of a noisy video of a person who does not move.
	Image still_matte(const MadePerson &person, int frames = 4);
	MatteResult try_people(Surroundings surroundings, FaceCondition condition, Hair hair, int people,
			       const MatteWatcher &watcher = {});
	// The mean change from frame to frame of a still person's matte in a noisy video, in percent.
	double flicker(FaceCondition condition, uint32_t seed, int frames);
	// How much of the IoU is lost on a person who moves by half the eyes' distance to either side once per second.
	double motion_loss(uint32_t seed);

	const Image &room(uint32_t seed) const { return rooms_[seed % rooms_.size()]; }
	PersonMatte make_matte() const { return PersonMatte(nets_.person_matte); }
	// One more frame for `matte`; what it takes for people, as a gray picture.
	Image matte_of(PersonMatte &matte, const Image &picture, int64_t now_us, MatteUse use = MatteUse::Picture);
	FacePainter &painter() { return painter_; }
	Pool &pool() { return pool_; }

private:
	const NetLibrary &nets_;
	std::vector<Image> rooms_;
	FacePainter painter_;
	Pool pool_;
};

// The pictures of rooms that come with the plug-in.
std::vector<std::string> shipped_rooms(const std::string &data_folder);

} // namespace kalvio::engine::testing
