// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/tiles.h"

#include "panel/widgets/form_builder.h"
#include "panel/widgets/picture_tile.h"
#include "panel/widgets/smooth_button.h"

#include <QButtonGroup>
#include <QGridLayout>
#include <QLabel>
#include <algorithm>

namespace kalvio {
namespace {

constexpr int tile_spacing = 8;
constexpr int tile_columns = 3;
constexpr int tag_height = 10;

struct TileCell {
	QWidget *cell;
	SmoothButton *button;
};

SmoothButton *make_text_button(QWidget *parent)
{
	auto *button = new SmoothButton(parent);
	button->setCheckable(true);
	button->setCursor(Qt::PointingHandCursor);
	button->setStyleSheet(QStringLiteral("QPushButton { border:1px solid transparent; background:transparent; "
					     "padding:2px 4px; min-height:22px; }"));
	button->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
	// The columns are equal, whatever their texts ask for.
	button->setMinimumWidth(1);
	return button;
}

TileCell make_tile(FormBuilder &form, QWidget *parent, const char *id_property, const Tile &tile)
{
	auto *cell = new QWidget(parent);
	auto *layout = new QGridLayout(cell);
	layout->setContentsMargins(0, 0, 0, 0);

	SmoothButton *button = tile.picture.empty() ? make_text_button(cell) : make_preview_tile(tile.picture, cell);
	button->setProperty(id_property, QString::fromStdString(tile.id));
	layout->addWidget(button, 0, 0);

	QLabel *tag = nullptr;
	if (tile.is_animated) {
		tag = new QLabel(cell);
		tag->setAttribute(Qt::WA_TransparentForMouseEvents);
		tag->setContentsMargins(0, 0, 4, 0);
		// As low as its letters, so that it ends above those of the tile.
		tag->setFixedHeight(tag_height);
		tag->setStyleSheet(QStringLiteral("color:#fbbf24; font-size:9px; background:transparent;"));
		layout->addWidget(tag, 0, 0, Qt::AlignTop | Qt::AlignRight);
	}
	form.add_translation([button, tag, key = tile.label_key] {
		set_tile_caption(*button, translated(key));
		if (tag) {
			tag->setText(translated("sticker.tag.animated"));
			button->setAccessibleDescription(tag->text());
		}
	});
	return {cell, button};
}

} // namespace

TileGroup::TileGroup(FormBuilder &form, QBoxLayout *layout, const char *id_property)
	: form_(form), id_property_(id_property), group_(new QButtonGroup(layout))
{
	group_->setExclusive(true);
}

void TileGroup::add_grid(QBoxLayout *layout, const std::vector<Tile> &tiles)
{
	auto *grid = new QGridLayout;
	layout->addLayout(grid);
	grid->setHorizontalSpacing(tile_spacing);
	grid->setVerticalSpacing(tile_spacing);
	int i = 0;
	for (const Tile &tile : tiles) {
		const TileCell made = make_tile(form_, grid->parentWidget(), id_property_, tile);
		group_->addButton(made.button, static_cast<int>(ids_.size()));
		ids_.push_back(tile.id);
		grid->addWidget(made.cell, i / tile_columns, i % tile_columns);
		++i;
	}
	// A column without anything in it would leave its share to the others, and tiles of two grids would not line
	// up.
	for (; i < tile_columns; ++i)
		grid->addWidget(new QWidget(grid->parentWidget()), 0, i);
	for (int column = 0; column < tile_columns; ++column)
		grid->setColumnStretch(column, 1);
}

void TileGroup::bind(const char *caption_key, const std::string *id, std::function<void(const std::string &)> store)
{
	form_.add_refresher([group = group_, ids = ids_, id] {
		const auto tile = std::ranges::find(ids, *id);
		check_only(*group, tile == ids.end() ? -1 : static_cast<int>(tile - ids.begin()));
	});
	FormBuilder *form = &form_;
	QObject::connect(group_, &QButtonGroup::idClicked, group_,
			 [form, caption_key, group = group_, property = id_property_, store = std::move(store)] {
				 form->store_choice({.caption_key = caption_key}, [&] {
					 const QAbstractButton *tile = group->checkedButton();
					 store(tile->property(property).toString().toStdString());
				 });
			 });
}

} // namespace kalvio
