// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <functional>
#include <string>
#include <vector>

class QBoxLayout;
class QButtonGroup;

// Tiles: the choices among the catalogued effects of a page.
namespace kalvio {

class FormBuilder;

struct Tile {
	std::string id; // empty: no effect
	std::string label_key;
	bool is_animated = false; // carries the tag that says so
	std::string picture;      // of the effect, shown over its name: a path; empty: none
};

// The tiles of one page: exclusive, also over several grids.
class TileGroup {
public:
	// `id_property` is the property of a tile's button that holds its id.
	TileGroup(FormBuilder &form, QBoxLayout *layout, const char *id_property);

	// A grid of equal columns.
	void add_grid(QBoxLayout *layout, const std::vector<Tile> &tiles);

	// After the grids: binds the group to `*id`: that tile is checked; `store` runs with the id of a tile that the
	// user clicks, which is a change called `caption_key`.
	void bind(const char *caption_key, const std::string *id, std::function<void(const std::string &)> store);

private:
	FormBuilder &form_;
	const char *id_property_;
	QButtonGroup *group_;
	std::vector<std::string> ids_; // by the tile's id in the group
};

} // namespace kalvio
