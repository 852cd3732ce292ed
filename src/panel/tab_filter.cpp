// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/pages.h"
#include "panel/rows.h"
#include "panel/targeting.h"
#include "panel/tiles.h"
#include "params/effect_catalog.h"

#include <QFrame>

namespace kalvio {
namespace {

constexpr int columns = 3;

// The filters whose files exist, looked up once a process.
const std::vector<Tile> &filter_tiles()
{
	static const std::vector<Tile> tiles = [] {
		std::vector<Tile> found{{"", "filter.none"}};
		for (const char *id : filter_catalog) {
			if (!filter_resource_path(id).empty())
				found.push_back({id, std::string("filter.") + id});
		}
		return found;
	}();
	return tiles;
}

void store_filter(const std::string &id)
{
	ParameterSet &set = targeting().parameters;
	set.filter_id = id;
	// Who picks a filter wants to see it, also after its strength was pulled down to nothing.
	if (!id.empty() && set.filter_intensity <= 0.0f)
		set.filter_intensity = 0.5f;
}

void reset_filter()
{
	ParameterSet &set = targeting().parameters;
	const ParameterSet defaults;
	set.filter_id = defaults.filter_id;
	set.filter_intensity = defaults.filter_intensity;
}

} // namespace

void build_filter_tab(Rows &rows, QVBoxLayout *page)
{
	ParameterSet &set = targeting().parameters;
	const Card card = rows.addCard(page, "tab.filter", {.reset = reset_filter});
	page->addWidget(card.frame);
	TileGroup tiles(rows, card.body, "fid");
	tiles.add_grid(card.body, filter_tiles(), columns);
	tiles.bind("filter.title", &set.filter_id, store_filter);
	rows.addSliderRow(card.body, "filter.intensity", &set.filter_intensity, false);
}

} // namespace kalvio
