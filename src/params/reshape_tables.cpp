// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/reshape_tables.h"

#include <iterator>

namespace kalvio {

namespace {

constexpr ReshapeItem face_items[] = {
	{"face_thin", "Kalvio.FaceThin", 0},     {"face_narrow", "Kalvio.FaceNarrow", 2},
	{"face_small", "Kalvio.FaceSmall", 10},  {"face_short", "Kalvio.FaceShort", 3},
	{"face_vshape", "Kalvio.FaceVShape", 1}, {"cheekbone", "Kalvio.Cheekbone", 4},
	{"jawbone", "Kalvio.Jawbone", 5},        {"chin", "Kalvio.Chin", 6},
};

constexpr ReshapeItem brow_items[] = {
	{"forehead", "Kalvio.Forehead", 11},
	{"brow_position", "Kalvio.BrowPosition", 23},
	{"brow_distance", "Kalvio.BrowDistance", 24},
	{"brow_thickness", "Kalvio.BrowThickness", 25},
};

constexpr ReshapeItem eye_items[] = {
	{"eye_size", "Kalvio.EyeSize", 8},          {"eye_round", "Kalvio.EyeRound", 18},
	{"eye_distance", "Kalvio.EyeDistance", 9},  {"eye_position", "Kalvio.EyePosition", 19},
	{"eye_angle", "Kalvio.EyeAngle", 20},       {"eye_corner_open", "Kalvio.EyeCornerOpen", 21},
	{"lower_eyelid", "Kalvio.LowerEyelid", 22},
};

constexpr ReshapeItem nose_items[] = {
	{"nose_slim", "Kalvio.NoseSlim", 7},
	{"nose_long", "Kalvio.NoseLong", 12},
};

constexpr ReshapeItem mouth_items[] = {
	{"philtrum", "Kalvio.Philtrum", 13},
	{"mouth_size", "Kalvio.MouthSize", 14},
	{"mouth_position", "Kalvio.MouthPosition", 15},
	{"mouth_smile", "Kalvio.MouthSmile", 16},
	{"lip_thickness", "Kalvio.LipThickness", 17},
};

constexpr ReshapeItem torso_items[] = {
	{"body_slim", "Kalvio.BodySlim", 0},
	{"torso_long", "Kalvio.TorsoLong", 8},
	{"waist_slim", "Kalvio.WaistSlim", 1},
	{"bust_enhance", "Kalvio.BustEnhance", 6},
};

constexpr ReshapeItem arm_items[] = {
	{"shoulder_slim", "Kalvio.ShoulderSlim", 3},
	{"arm_slim", "Kalvio.ArmSlim", 4},
};

constexpr ReshapeItem leg_items[] = {
	{"leg_slim", "Kalvio.LegSlim", 2},
	{"leg_long", "Kalvio.LegLong", 5},
	{"leg_stretch", "Kalvio.LegStretch", 7},
};

template <size_t Count>
constexpr ReshapeGroup group(const char *title_key, const ReshapeItem (&items)[Count])
{
	return {title_key, items, static_cast<int32_t>(Count)};
}

constexpr ReshapeGroup face_groups[] = {
	group("Kalvio.GroupFace", face_items),   group("Kalvio.GroupBrow", brow_items),
	group("Kalvio.GroupEye", eye_items),     group("Kalvio.GroupNose", nose_items),
	group("Kalvio.GroupMouth", mouth_items),
};

constexpr ReshapeGroup body_groups[] = {
	group("Kalvio.GroupBodyTorso", torso_items),
	group("Kalvio.GroupBodyArm", arm_items),
	group("Kalvio.GroupBodyLeg", leg_items),
};

// A table that forgot or doubled an id would leave a slider without effect.
constexpr bool uses_each_id_once(std::span<const ReshapeGroup> groups, int32_t id_count)
{
	uint64_t seen = 0;
	int32_t items = 0;
	for (const ReshapeGroup &group : groups) {
		for (int32_t i = 0; i < group.count; i++, items++)
			seen |= uint64_t{1} << group.items[i].engine_id;
	}
	return items == id_count && seen == (uint64_t{1} << id_count) - 1;
}

static_assert(uses_each_id_once(face_groups, face_reshape_count));
static_assert(uses_each_id_once(body_groups, body_reshape_count));

} // namespace

constinit const std::span<const ReshapeGroup> face_reshape_groups = face_groups;
constinit const std::span<const ReshapeGroup> body_reshape_groups = body_groups;

} // namespace kalvio
