// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/sticker_motion.h"

#include "mixed_bits.h"
#include "stages/sine_table.h"

#include <algorithm>
#include <cmath>

namespace kalvio::engine {

namespace {

// 0..1 for a sprite's number and a purpose.
float random_of(uint64_t number, uint64_t purpose)
{
	return static_cast<float>(mixed_bits(number, purpose) >> 40) / 16777216.0F;
}

// A moment of the animation. In integers: after a day a float would move in jumps. The unit divides a microsecond, and
// a thirtieth of a second has a whole number of them.
using Moment = uint64_t;
constexpr Moment units_per_microsecond = 30;
constexpr Moment units_per_thirtieth = 1'000'000;

// The part of a whole turn that is gone at this moment at this many turns per second.
float turns_of(Moment moment, float turns_per_second)
{
	// Of 2^32 parts of a turn. What a thirtieth of a second adds is a whole number, and what overflows is whole
	// turns.
	const auto rate = static_cast<uint64_t>(turns_per_second * (4294967296.0F / 30.0F));
	const uint64_t parts =
		moment / units_per_thirtieth * rate + moment % units_per_thirtieth * rate / units_per_thirtieth;
	return static_cast<float>(static_cast<uint32_t>(parts) >> 8) / 16777216.0F;
}

struct Pose {
	float x, y;        // of the frame, 0..1
	float turns;       // of rotation
	float width_scale; // foreshortening
};

Pose falling(uint64_t number, Moment moment)
{
	// Each fall from above to below is a new one: other place, same petal.
	const float seconds = 6 + 6 * random_of(number, 1);
	const auto thirtieths = static_cast<uint64_t>(seconds * 30);
	const Moment length = thirtieths * units_per_thirtieth;
	const Moment shifted = moment + static_cast<uint64_t>(random_of(number, 2) * static_cast<float>(thirtieths)) *
						units_per_thirtieth;
	const auto progress = static_cast<float>(static_cast<double>(shifted % length) / static_cast<double>(length));
	const uint64_t fall = number + 1000 * (shifted / length);
	const float sway = sines().at(progress * (1.5F + 2 * random_of(fall, 3)) + random_of(fall, 4));
	const float flip = sines().at(turns_of(moment, 0.25F + 0.35F * random_of(number, 5)) + random_of(number, 6));
	const float spin = turns_of(moment, 0.06F + 0.16F * random_of(number, 7));
	return {random_of(fall, 8) * 1.1F - 0.05F + 0.05F * sway, progress * 1.3F - 0.15F,
		(number & 1 ? spin : -spin) + random_of(number, 9), 0.35F + 0.65F * std::abs(flip)};
}

Pose fluttering(uint64_t number, Moment moment)
{
	const auto wave = [&](float turns_per_second, uint64_t purpose) {
		return sines().at(turns_of(moment, turns_per_second) + random_of(number, purpose));
	};
	const float slow = 0.035F + 0.03F * random_of(number, 1);
	const float x = 0.5F + 0.36F * wave(slow, 2) + 0.13F * wave(2.3F * slow, 3);
	const float y = 0.42F + 0.26F * wave(1.3F * slow, 4) + 0.10F * wave(3.1F * slow, 5) + 0.012F * wave(1.7F, 6);
	const float beat = wave(1.6F + 1.2F * random_of(number, 7), 8);
	return {x, y, 0.07F * wave(2 * slow, 9), 0.42F + 0.58F * std::abs(beat)};
}

PlacedSprite place(const Sprite &sprite, const Pose &pose, float sprite_height, int width, int height)
{
	const float scale = sprite_height / static_cast<float>(sprite.height());
	const float cosine = sines().at(pose.turns + 0.25F) * scale;
	const float sine = sines().at(pose.turns) * scale;
	const SpriteAxes axes = {{pose.x * static_cast<float>(width), pose.y * static_cast<float>(height)},
				 {cosine * pose.width_scale, sine * pose.width_scale},
				 {-sine, cosine}};
	return place_sprite(sprite, axes, width, height);
}

} // namespace

int place_sprites(const Sticker &sticker, int64_t age_us, int width, int height, PlacedSprite *placed)
{
	const Moment moment = static_cast<Moment>(std::max<int64_t>(age_us, 0)) * units_per_microsecond;
	for (int index = 0; index < sticker.count; ++index) {
		const auto number = static_cast<uint64_t>(index);
		const float part = random_of(number, 20);
		const float size = sticker.smallest + part * (sticker.largest - sticker.smallest);
		const Pose pose =
			sticker.motion == StickerMotion::Fall ? falling(number, moment) : fluttering(number, moment);
		placed[index] = place(sticker.sprites[number % sticker.moving_sprites], pose,
				      size * static_cast<float>(height), width, height);
	}
	return sticker.count;
}

} // namespace kalvio::engine
