// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/sticker.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>

namespace kalvio::engine {

namespace {

using nlohmann::json;

constexpr const char *anchors[] = {"eyes",       "forehead",    "nose",        "upper_lip",
				   "cheek_left", "cheek_right", "temple_left", "temple_right"};

ReadResult bad(const char *reason)
{
	return {KL_ERROR_FORMAT, reason};
}

void premultiply(Image &image)
{
	for (size_t index = 0; index < image.pixels.size(); index += 4) {
		const int alpha = image.pixels[index + 3];
		for (size_t channel = 0; channel < 3; ++channel) {
			uint8_t &value = image.pixels[index + channel];
			value = static_cast<uint8_t>((value * alpha + 127) / 255);
		}
	}
}

// A number of the manifest within its range; NaN for anything else, which no comparison lets pass.
float number_of(const json &object, const char *name, float fallback)
{
	const auto found = object.find(name);
	if (found == object.end())
		return fallback;
	return found->is_number() ? found->get<float>() : std::nanf("");
}

bool within(float value, float low, float high)
{
	return value >= low && value <= high;
}

// Reads sprites once each, however often they are named.
class SpriteLoader {
public:
	SpriteLoader(const Bundle &bundle, Sticker &sticker) : bundle_(bundle), sticker_(sticker) {}

	ReadResult load(const json &name, size_t &index)
	{
		if (!name.is_string())
			return bad("a sprite is not named by a text");
		const auto known = std::find(names_.begin(), names_.end(), name.get<std::string>());
		index = static_cast<size_t>(known - names_.begin());
		if (known != names_.end())
			return {};
		Bytes bytes;
		if (ReadResult result = bundle_.read(name.get<std::string>(), bytes); !result)
			return result;
		Image image;
		if (ReadResult result = decode_image(bytes, image); !result)
			return result;
		if (image.width > max_sprite_side || image.height > max_sprite_side)
			return bad("a sprite is too large");
		premultiply(image);
		names_.push_back(name.get<std::string>());
		sticker_.sprites.push_back(std::move(image));
		return {};
	}

private:
	const Bundle &bundle_;
	Sticker &sticker_;
	std::vector<std::string> names_;
};

ReadResult read_motion(const json &manifest, SpriteLoader &loader, Sticker &sticker)
{
	const auto motion = manifest.find("motion");
	if (motion == manifest.end())
		return {};
	if (*motion == "fall")
		sticker.motion = StickerMotion::Fall;
	else if (*motion == "flutter")
		sticker.motion = StickerMotion::Flutter;
	else
		return bad("its motion is unknown");

	const auto sprites = manifest.find("sprites");
	const auto size = manifest.find("size");
	const float count = number_of(manifest, "count", 0);
	if (sprites == manifest.end() || !sprites->is_array() || sprites->empty() ||
	    sprites->size() > size_t(max_moving_sprites))
		return bad("it has no list of moving sprites");
	if (!within(count, 1, max_moving_sprites) || size == manifest.end() || !size->is_array() || size->size() != 2 ||
	    !size->at(0).is_number() || !size->at(1).is_number())
		return bad("its moving sprites have no count or sizes");
	sticker.count = static_cast<int>(count);
	sticker.smallest = size->at(0).get<float>();
	sticker.largest = size->at(1).get<float>();
	if (!within(sticker.smallest, 0.005F, 0.5F) || !within(sticker.largest, sticker.smallest, 0.5F))
		return bad("its moving sprites have impossible sizes");
	for (const json &name : *sprites) {
		size_t index = 0;
		if (ReadResult result = loader.load(name, index); !result)
			return result;
	}
	sticker.moving_sprites = sticker.sprites.size();
	return {};
}

ReadResult read_items(const json &manifest, SpriteLoader &loader, Sticker &sticker)
{
	constexpr size_t max_items = 16;
	const auto items = manifest.find("items");
	if (items == manifest.end())
		return {};
	if (!items->is_array() || items->size() > max_items)
		return bad("its items are no list");
	for (const json &entry : *items) {
		if (!entry.is_object() || !entry.contains("sprite"))
			return bad("an item has no sprite");
		StickerItem item = {};
		if (ReadResult result = loader.load(entry["sprite"], item.sprite); !result)
			return result;
		const auto anchor = entry.find("anchor");
		if (anchor == entry.end() ||
		    std::find(std::begin(anchors), std::end(anchors), *anchor) == std::end(anchors))
			return bad("an item has an unknown anchor");
		item.anchor = anchor->get<std::string>();
		item.size = number_of(entry, "size", 0);
		item.rotation_degrees = number_of(entry, "rotation", 0);
		const auto offset = entry.find("offset");
		const bool has_offset = offset != entry.end() && offset->is_array() && offset->size() == 2;
		for (size_t axis = 0; axis < 2; ++axis) {
			const bool given = has_offset && offset->at(axis).is_number();
			item.offset[axis] = given ? offset->at(axis).get<float>() : std::nanf("");
		}
		if (!within(item.size, 0.01F, 10) || !within(item.rotation_degrees, -360, 360) ||
		    !within(item.offset[0], -10, 10) || !within(item.offset[1], -10, 10))
			return bad("an item has impossible numbers");
		sticker.items.push_back(std::move(item));
	}
	return {};
}

ReadResult read_quad(const json &entry, SpriteLoader &loader, Sticker &sticker)
{
	if (!entry.is_object() || !entry.contains("sprite"))
		return bad("a quad has no sprite");
	StickerQuad quad = {};
	if (ReadResult result = loader.load(entry["sprite"], quad.sprite); !result)
		return result;
	const auto corners = entry.find("corners");
	if (corners == entry.end() || !corners->is_array() || corners->size() != 4)
		return bad("a quad has not four corners");
	for (size_t corner = 0; corner < 4; ++corner) {
		const json &place = corners->at(corner);
		if (!place.is_array() || place.size() != 3)
			return bad("a corner has not three numbers");
		for (size_t axis = 0; axis < 3; ++axis) {
			quad.corners[corner][axis] = place[axis].is_number() ? place[axis].get<float>() : std::nanf("");
			if (!within(quad.corners[corner][axis], -1000, 1000))
				return bad("a corner has impossible numbers");
		}
	}
	sticker.quads.push_back(quad);
	return {};
}

// A sine that is the same on every machine: whole turns in 1024 steps, 14 fraction bits.
class Sines {
public:
	Sines()
	{
		constexpr double turn = 6.28318530717958647692;
		for (size_t step = 0; step < values_.size(); ++step) {
			const double value =
				std::sin(turn * static_cast<double>(step) / static_cast<double>(values_.size()));
			values_[step] = static_cast<int16_t>(std::lrint(value * 16384));
		}
	}

	// Between two steps by a straight line: a slow motion would be seen to move from step to step.
	float at(float turns) const
	{
		const float place = turns * 1024.0F;
		const float whole = std::floor(place);
		const auto step = static_cast<int64_t>(whole);
		const float here = value(step);
		return here + (value(step + 1) - here) * (place - whole);
	}

private:
	float value(int64_t step) const
	{
		return static_cast<float>(values_[static_cast<size_t>(step & 1023)]) / 16384.0F;
	}

	std::array<int16_t, 1024> values_;
};

const Sines &sines()
{
	static const Sines table;
	return table;
}

// 0..1 for a sprite's number and a purpose; a well mixed integer hash.
float random_of(uint64_t number, uint64_t purpose)
{
	uint64_t value = number * 0x9E3779B97F4A7C15ULL + purpose * 0xBF58476D1CE4E5B9ULL + 1;
	value ^= value >> 30;
	value *= 0xBF58476D1CE4E5B9ULL;
	value ^= value >> 27;
	value *= 0x94D049BB133111EBULL;
	value ^= value >> 31;
	return static_cast<float>(value >> 40) / 16777216.0F;
}

// A moment of the animation. In integers: after a day a float would move in jumps. The unit divides a microsecond, and
// a thirtieth of a second has a whole number of them.
using Moment = uint64_t;
constexpr Moment units_a_microsecond = 30;
constexpr Moment units_a_thirtieth = 1'000'000;

// The part of a whole turn that is gone at this moment at this many turns a second.
float turns_of(Moment moment, float turns_a_second)
{
	// Of 2^32 parts of a turn. What a thirtieth of a second adds is a whole number, and what overflows is whole
	// turns.
	const auto rate = static_cast<uint64_t>(turns_a_second * (4294967296.0F / 30.0F));
	const uint64_t parts =
		moment / units_a_thirtieth * rate + moment % units_a_thirtieth * rate / units_a_thirtieth;
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
	const Moment length = thirtieths * units_a_thirtieth;
	const Moment shifted = moment + static_cast<uint64_t>(random_of(number, 2) * static_cast<float>(thirtieths)) *
						units_a_thirtieth;
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
	const auto wave = [&](float turns_a_second, uint64_t purpose) {
		return sines().at(turns_of(moment, turns_a_second) + random_of(number, purpose));
	};
	const float slow = 0.035F + 0.03F * random_of(number, 1);
	const float x = 0.5F + 0.36F * wave(slow, 2) + 0.13F * wave(2.3F * slow, 3);
	const float y = 0.42F + 0.26F * wave(1.3F * slow, 4) + 0.10F * wave(3.1F * slow, 5) + 0.012F * wave(1.7F, 6);
	const float beat = wave(1.6F + 1.2F * random_of(number, 7), 8);
	return {x, y, 0.07F * wave(2 * slow, 9), 0.42F + 0.58F * std::abs(beat)};
}

PlacedSprite place(const Image &image, const Pose &pose, float sprite_height, int width, int height)
{
	const float scale = sprite_height / static_cast<float>(image.height);
	const float cosine = sines().at(pose.turns + 0.25F);
	const float sine = sines().at(pose.turns);
	const float half_width = 0.5F * scale * pose.width_scale * static_cast<float>(image.width);
	const float half_height = 0.5F * sprite_height;

	PlacedSprite result = {};
	result.image = &image;
	result.centre_x = pose.x * static_cast<float>(width);
	result.centre_y = pose.y * static_cast<float>(height);
	result.u_x = cosine / (scale * pose.width_scale);
	result.u_y = sine / (scale * pose.width_scale);
	result.v_x = -sine / scale;
	result.v_y = cosine / scale;
	const float reach_x = std::abs(cosine) * half_width + std::abs(sine) * half_height;
	const float reach_y = std::abs(sine) * half_width + std::abs(cosine) * half_height;
	result.left = std::max(0, static_cast<int>(std::floor(result.centre_x - reach_x)));
	result.right = std::min(width, static_cast<int>(std::ceil(result.centre_x + reach_x)) + 1);
	result.top = std::max(0, static_cast<int>(std::floor(result.centre_y - reach_y)));
	result.bottom = std::min(height, static_cast<int>(std::ceil(result.centre_y + reach_y)) + 1);
	return result;
}

// A premultiplied pixel between four of the sprite, in 1/256 of a level. Outside it is transparent.
void sample(const Image &image, int u, int v, int *out)
{
	const int x = u >> 8;
	const int y = v >> 8;
	const int right = u & 255;
	const int low = v & 255;
	const int weights[4] = {(256 - right) * (256 - low), right * (256 - low), (256 - right) * low, right * low};
	for (int channel = 0; channel < 4; ++channel)
		out[channel] = 0;
	for (int corner = 0; corner < 4; ++corner) {
		const int px = x + (corner & 1);
		const int py = y + (corner >> 1);
		if (px < 0 || py < 0 || px >= image.width || py >= image.height)
			continue;
		const uint8_t *pixel = image.pixel(px, py);
		for (int channel = 0; channel < 4; ++channel)
			out[channel] += weights[corner] * pixel[channel];
	}
	for (int channel = 0; channel < 4; ++channel)
		out[channel] >>= 8;
}

// `over` is premultiplied, 256 to a level; the pixel below has straight alpha.
void lay_over(uint8_t *pixel, const int *over)
{
	constexpr int full = 255 * 256;
	const int rest = full - over[3];
	if (pixel[3] == 255) {
		for (int channel = 0; channel < 3; ++channel) {
			const int below = static_cast<int>(int64_t{pixel[channel]} * rest / 255);
			pixel[channel] = static_cast<uint8_t>(std::min((over[channel] + below + 128) >> 8, 255));
		}
		return;
	}
	const int below_alpha = static_cast<int>(int64_t{pixel[3]} * rest / 255);
	const int alpha = over[3] + below_alpha;
	if (alpha == 0)
		return;
	for (int channel = 0; channel < 3; ++channel) {
		const int64_t sum = int64_t{over[channel]} * 255 + int64_t{pixel[channel]} * below_alpha;
		pixel[channel] = static_cast<uint8_t>(std::min<int64_t>((sum + alpha / 2) / alpha, 255));
	}
	pixel[3] = static_cast<uint8_t>(std::min((alpha + 128) >> 8, 255));
}

} // namespace

ReadResult load_sticker(const char *path, Sticker &sticker)
{
	Bundle bundle;
	if (ReadResult result = bundle.open(path, "sticker"); !result)
		return result;
	const json &manifest = bundle.manifest();
	const auto placement = manifest.find("placement");
	if (placement == manifest.end() || (*placement != "screen" && *placement != "face"))
		return bad("its placement is neither screen nor face");
	sticker.on_screen = *placement == "screen";
	SpriteLoader loader(bundle, sticker);
	if (ReadResult result = read_motion(manifest, loader, sticker); !result)
		return result;
	if (ReadResult result = read_items(manifest, loader, sticker); !result)
		return result;
	return sticker.sprites.empty() ? bad("there is nothing in it to draw") : ReadResult{};
}

ReadResult load_3d_sticker(const char *path, Sticker &sticker)
{
	constexpr size_t max_quads = 16;
	Bundle bundle;
	if (ReadResult result = bundle.open(path, "sticker3d"); !result)
		return result;
	const auto quads = bundle.manifest().find("quads");
	if (quads == bundle.manifest().end() || !quads->is_array() || quads->empty() || quads->size() > max_quads)
		return bad("it has no list of quads");
	SpriteLoader loader(bundle, sticker);
	for (const json &entry : *quads) {
		if (ReadResult result = read_quad(entry, loader, sticker); !result)
			return result;
	}
	return {};
}

int place_sprites(const Sticker &sticker, int64_t age_us, int width, int height, PlacedSprite *placed)
{
	const Moment moment = static_cast<Moment>(std::max<int64_t>(age_us, 0)) * units_a_microsecond;
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

void draw_sprites(const PlacedSprite *placed, int count, int y, uint8_t *row)
{
	for (int index = 0; index < count; ++index) {
		const PlacedSprite &sprite = placed[index];
		if (y < sprite.top || y >= sprite.bottom)
			continue;
		// Fixed point, 16 fraction bits: sprites are small.
		constexpr float one = 65536.0F;
		const float dx = static_cast<float>(sprite.left) + 0.5F - sprite.centre_x;
		const float dy = static_cast<float>(y) + 0.5F - sprite.centre_y;
		const float half_width = 0.5F * static_cast<float>(sprite.image->width);
		const float half_height = 0.5F * static_cast<float>(sprite.image->height);
		auto u = static_cast<int64_t>((sprite.u_x * dx + sprite.u_y * dy + half_width - 0.5F) * one);
		auto v = static_cast<int64_t>((sprite.v_x * dx + sprite.v_y * dy + half_height - 0.5F) * one);
		const auto step_u = static_cast<int64_t>(sprite.u_x * one);
		const auto step_v = static_cast<int64_t>(sprite.v_x * one);
		const int64_t last_u = int64_t{sprite.image->width} << 16;
		const int64_t last_v = int64_t{sprite.image->height} << 16;
		for (int x = sprite.left; x < sprite.right; ++x, u += step_u, v += step_v) {
			if (u <= -65536 || v <= -65536 || u >= last_u || v >= last_v)
				continue;
			int over[4];
			sample(*sprite.image, static_cast<int>(u >> 8), static_cast<int>(v >> 8), over);
			if (over[3] > 0)
				lay_over(row + size_t(x) * 4, over);
		}
	}
}

} // namespace kalvio::engine
