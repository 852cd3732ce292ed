// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/panel_model.h"
#include "panel/pages/pages.h"
#include "panel/widgets/form_builder.h"
#include "panel/widgets/picture_tile.h"
#include "panel/widgets/tiles.h"
#include "params/effect_catalog.h"

#include <QFrame>
#include <array>

namespace kalvio {
namespace {

struct Group {
	StickerKind kind;
	const char *title_key;
	int32_t capabilities; // kl_capability: what the engine needs to draw them
};

constexpr Group groups[] = {
	{StickerKind::Face, "sticker.group.face", KL_CAPABILITY_FACES},
	{StickerKind::Screen, "sticker.group.screen", 0},
	{StickerKind::ThreeD, "sticker.group.3d", KL_CAPABILITY_FACES},
};

using GroupedTiles = std::array<std::vector<Tile>, std::size(groups)>;

std::vector<Tile> existing_stickers(StickerKind kind)
{
	std::vector<Tile> found;
	for (const StickerEntry &entry : sticker_catalog) {
		if (entry.kind == kind && !sticker_resource_path(entry).empty())
			found.push_back({.id = entry.id,
					 .label_key = std::string("sticker.") + entry.id,
					 .is_animated = entry.animated != 0,
					 .picture = preview_path("stickers/" + std::string(entry.id) + ".jpg")});
	}
	return found;
}

// The stickers whose files exist, group by group, looked up once a process.
const GroupedTiles &sticker_tiles()
{
	static const GroupedTiles tiles = [] {
		GroupedTiles found;
		for (size_t i = 0; i < std::size(groups); ++i)
			found[i] = existing_stickers(groups[i].kind);
		return found;
	}();
	return tiles;
}

void add_heading(FormBuilder &form, QBoxLayout *layout, const Group &group)
{
	auto *row = new QHBoxLayout;
	layout->addLayout(row);
	form.addLabel(row, group.title_key);
	row->addStretch(1);
	if (group.capabilities != 0)
		form.addUnsupportedNote(row, group.capabilities);
}

} // namespace

void build_sticker_tab(FormBuilder &form, QVBoxLayout *page)
{
	ParameterSet &set = panel_model().parameters;
	const Card card = form.addCard(page, "tab.sticker", {.reset = [&set] {
					       set.sticker_id.clear();
				       }});
	page->addWidget(card.frame);
	TileGroup tiles(form, card.body, "sid");
	tiles.add_grid(card.body, {{.id = "", .label_key = "sticker.none", .picture = preview_path("original.jpg")}});
	for (size_t i = 0; i < std::size(groups); ++i) {
		// A heading over nothing would only puzzle.
		if (sticker_tiles()[i].empty())
			continue;
		add_heading(form, card.body, groups[i]);
		tiles.add_grid(card.body, sticker_tiles()[i]);
	}
	tiles.bind("sticker.title", &set.sticker_id, [&set](const std::string &id) { set.sticker_id = id; });
}

} // namespace kalvio
