// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/effect_catalog.h"

#include "effect_lists.h"
#include "host/module_files.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

namespace kalvio {

namespace {

constexpr StickerKind kind_of(std::string_view kind)
{
	if (kind == "3d")
		return StickerKind::ThreeD;
	return kind == "screen" ? StickerKind::Screen : StickerKind::Face;
}

constexpr auto make_stickers()
{
	std::array<StickerEntry, std::size(effects::stickers)> entries = {};
	std::ranges::transform(effects::stickers, entries.begin(), [](const effects::Sticker &sticker) {
		return StickerEntry{sticker.id, kind_of(sticker.kind), sticker.animated ? 1 : 0};
	});
	return entries;
}

constexpr auto stickers = make_stickers();

constexpr auto make_presets()
{
	std::array<BackgroundPreset, std::size(effects::backgrounds)> entries = {};
	std::ranges::transform(effects::backgrounds, entries.begin(), [](const effects::Background &background) {
		return BackgroundPreset{background.id, background.label_key};
	});
	return entries;
}

constexpr auto presets = make_presets();

const char *sticker_folder(StickerKind kind)
{
	switch (kind) {
	case StickerKind::ThreeD:
		return "stickers/3d";
	case StickerKind::Screen:
		return "stickers/screen";
	case StickerKind::Face:
		break;
	}
	return "stickers/face";
}

bool is_empty(const char *text)
{
	return !text || !*text;
}

// An id comes from a scene collection, which anybody may have made: it names a file of the data folder and never leads
// out of it.
bool is_file_name(const char *id)
{
	const std::string_view name = id ? id : "";
	return !name.empty() && name.front() != '.' && std::ranges::none_of(name, [](char c) {
		return static_cast<unsigned char>(c) < 0x20 || c == '/' || c == '\\' || c == ':';
	});
}

} // namespace

constinit const std::span<const char *const> filter_catalog = effects::filters;
constinit const std::span<const StickerEntry> sticker_catalog = stickers;
constinit const std::span<const BackgroundPreset> background_presets = presets;

const StickerEntry *find_sticker(const char *id)
{
	if (!id)
		return nullptr;
	const std::string_view wanted = id;
	const auto found = std::ranges::find(sticker_catalog, wanted,
					     [](const StickerEntry &e) { return std::string_view(e.id); });
	return found == sticker_catalog.end() ? nullptr : &*found;
}

std::string filter_resource_path(const char *id)
{
	if (!is_file_name(id))
		return {};
	const std::string name = id;
	return resolve_module_file(("filters/" + name + "/" + name + ".kld").c_str());
}

std::string sticker_resource_path(const StickerEntry &entry)
{
	return resolve_module_file((std::string(sticker_folder(entry.kind)) + "/" + entry.id + ".kld").c_str());
}

std::string background_preset_path(const char *id)
{
	if (is_empty(id))
		return {};
	if (!is_file_name(id))
		return default_background_path();
	const std::string stem = std::string("backgrounds/") + id;
	for (const char *extension : {".jpg", ".png"}) {
		std::string path = resolve_module_file((stem + extension).c_str());
		if (!path.empty())
			return path;
	}
	return default_background_path();
}

std::string default_background_path()
{
	return resolve_module_file("background.jpg");
}

} // namespace kalvio
