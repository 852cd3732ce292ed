// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/sticker_bundle.h"

#include "bundle.h"
#include "image_reader.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

namespace kalvio::engine {

namespace {

using nlohmann::json;

// In the order of StickerAnchor.
constexpr std::string_view anchor_names[] = {"eyes",       "forehead",    "nose",        "upper_lip",
					     "cheek_left", "cheek_right", "temple_left", "temple_right"};

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

// Whether a value is this text. The library's own comparison with a literal is noexcept and allocates: without memory
// it would end the process.
bool is_text(const json &value, std::string_view text)
{
	return value.is_string() && value.get_ref<const std::string &>() == text;
}

// What drawing the moving sprites costs: the pixels of all of them at their largest, as a part of a square as high as
// the frame.
float moving_area(const Sticker &sticker)
{
	float widest = 0; // width of a sprite in its heights
	for (const Sprite &sprite : sticker.sprites)
		widest = std::max(widest, static_cast<float>(sprite.width()) / static_cast<float>(sprite.height()));
	return static_cast<float>(sticker.count) * sticker.largest * sticker.largest * widest;
}

// Reads sprites once each, however often they are named.
class SpriteLoader {
public:
	SpriteLoader(const Bundle &bundle, std::vector<Sprite> &sprites) : bundle_(bundle), sprites_(sprites) {}

	ReadResult load(const json &name, size_t &index)
	{
		if (!name.is_string())
			return bad_format("a sprite is not named by a text");
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
			return bad_format("a sprite is too large");
		names_.push_back(name.get<std::string>());
		sprites_.emplace_back(std::move(image));
		return {};
	}

private:
	const Bundle &bundle_;
	std::vector<Sprite> &sprites_;
	std::vector<std::string> names_;
};

ReadResult read_motion(const json &manifest, SpriteLoader &loader, Sticker &sticker)
{
	const auto motion = manifest.find("motion");
	if (motion == manifest.end())
		return {};
	if (is_text(*motion, "fall"))
		sticker.motion = StickerMotion::Fall;
	else if (is_text(*motion, "flutter"))
		sticker.motion = StickerMotion::Flutter;
	else
		return bad_format("its motion is unknown");

	const auto sprites = manifest.find("sprites");
	const auto size = manifest.find("size");
	const float count = number_of(manifest, "count", 0);
	if (sprites == manifest.end() || !sprites->is_array() || sprites->empty() ||
	    sprites->size() > size_t(max_moving_sprites))
		return bad_format("it has no list of moving sprites");
	if (!within(count, 1, max_moving_sprites) || size == manifest.end() || !size->is_array() || size->size() != 2 ||
	    !size->at(0).is_number() || !size->at(1).is_number())
		return bad_format("its moving sprites have no count or sizes");
	sticker.count = static_cast<int>(count);
	sticker.smallest = size->at(0).get<float>();
	sticker.largest = size->at(1).get<float>();
	if (!within(sticker.smallest, 0.005F, 0.5F) || !within(sticker.largest, sticker.smallest, 0.5F))
		return bad_format("its moving sprites have impossible sizes");
	for (const json &name : *sprites) {
		size_t index = 0;
		if (ReadResult result = loader.load(name, index); !result)
			return result;
	}
	sticker.moving_sprites = sticker.sprites.size();
	if (moving_area(sticker) > max_moving_area)
		return bad_format("its moving sprites cover more than a frame can bear");
	return {};
}

ReadResult read_items(const json &manifest, SpriteLoader &loader, Sticker &sticker)
{
	const auto items = manifest.find("items");
	if (items == manifest.end())
		return {};
	if (!items->is_array() || items->size() > size_t(max_items))
		return bad_format("its items are no list");
	float area = 0;
	for (const json &entry : *items) {
		if (!entry.is_object() || !entry.contains("sprite"))
			return bad_format("an item has no sprite");
		StickerItem item = {};
		if (ReadResult result = loader.load(entry["sprite"], item.sprite); !result)
			return result;
		const auto anchor = entry.find("anchor");
		const auto known = std::ranges::find_if(anchor_names, [&](std::string_view name) {
			return anchor != entry.end() && is_text(*anchor, name);
		});
		if (known == std::end(anchor_names))
			return bad_format("an item has an unknown anchor");
		item.anchor = static_cast<StickerAnchor>(known - std::begin(anchor_names));
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
			return bad_format("an item has impossible numbers");
		const Sprite &sprite = sticker.sprites[item.sprite];
		area += item.size * item.size * static_cast<float>(sprite.height()) /
			static_cast<float>(sprite.width());
		sticker.items.push_back(item);
	}
	return area <= max_face_area ? ReadResult{} : bad_format("its items cover more than a frame can bear");
}

// The sides of a quad from its first corner, in millimetres.
struct QuadSides {
	float along[3];
	float down[3];
};

QuadSides sides_of(const StickerQuad &quad)
{
	QuadSides sides = {};
	for (size_t axis = 0; axis < 3; ++axis) {
		sides.along[axis] = quad.corners[1][axis] - quad.corners[0][axis];
		sides.down[axis] = quad.corners[3][axis] - quad.corners[0][axis];
	}
	return sides;
}

bool is_parallelogram(const StickerQuad &quad)
{
	constexpr float tolerance_mm = 0.5F;
	const QuadSides sides = sides_of(quad);
	for (size_t axis = 0; axis < 3; ++axis) {
		const float fourth = quad.corners[0][axis] + sides.along[axis] + sides.down[axis];
		if (!within(quad.corners[2][axis] - fourth, -tolerance_mm, tolerance_mm))
			return false;
	}
	return true;
}

// In square millimetres.
float area_of(const StickerQuad &quad)
{
	const auto [along, down] = sides_of(quad);
	return std::hypot(along[1] * down[2] - along[2] * down[1], along[2] * down[0] - along[0] * down[2],
			  along[0] * down[1] - along[1] * down[0]);
}

ReadResult read_quad(const json &entry, SpriteLoader &loader, Sticker3d &sticker)
{
	if (!entry.is_object() || !entry.contains("sprite"))
		return bad_format("a quad has no sprite");
	StickerQuad quad = {};
	if (ReadResult result = loader.load(entry["sprite"], quad.sprite); !result)
		return result;
	const auto corners = entry.find("corners");
	if (corners == entry.end() || !corners->is_array() || corners->size() != 4)
		return bad_format("a quad has not four corners");
	for (size_t corner = 0; corner < 4; ++corner) {
		const json &place = corners->at(corner);
		if (!place.is_array() || place.size() != 3)
			return bad_format("a corner has not three numbers");
		for (size_t axis = 0; axis < 3; ++axis) {
			quad.corners[corner][axis] = place[axis].is_number() ? place[axis].get<float>() : std::nanf("");
			if (!within(quad.corners[corner][axis], -1000, 1000))
				return bad_format("a corner has impossible numbers");
		}
	}
	if (!is_parallelogram(quad))
		return bad_format("a quad is no parallelogram");
	sticker.quads.push_back(quad);
	return {};
}

} // namespace

ReadResult load_sticker(const char *path, Sticker &sticker)
{
	Bundle bundle;
	if (ReadResult result = bundle.open(path, "sticker"); !result)
		return result;
	const json &manifest = bundle.manifest();
	const auto placement = manifest.find("placement");
	if (placement == manifest.end() || (!is_text(*placement, "screen") && !is_text(*placement, "face")))
		return bad_format("its placement is neither screen nor face");
	sticker.on_screen = is_text(*placement, "screen");
	SpriteLoader loader(bundle, sticker.sprites);
	if (ReadResult result = read_motion(manifest, loader, sticker); !result)
		return result;
	if (ReadResult result = read_items(manifest, loader, sticker); !result)
		return result;
	return sticker.sprites.empty() ? bad_format("there is nothing in it to draw") : ReadResult{};
}

ReadResult load_3d_sticker(const char *path, Sticker3d &sticker)
{
	Bundle bundle;
	if (ReadResult result = bundle.open(path, "sticker3d"); !result)
		return result;
	const auto quads = bundle.manifest().find("quads");
	if (quads == bundle.manifest().end() || !quads->is_array() || quads->empty() ||
	    quads->size() > size_t(max_quads))
		return bad_format("it has no list of quads");
	SpriteLoader loader(bundle, sticker.sprites);
	float area = 0;
	for (const json &entry : *quads) {
		if (ReadResult result = read_quad(entry, loader, sticker); !result)
			return result;
		area += area_of(sticker.quads.back());
	}
	constexpr float eye_distance_mm = 63; // of the average adult
	return area <= max_face_area * eye_distance_mm * eye_distance_mm
		       ? ReadResult{}
		       : bad_format("its quads cover more than a frame can bear");
}

} // namespace kalvio::engine
