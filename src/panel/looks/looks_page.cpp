// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/looks/looks_page.h"

#include "panel/looks/apply_look.h"
#include "panel/looks/look_dialogs.h"
#include "panel/model/panel_model.h"
#include "panel/pages/page_scroll.h"
#include "panel/widgets/focus_ring.h"
#include "panel/widgets/form_builder.h"
#include "panel/widgets/keyboard.h"
#include "panel/widgets/picture_tile.h"
#include "panel/widgets/smooth_button.h"
#include "panel/widgets/tool_tips.h"

#include <QButtonGroup>
#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <algorithm>
#include <utility>

namespace kalvio {
namespace {

constexpr int built_in_columns = 3;
constexpr int own_columns = 2;
constexpr int spacing = 8;

const char *message_key(LookResult result)
{
	switch (result) {
	case LookResult::NotWritten:
		return "look.notWritten";
	case LookResult::Unreadable:
		return "look.unreadable";
	case LookResult::TooLarge:
		return "look.tooLarge";
	case LookResult::Newer:
		return "look.newer";
	case LookResult::TooMany:
		return "look.tooMany";
	default:
		return "look.notALook";
	}
}

SmoothButton *make_tile(QWidget *parent)
{
	auto *tile = new SmoothButton(parent);
	tile->setCheckable(true);
	tile->setCursor(Qt::PointingHandCursor);
	tile->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
	tile->setMinimumWidth(1); // the columns are equal, whatever their texts ask for
	tile->setFixedHeight(32);
	return tile;
}

QGridLayout *make_grid(QWidget *parent, int columns)
{
	auto *grid = new QGridLayout(parent);
	grid->setContentsMargins(0, 0, 0, 0);
	grid->setSpacing(spacing);
	for (int column = 0; column < columns; ++column)
		grid->setColumnStretch(column, 1);
	return grid;
}

void show_applied(QButtonGroup &group, const std::vector<StoredLook> &looks)
{
	const auto applied = std::ranges::find_if(looks, is_look_applied);
	check_only(group, applied == looks.end() ? -1 : static_cast<int>(applied - looks.begin()));
}

} // namespace

LooksPage::LooksPage(FormBuilder &form, std::function<void()> go_back, QWidget *parent)
	: QWidget(parent), form_(form), built_in_(built_in_looks()), own_(user_looks())
{
	setObjectName(QStringLiteral("looksPage"));
	auto *layout = new QVBoxLayout(this);
	layout->setContentsMargins(0, 0, 0, 8);
	layout->setSpacing(spacing);
	form_.addBackRow(layout, 0, std::move(go_back));
	content_ = new QWidget(this);
	layout->addWidget(content_, 1);
	auto *content_layout = new QVBoxLayout(content_);
	content_layout->setContentsMargins(0, 0, 0, 0);
	const PageScroll page = make_page_scroll(content_);
	content_layout->addWidget(page.area, 1);
	add_built_in(page.layout);
	add_own(page.layout);
	page.layout->addStretch(1);
	add_actions(content_layout);
	fill_own();
}

LooksPage::~LooksPage() = default;

void LooksPage::add_built_in(QVBoxLayout *layout)
{
	const Card card = form_.addCard(layout, "look.builtIn", {});
	layout->addWidget(card.frame);
	auto *tiles = new QWidget(card.frame);
	card.body->addWidget(tiles);
	QGridLayout *grid = make_grid(tiles, built_in_columns);
	built_in_group_ = new QButtonGroup(tiles);
	int i = 0;
	for (const StoredLook &look : built_in_) {
		const std::string preview = preview_path("looks/" + look.name + ".jpg");
		SmoothButton *tile = preview.empty() ? make_tile(tiles) : make_preview_tile(preview, tiles);
		built_in_group_->addButton(tile, i);
		grid->addWidget(tile, i / built_in_columns, i % built_in_columns);
		form_.add_translation([tile, key = look.label_key] { set_tile_caption(*tile, translated(key)); });
		++i;
	}
	connect(built_in_group_, &QButtonGroup::idClicked, this,
		[this](int id) { choose(built_in_[static_cast<size_t>(id)]); });
}

void LooksPage::add_own(QVBoxLayout *layout)
{
	const Card card = form_.addCard(layout, "look.own", {});
	layout->addWidget(card.frame);
	none_ = form_.addMutedLabel(card.body, "look.none");
	none_->setWordWrap(true);
	own_layout_ = card.body;
}

void LooksPage::add_actions(QVBoxLayout *layout)
{
	auto *box = new QWidget(content_);
	layout->addWidget(box);
	auto *grid = make_grid(box, 2);
	grid->setContentsMargins(12, 0, 12, 0);
	name_ = new QLineEdit(box);
	name_->setObjectName(QStringLiteral("lookName"));
	name_->setMaxLength(static_cast<int>(longest_look_name));
	name_->setMinimumHeight(28);
	grid->addWidget(name_, 0, 0, 1, 2);
	const auto add = [&](const char *key, int row, int column, void (LooksPage::*action)()) {
		auto *button = new QPushButton(box);
		button->setObjectName(QStringLiteral("quiet"));
		button->setCursor(Qt::PointingHandCursor);
		form_.add_translation([button, key] { button->setText(translated(key)); });
		connect(button, &QPushButton::clicked, this, action);
		grid->addWidget(button, row, column);
		return button;
	};
	add("look.save", 1, 0, &LooksPage::save);
	rename_ = add("look.rename", 1, 1, &LooksPage::rename);
	add("look.import", 2, 0, &LooksPage::import);
	export_ = add("look.export", 2, 1, &LooksPage::export_chosen);
	delete_ = add("look.delete", 3, 1, &LooksPage::delete_chosen);
	connect(name_, &QLineEdit::returnPressed, this, &LooksPage::save);

	message_ = new QLabel(box);
	message_->setObjectName(QStringLiteral("lookMessage"));
	message_->setWordWrap(true);
	grid->addWidget(message_, 4, 0, 1, 2);
	message_->hide();
	form_.add_translation([this] {
		name_->setPlaceholderText(translated("look.name"));
		name_->setAccessibleName(translated("look.name"));
		message_->hide();
	});
}

void LooksPage::fill_own()
{
	if (own_tiles_)
		own_tiles_->deleteLater();
	own_tiles_ = new QWidget(own_layout_->parentWidget());
	own_layout_->addWidget(own_tiles_);
	QGridLayout *grid = make_grid(own_tiles_, own_columns);
	own_group_ = new QButtonGroup(own_tiles_);
	for (int i = 0; i < static_cast<int>(own_.size()); ++i) {
		SmoothButton *tile = make_tile(own_tiles_);
		tile->setText(QString::fromStdString(own_[static_cast<size_t>(i)].name));
		tile->setAccessibleName(tile->text());
		own_group_->addButton(tile, i);
		grid->addWidget(tile, i / own_columns, i % own_columns);
	}
	connect(own_group_, &QButtonGroup::idClicked, this, [this](int id) {
		const StoredLook look = own_[static_cast<size_t>(id)]; // the list may be read anew
		chosen_ = look.name;
		name_->setText(QString::fromStdString(look.name));
		choose(look);
	});
	// What the panel gave the widgets that it was built with.
	make_operable_by_keyboard(*own_tiles_);
	show_keyboard_focus(*own_tiles_, [this] { return form_.is_syncing(); });
	show_tool_tips(*own_tiles_);
	own_tiles_->setVisible(!own_.empty());
	show_or_hide(*none_, own_.empty());
	show_applied(*own_group_, own_);
}

void LooksPage::reload()
{
	own_ = user_looks();
	const auto is_chosen = [this](const StoredLook &look) {
		return look.name == chosen_;
	};
	if (std::ranges::none_of(own_, is_chosen))
		chosen_.clear();
	fill_own();
	refresh(controls_enabled());
}

void LooksPage::refresh(bool is_usable)
{
	content_->setEnabled(is_usable);
	show_applied(*built_in_group_, built_in_);
	show_applied(*own_group_, own_);
	for (QPushButton *button : {rename_, delete_, export_})
		button->setEnabled(!chosen_.empty());
}

void LooksPage::choose(const StoredLook &look)
{
	is_delete_asked_ = false;
	delete_->setText(translated("look.delete"));
	message_->hide();
	if (!form_.is_syncing())
		apply_look(look);
	refresh(controls_enabled());
}

void LooksPage::report(LookResult result, const char *done_key)
{
	const char *key = result == LookResult::Done ? done_key : message_key(result);
	message_->setText(translated(key).arg(QString::fromStdString(chosen_)));
	message_->show();
	is_delete_asked_ = false;
	delete_->setText(translated("look.delete"));
	reload();
}

void LooksPage::save()
{
	std::string name = plain_look_name(name_->text().toStdString());
	if (name.empty())
		name = translated("look.title").toStdString();
	const LookResult result = save_look(name, panel_model().parameters);
	if (result == LookResult::Done)
		chosen_ = name;
	report(result, "look.saved");
}

void LooksPage::rename()
{
	std::string name = plain_look_name(name_->text().toStdString());
	if (name.empty())
		return;
	const LookResult result = rename_look(chosen_, name);
	if (result == LookResult::Done)
		chosen_ = name;
	report(result, "look.saved");
}

void LooksPage::delete_chosen()
{
	if (!std::exchange(is_delete_asked_, true)) {
		delete_->setText(translated("look.deleteNow"));
		return;
	}
	report(delete_look(chosen_), "look.deleted");
}

void LooksPage::export_chosen()
{
	choose_look_file_to_write(*this, QString::fromStdString(chosen_), [this](const QString &path) {
		report(export_user_look(chosen_, path.toStdString()), "look.exported");
	});
}

void LooksPage::import()
{
	choose_look_file_to_read(*this, [this](const QString &path) {
		std::string name;
		const LookResult result = import_user_look(path.toStdString(), name);
		if (result == LookResult::Done)
			chosen_ = name;
		report(result, "look.saved");
	});
}

} // namespace kalvio
