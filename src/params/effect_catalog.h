// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <string>

// The built-in effects and where their files lie in the module's data folder.
namespace kalvio {

// Color filters in panel order. The label key is "filter." + id.
extern const std::span<const char *const> filter_catalog;

enum class StickerKind : int32_t { Face = 0, Screen = 1, ThreeD = 2 };

// The label key is "sticker." + id.
struct StickerEntry {
	const char *id;
	StickerKind kind;
	int32_t animated; // 1: carries the tag "animated"
};

extern const std::span<const StickerEntry> sticker_catalog;

struct BackgroundPreset {
	const char *id;
	const char *label_key;
};

extern const std::span<const BackgroundPreset> background_presets;

// The entry of exactly this id, or null.
const StickerEntry *find_sticker(const char *id);

// Each resolver gives the full path of an existing file, or the empty string. Any thread.

std::string filter_resource_path(const char *id); // null and empty ids have no file
std::string sticker_resource_path(const StickerEntry &entry);
std::string background_preset_path(const char *id); // .jpg, else .png, else the default background; null, "": empty
std::string default_background_path();

} // namespace kalvio
