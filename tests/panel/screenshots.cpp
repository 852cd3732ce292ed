// SPDX-License-Identifier: GPL-2.0-or-later
// Draws the panel in all its states into PNG files, and sheets of them to look through. Run by scripts/screenshots.
// KALVIO_HOST_LOOK draws it under the style sheet of a real host (host_look.h).

#include "host_look.h"
#include "kit/log_capture.h"
#include "panel/text/translations.h"
#include "panel_world.h"

#include <QApplication>
#include <QDir>
#include <QPainter>
#include <QPalette>
#include <QPushButton>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <iterator>

using namespace kalvio;
using namespace kalvio::test;

namespace {

constexpr const char *language_names[] = {"en", "zh-Hans", "zh-Hant", "ja", "ko", "pt-BR", "es", "de"};
static_assert(std::size(language_names) == language_count);

struct State {
	const char *name;
	std::function<void(PanelWorld &)> arrange;
};

void add_cameras(PanelWorld &world)
{
	world.add_filter("Camera");
	world.add_filter("Capture card");
	world.poll();
}

// Some values, so that the pictures show sliders and choices at work.
void set_looks()
{
	ParameterSet &set = panel_model().parameters;
	set.skin.smoothing = 0.62f;
	set.skin.whitening = 0.3f;
	set.skin.rosiness = 0.18f;
	set.reshape[0] = 0.35f;
	set.reshape[8] = 0.4f;
	set.reshape[6] = -0.2f;
	set.makeup.lipstick.strength = 0.55f;
	set.makeup.lipstick.color = beauty_params::LipstickColor::Peach;
	set.makeup.blush.strength = 0.25f;
	set.filter.id = "milk_tea";
	set.sticker_id = "butterfly";
	set.body[0] = 0.2f;
	set.background.fill = 1;
	set.background.blur = 0.5f;
	set.background.chroma = 1;
	pushParameters();
}

State page_state(const char *name, int page)
{
	return {name, [page](PanelWorld &world) {
			add_cameras(world);
			set_looks();
			world.panel().refreshControls();
			world.show_page(page);
		}};
}

void open_settings(PanelWorld &world)
{
	add_cameras(world);
	for (auto *button : world.panel().findChildren<QPushButton *>(QStringLiteral("headIcon"))) {
		if (button->isCheckable())
			button->click();
	}
}

const State states[] = {
	page_state("1-skin", SkinPage),
	page_state("2-reshape", ReshapePage),
	page_state("3-makeup", MakeupPage),
	page_state("4-filter", FilterPage),
	page_state("5-sticker", StickerPage),
	page_state("6-body", BodyPage),
	page_state("7-background", BackgroundPage),
	{"8-settings", open_settings},
	{"9-no-filter",
	 [](PanelWorld &) {
	 }},
	{"10-update",
	 [](PanelWorld &world) {
		 add_cameras(world);
		 set_update_status({.soft = true, .latest = "1.0.13", .notes = "Softer skin, faster start"});
	 }},
	{"11-paused",
	 [](PanelWorld &world) {
		 add_cameras(world);
		 set_update_status({.forced = true, .latest = "1.1.0", .notes = "Softer skin"});
	 }},
};

struct Pictures {
	QImage panel; // as a dock of common height shows it
	QImage whole; // as tall as its page
};

Pictures draw(const State &state, int language, int width)
{
	constexpr int common_height = 560;
	PanelWorld world;
	set_language(language);
	world.open_panel(width, common_height);
	state.arrange(world);
	world.poll();
	world.panel().refreshControls();
	settle();
	Pictures pictures;
	pictures.panel = world.panel().grab().toImage();

	int hidden = 0; // pixels that must be scrolled for
	for (int i = SkinPage; i <= BackgroundPage; ++i) {
		if (world.page(i).isVisible())
			hidden = std::max(hidden, world.page(i).height() - world.page(i).parentWidget()->height());
	}
	world.panel().resize(width, common_height + hidden);
	settle();
	pictures.whole = world.panel().grab().toImage();
	return pictures;
}

// Side by side, each picture where there is most room above it.
void write_sheet(const QString &path, const QList<QImage> &pictures)
{
	constexpr int gap = 12;
	constexpr qsizetype columns = 6;
	const int step = pictures.front().width() + gap;
	QList<int> heights(columns, gap);
	QList<QPoint> places;
	for (const QImage &picture : pictures) {
		const auto shortest = std::ranges::min_element(heights);
		places.append({gap + static_cast<int>(shortest - heights.begin()) * step, *shortest});
		*shortest += picture.height() + gap;
	}
	QImage sheet(gap + static_cast<int>(columns) * step, *std::ranges::max_element(heights), QImage::Format_RGB32);
	sheet.fill(QColor(0x3a, 0x40, 0x4c));
	QPainter painter(&sheet);
	for (qsizetype i = 0; i < pictures.size(); ++i) {
		QImage picture = pictures.at(i);
		picture.setDevicePixelRatio(1);
		painter.drawImage(places.at(i), picture);
	}
	sheet.save(path);
}

// A host theme; the panel shows little of it: sliders, tool tips and scroll bars.
void use_palette(bool is_dark)
{
	QPalette palette;
	const QColor window = is_dark ? QColor(0x1d, 0x1f, 0x26) : QColor(0xe5, 0xe5, 0xe5);
	const QColor text = is_dark ? QColor(Qt::white) : QColor(Qt::black);
	palette.setColor(QPalette::Window, window);
	palette.setColor(QPalette::Base, is_dark ? window.darker(120) : QColor(Qt::white));
	palette.setColor(QPalette::Button, is_dark ? QColor(0x3c, 0x40, 0x4d) : QColor(0xd5, 0xd5, 0xd5));
	palette.setColor(QPalette::WindowText, text);
	palette.setColor(QPalette::Text, text);
	palette.setColor(QPalette::ButtonText, text);
	palette.setColor(QPalette::Highlight, QColor(0x28, 0x4c, 0xb8));
	QApplication::setPalette(palette);
}

} // namespace

int main(int argc, char **argv)
{
	if (argc != 4) {
		std::fprintf(stderr, "usage: panel_screenshots FOLDER WIDTH dark|light\n"
				     "The scale is QT_SCALE_FACTOR.\n");
		return 2;
	}
	qputenv("QT_QPA_PLATFORM", "offscreen");
	const QString folder = QString::fromLocal8Bit(argv[1]);
	const int width = QByteArray(argv[2]).toInt();
	QApplication application(argc, argv);
	QApplication::setStyle(QStringLiteral("fusion"));
	if (has_host_look())
		use_host_look();
	else
		use_palette(QByteArray(argv[3]) == "dark");
	if (!QDir().mkpath(folder) || width < 340)
		return 2;
	const LogCapture quiet;
	use_built_data();

	for (int language = 0; language < language_count; ++language) {
		QList<QImage> whole;
		for (const State &state : states) {
			const QString name = QStringLiteral("%1/%2-%3.png")
						     .arg(folder, QLatin1String(language_names[language]),
							  QLatin1String(state.name));
			const Pictures pictures = draw(state, language, width);
			pictures.panel.save(name);
			whole.append(pictures.whole);
		}
		write_sheet(QStringLiteral("%1/sheet-%2.png").arg(folder, QLatin1String(language_names[language])),
			    whole);
	}
	return 0;
}
