// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <span>

namespace kalvio {

// One reshape slider.
struct ReshapeItem {
	const char *setting_key; // key of the filter's settings
	const char *label_key;   // key of the module's locale files
	int32_t engine_id;       // id that kl_set_reshape or kl_set_body_reshape takes
};

// A heading and its sliders. The order of the items is the order of the sliders and of the engine calls; it is not the
// order of the ids.
struct ReshapeGroup {
	const char *title_key; // key of the module's locale files
	const ReshapeItem *items;
	int32_t count;
};

inline constexpr int32_t face_reshape_count = 26; // engine ids 0..25, each used once
inline constexpr int32_t body_reshape_count = 9;  // engine ids 0..8, each used once

extern const std::span<const ReshapeGroup> face_reshape_groups;
extern const std::span<const ReshapeGroup> body_reshape_groups;

} // namespace kalvio
