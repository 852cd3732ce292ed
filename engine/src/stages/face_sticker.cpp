// SPDX-License-Identifier: GPL-2.0-or-later
#include "stages/face_sticker.h"

#include "faces/face_regions.h"
#include "nets/net_library.h"
#include "smoothstep.h"
#include "stages/sine_table.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace kalvio::engine {

namespace {

constexpr int nose_bridge_point = 168;
constexpr float centimetres_per_millimetre = 0.1F;
// How far behind the face's surface a part is hidden wholly: the surface is known no better.
constexpr float hidden_behind_cm = 0.4F;
// A head that is turned so far shows nothing of what is put on its face; cosine of the angle to the camera.
constexpr float hidden_towards_camera = 0.1F;
constexpr float shown_towards_camera = 0.35F;

// A way along the head, in its own units (x to the right, y up, z towards the camera), as one in the frame: x to the
// right, y down, z away from the camera.
Point3 turned(const HeadPose &pose, const Point3 &way)
{
	const auto row = [&](size_t axis) {
		return pose.rotation[axis][0] * way.x + pose.rotation[axis][1] * way.y + pose.rotation[axis][2] * way.z;
	};
	return {row(0), -row(1), -row(2)};
}

Point mean_of(const FacePoints &points, std::span<const int> numbers)
{
	Point sum;
	for (const int number : numbers) {
		sum.x += points[size_t(number)].x;
		sum.y += points[size_t(number)].y;
	}
	const auto count = static_cast<float>(numbers.size());
	return {sum.x / count, sum.y / count};
}

// Where an item is held. The corners of the eyes lie still when the eyes move.
struct AnchorPlace {
	std::array<int, 4> points; // their mean
	// The part of the face that the item lies on: while it is covered, the item fades. What sits on the head as a
	// whole has none.
	std::optional<FaceGroup> part;
};

AnchorPlace place_of(StickerAnchor anchor)
{
	const auto one = [](int point) {
		return std::array{point, point, point, point};
	};
	switch (anchor) {
	case StickerAnchor::Eyes:
		return {{33, 133, 362, 263}, FaceGroup::Eyes};
	case StickerAnchor::Forehead:
		return {one(regions::forehead), std::nullopt};
	case StickerAnchor::Nose:
		return {one(regions::nose_tip), FaceGroup::Nose};
	case StickerAnchor::UpperLip:
		return {one(164), FaceGroup::Lips};
	case StickerAnchor::CheekLeft:
		return {one(50), std::nullopt};
	case StickerAnchor::CheekRight:
		return {one(280), std::nullopt};
	case StickerAnchor::TempleLeft:
		return {one(127), std::nullopt};
	case StickerAnchor::TempleRight:
		return {one(356), std::nullopt};
	}
	return {one(regions::nose_tip), FaceGroup::Nose};
}

// 0..256
int opacity_of(const TrackedFace &face, std::optional<FaceGroup> part)
{
	const float turned = smoothstep(hidden_towards_camera, shown_towards_camera, face.pose.towards_camera());
	const float seen = part ? face.confidence[size_t(*part)] : face.presence;
	return static_cast<int>(std::lround(seen * turned * 256.0F));
}

PixelBox box_of(std::span<const PlacedSprite> sprites)
{
	PixelBox box;
	for (const PlacedSprite &sprite : sprites) {
		if (sprite.right <= sprite.left || sprite.bottom <= sprite.top)
			continue;
		if (box.is_empty()) {
			box = {sprite.left, sprite.top, sprite.right, sprite.bottom};
			continue;
		}
		box.left = std::min(box.left, sprite.left);
		box.top = std::min(box.top, sprite.top);
		box.right = std::max(box.right, sprite.right);
		box.bottom = std::max(box.bottom, sprite.bottom);
	}
	return box;
}

} // namespace

std::span<const PlacedSprite> FaceStickers::place(const Sticker *sticker, const Sticker3d *sticker_3d,
						  std::span<const TrackedFace> faces, const HeadGeometry &head,
						  int width, int height)
{
	count_ = 0;
	for (size_t index = 0; index < faces.size(); ++index) {
		const TrackedFace &face = faces[index];
		if (!(face.pose.scale > 0))
			continue;
		if (sticker_3d != nullptr)
			place_quads(*sticker_3d, face, head, depths_[index], width, height);
		if (sticker != nullptr)
			place_items(*sticker, face, width, height);
	}
	return {placed_.data(), count_};
}

void FaceStickers::place_items(const Sticker &sticker, const TrackedFace &face, int width, int height)
{
	const Point3 right = turned(face.pose, {1, 0, 0});
	const Point3 down = turned(face.pose, {0, -1, 0});
	for (const StickerItem &item : sticker.items) {
		const Sprite &sprite = sticker.sprites[item.sprite];
		const AnchorPlace anchor = place_of(item.anchor);
		const Point held = mean_of(face.points, anchor.points);
		const Point3 way = (right * item.offset[0] + down * item.offset[1]) * face.size;
		const float scale = item.size * face.size / static_cast<float>(sprite.width());
		const float cosine = sines().at(item.rotation_degrees / 360 + 0.25F);
		const float sine = sines().at(item.rotation_degrees / 360);
		const Point3 along = (right * cosine + down * sine) * scale;
		const Point3 below = (down * cosine - right * sine) * scale;
		PlacedSprite &placed = placed_[count_++];
		placed = place_sprite(sprite, {{held.x + way.x, held.y + way.y}, along.flat(), below.flat()}, width,
				      height);
		placed.opacity = opacity_of(face, anchor.part);
	}
}

void FaceStickers::place_quads(const Sticker3d &sticker, const TrackedFace &face, const HeadGeometry &head,
			       HeadDepth &depth, int width, int height)
{
	const size_t first = count_;
	const Point3 &origin = face.points[nose_bridge_point];
	const float pixels_per_millimetre = face.pose.scale * centimetres_per_millimetre;
	for (const StickerQuad &quad : sticker.quads) {
		const Sprite &sprite = sticker.sprites[quad.sprite];
		const auto corner = [&](size_t number) {
			const float(&place)[3] = quad.corners[number];
			return origin + turned(face.pose, {place[0], place[1], place[2]}) * pixels_per_millimetre;
		};
		const Point3 middle = (corner(0) + corner(2)) * 0.5F;
		const Point3 along = (corner(1) - corner(0)) * (1 / static_cast<float>(sprite.width()));
		const Point3 below = (corner(3) - corner(0)) * (1 / static_cast<float>(sprite.height()));
		PlacedSprite &placed = placed_[count_++];
		placed = place_sprite(sprite, {middle.flat(), along.flat(), below.flat()}, width, height);
		placed.opacity = opacity_of(face, std::nullopt);
		placed.head = &depth;
		placed.hidden_behind = hidden_behind_cm * face.pose.scale;
		placed.depth = -middle.z;
		// A plane: the way in the frame of one pixel along and one down, with what each brings nearer.
		const float determinant = along.x * below.y - along.y * below.x;
		if (determinant != 0) {
			placed.depth_x = (-along.z * below.y + below.z * along.y) / determinant;
			placed.depth_y = (-below.z * along.x + along.z * below.x) / determinant;
		}
	}
	depth.draw(face.points, head.triangles, box_of({placed_.data() + first, count_ - first}));
}

float strongest_presence(std::span<const TrackedFace> faces)
{
	float strongest = 0;
	for (const TrackedFace &face : faces)
		strongest = std::max(strongest, face.presence);
	return strongest;
}

} // namespace kalvio::engine
