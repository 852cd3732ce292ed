// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel_world.h"

#include "filter/engine_capabilities.h"
#include "filter/filter_source.h"
#include "kit/history_double.h"
#include "kit/recording_capabilities.h"
#include "panel/text/translations.h"
#include "panel/widgets/smooth_button.h"
#include "params/effect_catalog.h"

#include <QApplication>
#include <QColor>
#include <QFontDatabase>
#include <QImage>
#include <QScrollArea>
#include <QStackedWidget>
#include <algorithm>
#include <filesystem>

namespace kalvio::test {
namespace {

const char *sticker_folder(StickerKind kind)
{
	if (kind == StickerKind::ThreeD)
		return "stickers/3d/";
	return kind == StickerKind::Screen ? "stickers/screen/" : "stickers/face/";
}

void write_picture(const ScratchFolder &folder, const std::string &name, const QColor &color)
{
	QImage picture(320, 180, QImage::Format_RGB32);
	picture.fill(color);
	picture.save(QString::fromStdString(folder.write(name)));
}

void copy_built_file(const ScratchFolder &folder, const char *name)
{
	std::error_code error;
	std::filesystem::copy_file(std::filesystem::path(KALVIO_BUILT_DATA_DIR) / name, folder.file(name), error);
}

void fill_data_folder(const ScratchFolder &folder)
{
	folder.write("resource.kld");
	for (const std::string id : filter_catalog) {
		if (id != missing_filter)
			folder.write("filters/" + id + "/" + id + ".kld");
	}
	for (const StickerEntry &entry : sticker_catalog) {
		if (entry.id != std::string_view(missing_sticker))
			folder.write(std::string(sticker_folder(entry.kind)) + entry.id + ".kld");
	}
	write_picture(folder, std::string("previews/stickers/") + sticker_with_picture + ".jpg", Qt::darkCyan);
	int hue = 0;
	for (const BackgroundPreset &preset : background_presets) {
		const std::string name = std::string("backgrounds/") + preset.id + ".jpg";
		if (preset.id == std::string_view(missing_picture))
			folder.write(name, "not a picture");
		else
			write_picture(folder, name, QColor::fromHsv(hue += 40, 120, 160));
	}
	for (const char *look : {"fresh", "natural", "soft", "evening", "crisp", "film"}) {
		const std::string name = std::string("looks/") + look + ".json";
		folder.write(name);
		std::error_code error;
		std::filesystem::copy_file(std::filesystem::path(KALVIO_TEST_DATA_SOURCE) / name, folder.file(name),
					   std::filesystem::copy_options::overwrite_existing, error);
	}
	copy_built_file(folder, "MaterialIcons-Regular.ttf");
	copy_built_file(folder, "logo-dark.png");
}

bool is_built_data_used = false;

// Never destroyed by the process itself before its end: what it holds is looked up until then.
const ScratchFolder &own_data_folder()
{
	static const ScratchFolder folder;
	return folder;
}

} // namespace

const std::string &data_folder()
{
	static const std::string built = KALVIO_BUILT_DATA_DIR;
	if (is_built_data_used)
		return built;
	static const std::string path = [] {
		fill_data_folder(own_data_folder());
		return own_data_folder().path().generic_string();
	}();
	return path;
}

void remove_data_folder()
{
	QFontDatabase::removeAllApplicationFonts(); // Windows does not remove a file that is open
	std::error_code ignored;
	std::filesystem::remove_all(own_data_folder().path(), ignored);
}

void use_built_data()
{
	is_built_data_used = true;
}

PanelWorld::PanelWorld()
{
	host_double().reset();
	history_double().reset();
	host_double().set_data_folder(data_folder());
	reset_recording_engine();
	set_engine_capabilities(all_capabilities);
	note_engine_capabilities(all_capabilities);
	reset_neighbors();
	set_config_folder(config_.file("config"));
	set_module_folder(data_folder());
	panel_model() = {};
	ui_preferences() = {};
	set_language(LanguageEnglish);
	call_journal().reset();
}

PanelWorld::~PanelWorld()
{
	close_panel();
	remove_all_filters();
	host_double().reset();
}

FakeSource &PanelWorld::add_filter(const std::string &source_name)
{
	Placed placed{std::make_unique<FakeSource>(source_name), std::make_unique<FakeSource>("Kalvio Beauty")};
	placed.source->set_size(64, 36);
	placed.filter->parent = placed.source.get();
	placed.filter->target = placed.source.get();
	placed.filter->create_filter(filter_source_info());
	placed_.push_back(std::move(placed));
	return *placed_.back().filter;
}

void PanelWorld::remove_filter(FakeSource &filter)
{
	filter.destroy_filter();
	std::erase_if(placed_, [&filter](const Placed &placed) { return placed.filter.get() == &filter; });
}

void PanelWorld::remove_all_filters()
{
	while (!placed_.empty())
		remove_filter(*placed_.back().filter);
}

KalvioPanel &PanelWorld::open_panel(int width, int height)
{
	panel_ = std::make_unique<KalvioPanel>();
	panel_->resize(width, height);
	panel_model().refresh = [this] {
		show_changes();
	};
	poll();
	panel_->show();
	settle();
	return *panel_;
}

void PanelWorld::poll()
{
	poll_targets();
	show_changes();
}

void PanelWorld::show_changes()
{
	if (take_changed() && panel_)
		panel_->refreshControls();
}

void settle()
{
	// Hiding and showing goes up and down the tree in several rounds of posted events.
	for (int round = 0; round < 8; ++round) {
		QApplication::sendPostedEvents();
		QApplication::processEvents();
	}
}

SmoothButton &PanelWorld::tab(int index)
{
	return *panel_->findChild<QWidget *>(QStringLiteral("tabBar"))->findChildren<SmoothButton *>().at(index);
}

QWidget &PanelWorld::page(int index)
{
	// The inner stack of the two, and in it the scroll areas.
	QStackedWidget *pages = nullptr;
	for (auto *stack : panel_->findChildren<QStackedWidget *>()) {
		if (stack->count() == 7)
			pages = stack;
	}
	return *static_cast<QScrollArea *>(pages->widget(index))->widget();
}

void PanelWorld::show_page(int index)
{
	tab(index).click();
	settle();
}

double setting_double(FakeSource &filter, const char *key)
{
	return obs_data_get_double(filter.settings, key);
}

long long setting_int(FakeSource &filter, const char *key)
{
	return obs_data_get_int(filter.settings, key);
}

bool setting_bool(FakeSource &filter, const char *key)
{
	return obs_data_get_bool(filter.settings, key);
}

std::string setting_string(FakeSource &filter, const char *key)
{
	return obs_data_get_string(filter.settings, key);
}

} // namespace kalvio::test
