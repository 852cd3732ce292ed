// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/effect_catalog.h"

#include <algorithm>
#include <obs-module.h>
#include <util/bmem.h>
#include <util/platform.h>

namespace kalvio {

namespace {

constexpr const char *filter_ids[] = {
	"initial_heart", "first_love", "vivid",  "confession", "milk_tea",      "mousse", "japanese",
	"dawn",          "cookie",     "lively", "pure",       "fair",          "snow",   "plain",
	"natural",       "rose",       "tender", "tender_2",   "extraordinary",
};

constexpr StickerEntry stickers[] = {
	{"black_glass", StickerKind::Face, 0},   {"fox", StickerKind::Face, 0},
	{"kiss2", StickerKind::Face, 0},         {"mustache", StickerKind::Face, 0},
	{"fan_club", StickerKind::Face, 0},      {"falling_sakura", StickerKind::Face, 1},
	{"falling_pigs", StickerKind::Face, 1},  {"butterfly", StickerKind::Screen, 1},
	{"petals", StickerKind::Screen, 1},      {"oculos", StickerKind::ThreeD, 0},
	{"red_glasses", StickerKind::ThreeD, 0},
};

constexpr BackgroundPreset presets[] = {
	{"office", "bg.preset.office"}, {"living", "bg.preset.living"},     {"bookshelf", "bg.preset.bookshelf"},
	{"cafe", "bg.preset.cafe"},     {"outdoor", "bg.preset.outdoor"},   {"city", "bg.preset.city"},
	{"studio", "bg.preset.studio"}, {"abstract", "bg.preset.abstract"},
};

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

} // namespace

constinit const std::span<const char *const> filter_catalog = filter_ids;
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

std::string resolve_module_file(const char *relative_path)
{
	char *found = obs_find_module_file(obs_current_module(), relative_path);
	if (!found)
		return {};
	std::string path = found;
	bfree(found);
	return os_file_exists(path.c_str()) ? path : std::string();
}

std::string filter_resource_path(const char *id)
{
	if (is_empty(id))
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
