// SPDX-License-Identifier: GPL-2.0-or-later
#include "driver.h"
#include "panel_driver.h"
#include "probe_case.h"
#include "report.h"

#include <QPainter>
#include <QScrollArea>
#include <algorithm>

// Pictures of the panel in the real OBS, for people: each state as tall as it is, and all of a width on one sheet.
namespace kalvio::probe {

namespace {

constexpr int widths[] = {340, 480};
constexpr int common_height = 640;
constexpr int notice_ms = 20000;

constexpr const char *page_names[panel_pages] = {"1-skin",    "2-shape", "3-makeup",    "4-filter",
						 "5-sticker", "6-body",  "7-background"};

// Pixels of the shown page that must be scrolled for.
int hidden_height()
{
	const QWidget *const page = shown_page();
	return page ? std::max(page->sizeHint().height() - page->parentWidget()->height(), 0) : 0;
}

QImage grab(int width, const char *name)
{
	const QImage picture = panel()->grab().toImage();
	check(picture.width() == width && picture.save(output_file(QString("grab-%1-%2.png").arg(width).arg(name))),
	      QString("a picture is taken: %1, %2 wide").arg(name).arg(picture.width()));
	return picture;
}

QImage grab_page(int width, int page)
{
	resize_panel({width, common_height});
	show_page(page);
	resize_panel({width, common_height + hidden_height()});
	return grab(width, page_names[page]);
}

void save_sheet(int width, const QList<QImage> &pictures)
{
	constexpr int gap = 12;
	int height = 0;
	for (const QImage &picture : pictures)
		height = std::max(height, picture.height());
	QImage sheet(gap + int(pictures.size()) * (width + gap), height + 2 * gap, QImage::Format_RGB32);
	sheet.fill(QColor(0x3a, 0x40, 0x4c));
	QPainter painter(&sheet);
	for (qsizetype i = 0; i < pictures.size(); ++i)
		painter.drawImage(gap + int(i) * (width + gap), gap, pictures.at(i));
	check(sheet.save(output_file(QString("grab-%1-sheet.png").arg(width))), "a sheet of all pages is kept");
}

void grab_pages()
{
	let_layouts_settle();
	for (const int width : widths) {
		QList<QImage> pictures;
		for (int page = 0; page < panel_pages; ++page)
			pictures += grab_page(width, page);
		resize_panel({width, common_height});
		open_settings();
		pictures += grab(width, "8-settings");
		close_settings();
		save_sheet(width, pictures);
	}
	{
		const OBSSourceAutoRelease source = scene_source();
		const OBSSourceAutoRelease filter = kalvio_filter_of(source);
		obs_source_filter_remove(source, filter);
	}
	check(wait_until([] { return !visible_named("banner").isEmpty(); }), "without a filter there is a hint");
	for (const int width : widths) {
		resize_panel({width, common_height});
		show_page(0);
		grab(width, "9-no-filter");
	}
}

void grab_strip(const char *strip, const char *name)
{
	if (!check(wait_until([&] { return !visible_named(strip).isEmpty(); }, notice_ms), "the notice is shown"))
		return;
	for (const int width : widths) {
		resize_panel({width, common_height});
		grab(width, name);
	}
}

void grab_notice()
{
	let_layouts_settle();
	grab_strip("updateSoft", "10-update");
}

void grab_paused_panel()
{
	let_layouts_settle();
	grab_strip("updateForce", "11-paused");
}

constexpr ProbeCase cases[] = {
	{"GrabPages", grab_pages, true},
	{"GrabNotice", grab_notice, true},
	{"GrabPausedPanel", grab_paused_panel, true},
};

} // namespace

std::span<const ProbeCase> grab_cases()
{
	return cases;
}

} // namespace kalvio::probe
