// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/search_bar.h"

#include "panel/widgets/form_builder.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

namespace kalvio {
namespace {

constexpr int field_height = 28;
constexpr int row_height = 26;
constexpr int most_rows_seen = 7;
constexpr size_t most_found = 100;
constexpr int longest_query = 100;

} // namespace

SearchBar::SearchBar(FormBuilder &form, std::function<void(const SearchEntry &)> chosen, QWidget *parent)
	: QWidget(parent), chosen_(std::move(chosen)), field_(new QLineEdit(this)), list_(new QListWidget(this))
{
	auto *layout = new QVBoxLayout(this);
	layout->setContentsMargins(12, 0, 12, 8);
	layout->setSpacing(4);
	field_->setObjectName(QStringLiteral("searchField"));
	field_->setMaxLength(longest_query);
	field_->setFixedHeight(field_height);
	field_->setClearButtonEnabled(false);
	field_->installEventFilter(this);
	layout->addWidget(field_);
	list_->setObjectName(QStringLiteral("searchResults"));
	list_->setFocusPolicy(Qt::NoFocus); // the field has the keyboard
	list_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
	list_->setTextElideMode(Qt::ElideRight);
	list_->setUniformItemSizes(true);
	layout->addWidget(list_);
	connect(field_, &QLineEdit::textChanged, this, [this] { show_found(); });
	connect(list_, &QListWidget::itemClicked, this, [this](QListWidgetItem *item) { choose(list_->row(item)); });
	form.add_translation([this] {
		field_->setPlaceholderText(translated("search.title"));
		field_->setAccessibleName(translated("search.title"));
		list_->setAccessibleName(translated("search.title"));
		close_search(); // what it found has other names now
	});
}

void SearchBar::open(std::vector<SearchEntry> entries)
{
	entries_ = std::move(entries);
	field_->clear();
	show_found();
	show();
	field_->setFocus(Qt::ShortcutFocusReason);
}

void SearchBar::close_search()
{
	hide();
	entries_.clear();
	found_.clear();
	list_->clear();
}

void SearchBar::show_found()
{
	found_ = find_entries(entries_, field_->text());
	found_.resize(std::min(found_.size(), most_found));
	list_->clear();
	for (const SearchEntry &entry : found_)
		list_->addItem(entry.name + QStringLiteral("  ·  ") + entry.place);
	const bool has_query = !field_->text().trimmed().isEmpty();
	if (has_query && found_.empty()) {
		list_->addItem(translated("search.none"));
		list_->item(0)->setFlags(Qt::NoItemFlags);
	}
	for (int row = 0; row < list_->count(); ++row)
		list_->item(row)->setSizeHint({0, row_height});
	if (!found_.empty())
		list_->setCurrentRow(0);
	list_->setFixedHeight(std::min(list_->count(), most_rows_seen) * row_height + 2 * list_->frameWidth());
	list_->setVisible(has_query);
}

void SearchBar::choose(int row)
{
	if (row < 0 || static_cast<size_t>(row) >= found_.size())
		return;
	const SearchEntry entry = found_[static_cast<size_t>(row)];
	close_search();
	chosen_(entry);
}

void SearchBar::move_by(int rows)
{
	if (!found_.empty())
		list_->setCurrentRow(std::clamp(list_->currentRow() + rows, 0, static_cast<int>(found_.size()) - 1));
}

bool SearchBar::eventFilter(QObject *watched, QEvent *event)
{
	if (event->type() != QEvent::KeyPress)
		return QWidget::eventFilter(watched, event);
	switch (static_cast<QKeyEvent *>(event)->key()) {
	case Qt::Key_Up:
		move_by(-1);
		return true;
	case Qt::Key_Down:
		move_by(1);
		return true;
	case Qt::Key_PageUp:
		move_by(-most_rows_seen);
		return true;
	case Qt::Key_PageDown:
		move_by(most_rows_seen);
		return true;
	case Qt::Key_Return:
	case Qt::Key_Enter:
		choose(list_->currentRow());
		return true;
	case Qt::Key_Escape:
		close_search();
		return true;
	default:
		return QWidget::eventFilter(watched, event);
	}
}

} // namespace kalvio
