// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/panel_model.h"
#include "panel/pages/pages.h"
#include "panel/widgets/form_builder.h"
#include "panel/widgets/picture_tile.h"
#include "panel/widgets/tiles.h"
#include "params/effect_catalog.h"

#include <QFrame>

namespace kalvio {
namespace {

// The filters whose files exist, looked up once a process.
const std::vector<Tile> &filter_tiles()
{
	static const std::vector<Tile> tiles = [] {
		std::vector<Tile> found{
			{.id = "", .label_key = "filter.none", .picture = preview_path("original.jpg")}};
		for (const char *id : filter_catalog) {
			if (!filter_resource_path(id).empty())
				found.push_back({.id = id,
						 .label_key = std::string("filter.") + id,
						 .picture = preview_path("filters/" + std::string(id) + ".jpg")});
		}
		return found;
	}();
	return tiles;
}

void store_filter(const std::string &id)
{
	ParameterSet &set = panel_model().parameters;
	set.filter.id = id;
	// Who picks a filter wants to see it, also after its strength was pulled down to nothing.
	if (!id.empty() && set.filter.intensity <= 0.0f)
		set.filter.intensity = 0.5f;
}

void reset_filter()
{
	panel_model().parameters.filter = {};
}

} // namespace

void build_filter_tab(FormBuilder &form, QVBoxLayout *page)
{
	ParameterSet &set = panel_model().parameters;
	const Card card = form.addCard(page, "tab.filter", {.reset = reset_filter});
	page->addWidget(card.frame);
	TileGroup tiles(form, card.body, "fid");
	tiles.add_grid(card.body, filter_tiles());
	tiles.bind("filter.title", &set.filter.id, store_filter);
	form.addSliderRow(card.body, "filter.intensity", &set.filter.intensity, false);
}

} // namespace kalvio
