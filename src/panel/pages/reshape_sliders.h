// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QBoxLayout>
#include <cstdint>
#include <span>

namespace kalvio {

class FormBuilder;

// A slider of a reshape page.
struct ReshapeSlider {
	int32_t index; // of the value in its array, which is the engine's id of it
	const char *label_key;
};

// A heading and its sliders, in the order of the page, which is not the order of the indices.
struct ReshapeSliderGroup {
	const char *title_key;
	std::span<const ReshapeSlider> sliders;
};

// What the two reshape pages show. The order is that of face_reshape_groups and body_reshape_groups.
extern const std::span<const ReshapeSliderGroup> face_reshape_sliders;
extern const std::span<const ReshapeSliderGroup> body_reshape_sliders;

// Adds the groups with dividers between them; `values` is indexed by ReshapeSlider::index.
void add_reshape_sliders(FormBuilder &form, QBoxLayout *layout, std::span<const ReshapeSliderGroup> groups,
			 std::span<float> values, bool is_bipolar);

} // namespace kalvio
