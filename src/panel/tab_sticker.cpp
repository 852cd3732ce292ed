// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/pages.h"
#include "panel/rows.h"
#include "panel/targeting.h"
#include "panel/tiles.h"
#include "params/effect_catalog.h"

#include <QFrame>
#include <array>

namespace kalvio {
namespace {

constexpr int columns = 3;

struct Group {
	StickerKind kind;
	const char *title_key;
};

constexpr Group groups[] = {
	{StickerKind::Face, "sticker.group.face"},
	{StickerKind::Screen, "sticker.group.screen"},
	{StickerKind::ThreeD, "sticker.group.3d"},
};

using GroupedTiles = std::array<std::vector<Tile>, std::size(groups)>;

std::vector<Tile> existing_stickers(StickerKind kind)
{
	std::vector<Tile> found;
	for (const StickerEntry &entry : sticker_catalog) {
		if (entry.kind == kind && !sticker_resource_path(entry).empty())
			found.push_back({entry.id, std::string("sticker.") + entry.id, entry.animated != 0});
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

} // namespace

void build_sticker_tab(Rows &rows, QVBoxLayout *page)
{
	ParameterSet &set = targeting().parameters;
	const Card card = rows.addCard(page, "tab.sticker", {.reset = [&set] {
					       set.sticker_id.clear();
				       }});
	page->addWidget(card.frame);
	TileGroup tiles(rows, card.body, "sid");
	tiles.add_grid(card.body, {{"", "sticker.none"}}, columns);
	for (size_t i = 0; i < std::size(groups); ++i) {
		// A heading over nothing would only puzzle.
		if (sticker_tiles()[i].empty())
			continue;
		rows.addLabel(card.body, groups[i].title_key);
		tiles.add_grid(card.body, sticker_tiles()[i], columns);
	}
	tiles.bind("sticker.title", &set.sticker_id, [&set](const std::string &id) { set.sticker_id = id; });
}

} // namespace kalvio
