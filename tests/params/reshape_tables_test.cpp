// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/reshape_tables.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <vector>

namespace {

using namespace kalvio;

struct Row {
	std::string title_key;
	std::string setting_key;
	std::string label_key;
	int engine_id;

	bool operator==(const Row &) const = default;
	friend std::ostream &operator<<(std::ostream &out, const Row &row)
	{
		return out << row.title_key << ' ' << row.setting_key << ' ' << row.label_key << ' ' << row.engine_id;
	}
};

std::vector<Row> rows_of(std::span<const ReshapeGroup> groups)
{
	std::vector<Row> rows;
	for (const ReshapeGroup &group : groups) {
		for (int i = 0; i < group.count; ++i) {
			const ReshapeItem &item = group.items[i];
			rows.push_back({group.title_key, item.setting_key, item.label_key, item.engine_id});
		}
	}
	return rows;
}

std::vector<int> sorted_ids(std::span<const ReshapeGroup> groups)
{
	std::vector<int> ids;
	for (const Row &row : rows_of(groups))
		ids.push_back(row.engine_id);
	std::sort(ids.begin(), ids.end());
	return ids;
}

TEST(ReshapeTables, FaceTableHasItsRowsInSliderOrder)
{
	const std::vector<Row> expected = {
		{"Kalvio.GroupFace", "face_thin", "Kalvio.FaceThin", 0},
		{"Kalvio.GroupFace", "face_narrow", "Kalvio.FaceNarrow", 2},
		{"Kalvio.GroupFace", "face_small", "Kalvio.FaceSmall", 10},
		{"Kalvio.GroupFace", "face_short", "Kalvio.FaceShort", 3},
		{"Kalvio.GroupFace", "face_vshape", "Kalvio.FaceVShape", 1},
		{"Kalvio.GroupFace", "cheekbone", "Kalvio.Cheekbone", 4},
		{"Kalvio.GroupFace", "jawbone", "Kalvio.Jawbone", 5},
		{"Kalvio.GroupFace", "chin", "Kalvio.Chin", 6},
		{"Kalvio.GroupBrow", "forehead", "Kalvio.Forehead", 11},
		{"Kalvio.GroupBrow", "brow_position", "Kalvio.BrowPosition", 23},
		{"Kalvio.GroupBrow", "brow_distance", "Kalvio.BrowDistance", 24},
		{"Kalvio.GroupBrow", "brow_thickness", "Kalvio.BrowThickness", 25},
		{"Kalvio.GroupEye", "eye_size", "Kalvio.EyeSize", 8},
		{"Kalvio.GroupEye", "eye_round", "Kalvio.EyeRound", 18},
		{"Kalvio.GroupEye", "eye_distance", "Kalvio.EyeDistance", 9},
		{"Kalvio.GroupEye", "eye_position", "Kalvio.EyePosition", 19},
		{"Kalvio.GroupEye", "eye_angle", "Kalvio.EyeAngle", 20},
		{"Kalvio.GroupEye", "eye_corner_open", "Kalvio.EyeCornerOpen", 21},
		{"Kalvio.GroupEye", "lower_eyelid", "Kalvio.LowerEyelid", 22},
		{"Kalvio.GroupNose", "nose_slim", "Kalvio.NoseSlim", 7},
		{"Kalvio.GroupNose", "nose_long", "Kalvio.NoseLong", 12},
		{"Kalvio.GroupMouth", "philtrum", "Kalvio.Philtrum", 13},
		{"Kalvio.GroupMouth", "mouth_size", "Kalvio.MouthSize", 14},
		{"Kalvio.GroupMouth", "mouth_position", "Kalvio.MouthPosition", 15},
		{"Kalvio.GroupMouth", "mouth_smile", "Kalvio.MouthSmile", 16},
		{"Kalvio.GroupMouth", "lip_thickness", "Kalvio.LipThickness", 17},
	};
	EXPECT_EQ(face_reshape_groups.size(), 5u);
	EXPECT_EQ(rows_of(face_reshape_groups), expected);
}

TEST(ReshapeTables, BodyTableHasItsRowsInSliderOrder)
{
	const std::vector<Row> expected = {
		{"Kalvio.GroupBodyTorso", "body_slim", "Kalvio.BodySlim", 0},
		{"Kalvio.GroupBodyTorso", "torso_long", "Kalvio.TorsoLong", 8},
		{"Kalvio.GroupBodyTorso", "waist_slim", "Kalvio.WaistSlim", 1},
		{"Kalvio.GroupBodyTorso", "bust_enhance", "Kalvio.BustEnhance", 6},
		{"Kalvio.GroupBodyArm", "shoulder_slim", "Kalvio.ShoulderSlim", 3},
		{"Kalvio.GroupBodyArm", "arm_slim", "Kalvio.ArmSlim", 4},
		{"Kalvio.GroupBodyLeg", "leg_slim", "Kalvio.LegSlim", 2},
		{"Kalvio.GroupBodyLeg", "leg_long", "Kalvio.LegLong", 5},
		{"Kalvio.GroupBodyLeg", "leg_stretch", "Kalvio.LegStretch", 7},
	};
	EXPECT_EQ(body_reshape_groups.size(), 3u);
	EXPECT_EQ(rows_of(body_reshape_groups), expected);
}

TEST(ReshapeTables, EachFaceIdIsUsedOnce)
{
	std::vector<int> expected(26);
	for (int id = 0; id < 26; ++id)
		expected[static_cast<size_t>(id)] = id;
	EXPECT_EQ(sorted_ids(face_reshape_groups), expected);
	EXPECT_EQ(face_reshape_count, 26);
}

TEST(ReshapeTables, EachBodyIdIsUsedOnce)
{
	EXPECT_EQ(sorted_ids(body_reshape_groups), (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8}));
	EXPECT_EQ(body_reshape_count, 9);
}

} // namespace
