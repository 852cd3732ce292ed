// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/pages/reshape_sliders.h"

#include "panel/widgets/form_builder.h"

namespace kalvio {
namespace {

constexpr ReshapeSlider face_sliders[] = {
	{0, "reshape.faceThin"},   {2, "reshape.faceNarrow"}, {10, "reshape.faceSmall"}, {3, "reshape.faceShort"},
	{1, "reshape.faceVShape"}, {4, "reshape.cheekbone"},  {5, "reshape.jawbone"},    {6, "reshape.chin"},
};

constexpr ReshapeSlider brow_sliders[] = {
	{11, "reshape.forehead"},
	{23, "reshape.browPosition"},
	{24, "reshape.browDistance"},
	{25, "reshape.browThickness"},
};

constexpr ReshapeSlider eye_sliders[] = {
	{8, "reshape.eyeSize"},      {18, "reshape.eyeRound"}, {9, "reshape.eyeDistance"},
	{19, "reshape.eyePosition"}, {20, "reshape.eyeAngle"}, {21, "reshape.eyeCornerOpen"},
	{22, "reshape.lowerEyelid"},
};

constexpr ReshapeSlider nose_sliders[] = {
	{7, "reshape.noseSlim"},
	{12, "reshape.noseLong"},
};

constexpr ReshapeSlider mouth_sliders[] = {
	{13, "reshape.philtrum"},   {14, "reshape.mouthSize"},    {15, "reshape.mouthPosition"},
	{16, "reshape.mouthSmile"}, {17, "reshape.lipThickness"},
};

constexpr ReshapeSliderGroup face_groups[] = {
	{"reshape.face", face_sliders}, {"reshape.brow", brow_sliders},   {"reshape.eye", eye_sliders},
	{"reshape.nose", nose_sliders}, {"reshape.mouth", mouth_sliders},
};

constexpr ReshapeSlider torso_sliders[] = {
	{0, "reshape.bodySlim"},
	{8, "reshape.torsoLong"},
	{1, "reshape.waistSlim"},
	{6, "reshape.bustEnhance"},
};

constexpr ReshapeSlider arm_sliders[] = {
	{3, "reshape.shoulderSlim"},
	{4, "reshape.armSlim"},
};

constexpr ReshapeSlider leg_sliders[] = {
	{2, "reshape.legSlim"},
	{5, "reshape.legLong"},
	{7, "reshape.legStretch"},
};

constexpr ReshapeSliderGroup body_groups[] = {
	{"reshape.bodyTorso", torso_sliders},
	{"reshape.bodyArm", arm_sliders},
	{"reshape.bodyLeg", leg_sliders},
};

} // namespace

constinit const std::span<const ReshapeSliderGroup> face_reshape_sliders = face_groups;
constinit const std::span<const ReshapeSliderGroup> body_reshape_sliders = body_groups;

void add_reshape_sliders(FormBuilder &form, QBoxLayout *layout, std::span<const ReshapeSliderGroup> groups,
			 std::span<float> values, bool is_bipolar)
{
	for (const ReshapeSliderGroup &group : groups) {
		if (&group != &groups.front())
			form.addDivider(layout);
		form.addSection(layout, group.title_key);
		for (const ReshapeSlider &slider : group.sliders) {
			float &value = values[static_cast<size_t>(slider.index)];
			form.addSliderRow(layout, slider.label_key, &value, is_bipolar);
		}
	}
}

} // namespace kalvio
