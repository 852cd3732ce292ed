// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/reshape_tables.h"

#include <kalvio_engine.h>

namespace kalvio {

namespace {

constexpr ReshapeItem face_items[] = {
	{"face_thin", "Kalvio.FaceThin", KL_RESHAPE_FACE_THIN},
	{"face_narrow", "Kalvio.FaceNarrow", KL_RESHAPE_FACE_NARROW},
	{"face_small", "Kalvio.FaceSmall", KL_RESHAPE_FACE_SMALL},
	{"face_short", "Kalvio.FaceShort", KL_RESHAPE_FACE_SHORT},
	{"face_vshape", "Kalvio.FaceVShape", KL_RESHAPE_FACE_VSHAPE},
	{"cheekbone", "Kalvio.Cheekbone", KL_RESHAPE_CHEEKBONE},
	{"jawbone", "Kalvio.Jawbone", KL_RESHAPE_JAWBONE},
	{"chin", "Kalvio.Chin", KL_RESHAPE_CHIN},
};

constexpr ReshapeItem brow_items[] = {
	{"forehead", "Kalvio.Forehead", KL_RESHAPE_FOREHEAD},
	{"brow_position", "Kalvio.BrowPosition", KL_RESHAPE_BROW_POSITION},
	{"brow_distance", "Kalvio.BrowDistance", KL_RESHAPE_BROW_DISTANCE},
	{"brow_thickness", "Kalvio.BrowThickness", KL_RESHAPE_BROW_THICKNESS},
};

constexpr ReshapeItem eye_items[] = {
	{"eye_size", "Kalvio.EyeSize", KL_RESHAPE_EYE_SIZE},
	{"eye_round", "Kalvio.EyeRound", KL_RESHAPE_EYE_ROUND},
	{"eye_distance", "Kalvio.EyeDistance", KL_RESHAPE_EYE_DISTANCE},
	{"eye_position", "Kalvio.EyePosition", KL_RESHAPE_EYE_POSITION},
	{"eye_angle", "Kalvio.EyeAngle", KL_RESHAPE_EYE_ANGLE},
	{"eye_corner_open", "Kalvio.EyeCornerOpen", KL_RESHAPE_EYE_CORNER_OPEN},
	{"lower_eyelid", "Kalvio.LowerEyelid", KL_RESHAPE_LOWER_EYELID},
};

constexpr ReshapeItem nose_items[] = {
	{"nose_slim", "Kalvio.NoseSlim", KL_RESHAPE_NOSE_SLIM},
	{"nose_long", "Kalvio.NoseLong", KL_RESHAPE_NOSE_LONG},
};

constexpr ReshapeItem mouth_items[] = {
	{"philtrum", "Kalvio.Philtrum", KL_RESHAPE_PHILTRUM},
	{"mouth_size", "Kalvio.MouthSize", KL_RESHAPE_MOUTH_SIZE},
	{"mouth_position", "Kalvio.MouthPosition", KL_RESHAPE_MOUTH_POSITION},
	{"mouth_smile", "Kalvio.MouthSmile", KL_RESHAPE_MOUTH_SMILE},
	{"lip_thickness", "Kalvio.LipThickness", KL_RESHAPE_LIP_THICKNESS},
};

constexpr ReshapeItem torso_items[] = {
	{"body_slim", "Kalvio.BodySlim", KL_BODY_RESHAPE_BODY_SLIM},
	{"torso_long", "Kalvio.TorsoLong", KL_BODY_RESHAPE_TORSO_LONG},
	{"waist_slim", "Kalvio.WaistSlim", KL_BODY_RESHAPE_WAIST_SLIM},
	{"bust_enhance", "Kalvio.BustEnhance", KL_BODY_RESHAPE_BUST_ENHANCE},
};

constexpr ReshapeItem arm_items[] = {
	{"shoulder_slim", "Kalvio.ShoulderSlim", KL_BODY_RESHAPE_SHOULDER_SLIM},
	{"arm_slim", "Kalvio.ArmSlim", KL_BODY_RESHAPE_ARM_SLIM},
};

constexpr ReshapeItem leg_items[] = {
	{"leg_slim", "Kalvio.LegSlim", KL_BODY_RESHAPE_LEG_SLIM},
	{"leg_long", "Kalvio.LegLong", KL_BODY_RESHAPE_LEG_LONG},
	{"leg_stretch", "Kalvio.LegStretch", KL_BODY_RESHAPE_LEG_STRETCH},
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

static_assert(face_reshape_count == KL_RESHAPE_COUNT);
static_assert(body_reshape_count == KL_BODY_RESHAPE_COUNT);
static_assert(uses_each_id_once(face_groups, face_reshape_count));
static_assert(uses_each_id_once(body_groups, body_reshape_count));

} // namespace

constinit const std::span<const ReshapeGroup> face_reshape_groups = face_groups;
constinit const std::span<const ReshapeGroup> body_reshape_groups = body_groups;

} // namespace kalvio
