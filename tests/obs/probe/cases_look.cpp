// SPDX-License-Identifier: GPL-2.0-or-later
#include "driver.h"
#include "panel_driver.h"
#include "probe_case.h"
#include "report.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QFont>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QPalette>
#include <QScrollArea>
#include <QScrollBar>
#include <QSlider>
#include <cmath>

// What the panel looks like under OBS's own style sheet: the sizes of its widgets, in any theme and with any font size.
namespace kalvio::probe {

namespace {

constexpr QSize narrowest(340, 600);
constexpr int smallest_caption = 11; // pixels

QString size_text(const QSize &size)
{
	return QString("%1x%2").arg(size.width()).arg(size.height());
}

// Every widget of a list has this size; -1 stands for any width. There is at least one.
void check_sizes(const QList<QWidget *> &widgets, const QSize &wanted, const QString &what)
{
	QString seen = "none is visible";
	bool ok = !widgets.isEmpty();
	if (ok)
		seen = size_text(widgets.front()->size());
	for (const QWidget *widget : widgets) {
		const bool fits = widget->height() == wanted.height() &&
				  (wanted.width() < 0 || widget->width() == wanted.width());
		if (!fits) {
			ok = false;
			seen = size_text(widget->size());
		}
	}
	check(ok, QString("%1: %2").arg(what, size_text(wanted)), seen);
}

void check_font_size(const QList<QWidget *> &widgets, int pixels, const QString &what)
{
	QString seen = "none is visible";
	bool ok = !widgets.isEmpty();
	for (const QWidget *widget : widgets) {
		const int size = widget->fontInfo().pixelSize();
		ok = ok && size == pixels;
		seen = QString::number(size);
	}
	check(ok, QString("the text of %1 is %2 pixels high").arg(what).arg(pixels), seen);
}

void check_header()
{
	const auto *const selector = panel()->findChild<QComboBox *>();
	const int height = std::max(int(std::lround(0.8 * selector->sizeHint().height())), 20);
	check(selector->height() == height, "the selector has 0.8 of its own height",
	      QString("%1 of %2").arg(selector->height()).arg(selector->sizeHint().height()));
	check(height - 2 >= selector->fontMetrics().height(), "a line of text fits into the selector",
	      QString("%1 into %2").arg(selector->fontMetrics().height()).arg(height - 2));
	check_sizes(visible_named("headIcon"), {height, height}, "reset and settings in the header");
	check_sizes(visible_of_class("kalvio::CheckBox"), {18, 18}, "the live toggle");
}

QList<QWidget *> tabs()
{
	const auto buttons = panel()->findChild<QWidget *>("tabBar")->findChildren<QAbstractButton *>();
	return {buttons.begin(), buttons.end()};
}

void check_tab_bar()
{
	check_sizes(visible_named("tabBar"), {-1, 72}, "the tab bar");
	check_sizes(tabs(), {-1, 48}, "its tabs");
	for (QWidget *const tab : tabs()) {
		const auto labels = tab->findChildren<QLabel *>();
		if (labels.size() == 2 && labels.back()->sizeHint().width() > labels.back()->width())
			check(false, "the tab shows its whole caption", labels.back()->text());
	}
}

// The buttons of a page that paint themselves: options, tiles, swatches.
QList<QWidget *> painted_buttons(bool with_picture)
{
	QList<QWidget *> found;
	for (QWidget *const button : visible_of_class("kalvio::SmoothButton"))
		if (shown_page()->isAncestorOf(button) && button->inherits("kalvio::PictureTile") == with_picture)
			found.append(button);
	return found;
}

QList<QWidget *> card_resets()
{
	QList<QWidget *> found;
	for (auto *button : shown_page()->findChildren<QAbstractButton *>())
		if (button->isVisible() && button->objectName().isEmpty() && button->toolTip() == "Reset")
			found.append(button);
	return found;
}

void check_picture_tiles(int page, int count, const QSize &size)
{
	show_page(page);
	const QList<QWidget *> tiles = painted_buttons(true);
	check(tiles.size() == count, QString("page %1 has %2 tiles with a picture").arg(page).arg(count),
	      QString::number(tiles.size()));
	for (const QWidget *const tile : tiles) {
		const QLabel *picture = nullptr;
		const QLabel *caption = nullptr;
		for (const QLabel *const label : tile->findChildren<QLabel *>())
			(label->pixmap().isNull() ? caption : picture) = label;
		if (!check(picture && caption, "a tile has a picture and a caption"))
			continue;
		const bool is_whole = picture->height() >= size.height() && picture->width() >= size.width() &&
				      caption->height() >= caption->sizeHint().height() &&
				      !caption->text().endsWith(u'…') && tile->rect().contains(picture->geometry()) &&
				      tile->rect().contains(caption->geometry());
		check(is_whole,
		      QString("a tile shows %1 pixels of its picture, and its caption: ").arg(size_text(size)) +
			      caption->text(),
		      size_text(picture->size()) + " in " + size_text(tile->size()));
	}
}

void check_no_text_is_cut(const QString &where)
{
	QStringList cut;
	for (QWidget *const widget : visible_of_class("QLabel")) {
		const auto *const label = static_cast<QLabel *>(widget);
		if (label->inherits("kalvio::ElidedLabel") || label->wordWrap() || label->text().isEmpty())
			continue;
		// The tag of an animated sticker is as low as its letters.
		const bool is_too_low = label->maximumHeight() > 10 && label->height() < label->sizeHint().height();
		if (label->width() < label->sizeHint().width() || is_too_low)
			cut += label->text();
	}
	for (const QWidget *const button : painted_buttons(false)) {
		// Where a caption has no room it is painted smaller.
		QFont font = button->font();
		font.setPixelSize(smallest_caption);
		const QString text = static_cast<const QAbstractButton *>(button)->text();
		if (QFontMetrics(font).horizontalAdvance(text) > button->width() - 4)
			cut += text;
	}
	check(cut.isEmpty(), "no text is cut " + where, cut.join(", "));
}

void check_page(int index)
{
	show_page(index);
	check_sizes(card_resets(), {22, 22}, QString("the reset of page %1").arg(index));
	check_font_size(visible_named("cardTitle"), 14, QString("the title of page %1").arg(index));
	if (!visible_named("muted").isEmpty())
		check_font_size(visible_named("muted"), 13, QString("the captions of page %1").arg(index));
	if (!painted_buttons(false).isEmpty())
		check_sizes(painted_buttons(false), {-1, 28}, QString("the options and tiles of page %1").arg(index));
	if (!visible_of_class("QSlider").isEmpty())
		check_sizes(visible_of_class("QSlider"), {-1, 22}, QString("the sliders of page %1").arg(index));
	if (!visible_of_class("kalvio::Switch").isEmpty())
		check_sizes(visible_of_class("kalvio::Switch"), {33, 18}, QString("the switch of page %1").arg(index));
	check_no_text_is_cut(QString("on page %1").arg(index));
}

void check_settings_page()
{
	open_settings();
	check_sizes(visible_of_class("kalvio::Switch"), {33, 18}, "the switch of the settings");
	check_sizes(visible_named("headBtn"), {-1, 26}, "the back button");
	check_no_text_is_cut("in the settings");
	close_settings();
}

void check_all_widgets()
{
	resize_panel(narrowest);
	check(panel()->width() == narrowest.width(), "the panel can be 340 pixels wide",
	      QString::number(panel()->width()));
	check_header();
	check_tab_bar();
	for (int page = 0; page < panel_pages; ++page)
		check_page(page);
	check_picture_tiles(3, 20, {72, 54});
	check_picture_tiles(panel_pages - 1, 8, {96, 54});
	check_sizes(visible_named("quiet"), {-1, 34}, "the buttons below the presets");
	auto *const area = qobject_cast<QScrollArea *>(shown_page()->parentWidget()->parentWidget());
	check(area && area->verticalScrollBar()->width() == 6, "the scroll bar is 6 pixels wide",
	      area ? QString::number(area->verticalScrollBar()->width()) : QString());
	check_settings_page();
}

// Everything that OBS says about looks: what it takes to see the panel under this theme without OBS.
void keep_look()
{
	QFile sheet(output_file("look.qss"));
	check(sheet.open(QIODevice::WriteOnly) && sheet.write(qApp->styleSheet().toUtf8()) > 0,
	      "OBS has a style sheet");
	QJsonObject colors;
	const QPalette palette = QApplication::palette();
	for (int group = 0; group < QPalette::NColorGroups; ++group)
		for (int role = 0; role < QPalette::NColorRoles; ++role)
			if (role != QPalette::NoRole)
				colors.insert(QString("%1/%2").arg(group).arg(role),
					      palette.color(QPalette::ColorGroup(group), QPalette::ColorRole(role))
						      .name(QColor::HexArgb));
	QFile file(output_file("look.json"));
	check(file.open(QIODevice::WriteOnly) && file.write(QJsonDocument(colors).toJson()) > 0,
	      "and a palette, which are kept");
}

void controls_have_their_sizes()
{
	let_layouts_settle();
	if (!check(panel(), "OBS has the panel"))
		return;
	// The label of a window of OBS itself tells the theme's font size.
	const auto *const menu_label = main_window()->findChild<QLabel *>();
	check(menu_label, "OBS has labels of its own",
	      menu_label ? QString("%1 pixels").arg(menu_label->fontInfo().pixelSize()) : QString());
	keep_look();
	check_all_widgets();
	check(panel()->grab().save(output_file("look.png")), "a picture of it is kept");
}

constexpr ProbeCase cases[] = {
	{"ControlsHaveTheirSizes", controls_have_their_sizes},
};

} // namespace

std::span<const ProbeCase> look_cases()
{
	return cases;
}

} // namespace kalvio::probe
