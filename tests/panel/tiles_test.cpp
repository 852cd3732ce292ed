// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel_fixture.h"

#include "panel/widgets/elided_label.h"
#include "panel/widgets/icons.h"
#include "panel/widgets/picture_tile.h"
#include "params/effect_catalog.h"

#include <QButtonGroup>
#include <QFileDialog>
#include <QPushButton>
#include <filesystem>

namespace kalvio::test {
namespace {

class TilesTest : public PanelTest {
protected:
	// The tile of a page whose property holds this id.
	QAbstractButton *tile(int page, const char *property, const char *id)
	{
		for (auto *button : world.page(page).findChildren<QAbstractButton *>()) {
			const QVariant value = button->property(property);
			if (value.isValid() && value.toString() == QLatin1String(id))
				return button;
		}
		return nullptr;
	}

	QStringList ids(int page, const char *property)
	{
		QStringList found;
		for (auto *button : world.page(page).findChildren<QAbstractButton *>()) {
			if (button->property(property).isValid())
				found.append(button->property(property).toString());
		}
		return found;
	}

	void click_tile(int page, const char *property, const char *id)
	{
		world.show_page(page);
		click(*tile(page, property, id));
	}
};

TEST_F(TilesTest, FilterPageListsWhatExistsInTheOrderOfTheCatalog)
{
	world.open_panel();
	QStringList expected{QString()};
	for (const char *id : filter_catalog) {
		if (id != std::string_view(missing_filter))
			expected.append(QLatin1String(id));
	}
	EXPECT_EQ(ids(FilterPage, "fid"), expected);
}

TEST_F(TilesTest, AFilterTileShowsWhatTheFilterDoes_WhereThatPictureExists)
{
	QPixmap picture(144, 108);
	picture.fill(Qt::darkCyan);
	ASSERT_TRUE(std::filesystem::create_directories(data_folder() + "/previews/filters"));
	ASSERT_TRUE(picture.save(QString::fromStdString(data_folder() + "/previews/filters/rose.jpg")));
	PictureTile with_picture(load_cover_picture(QString::fromStdString(preview_path("filters/rose.jpg")), {72, 54}),
				 {72, 54});
	set_tile_caption(with_picture, QStringLiteral("Rose"));
	EXPECT_EQ(with_picture.text(), QStringLiteral("Rose"));
	EXPECT_EQ(with_picture.accessibleName(), QStringLiteral("Rose"));
	EXPECT_EQ(with_picture.iconSize(), QSize(72, 54));
	EXPECT_GE(with_picture.sizeHint().height(), 54 + 11);
	EXPECT_EQ(preview_path("filters/none.jpg"), "");
	SmoothButton plain;
	set_tile_caption(plain, QStringLiteral("Rose"));
	EXPECT_EQ(plain.accessibleName(), QStringLiteral("Rose"));
	std::filesystem::remove_all(data_folder() + "/previews/filters");
}

TEST_F(TilesTest, StickerPageListsWhatExistsByKind)
{
	world.open_panel();
	QStringList expected{QString()};
	for (const StickerKind kind : {StickerKind::Face, StickerKind::Screen, StickerKind::ThreeD}) {
		for (const StickerEntry &entry : sticker_catalog) {
			if (entry.kind == kind && entry.id != std::string_view(missing_sticker))
				expected.append(QLatin1String(entry.id));
		}
	}
	EXPECT_EQ(ids(StickerPage, "sid"), expected);
}

TEST_F(TilesTest, AStickerTileShowsTheSticker_WhereThatPictureExists)
{
	world.open_panel();
	for (const StickerEntry &entry : sticker_catalog) {
		if (entry.id == std::string_view(missing_sticker))
			continue;
		const bool has_picture = entry.id == std::string_view(sticker_with_picture);
		const QAbstractButton *button = tile(StickerPage, "sid", entry.id);
		EXPECT_EQ(qobject_cast<const PictureTile *>(button) != nullptr, has_picture) << entry.id;
		EXPECT_EQ(button->icon().isNull(), !has_picture) << entry.id;
		EXPECT_FALSE(button->accessibleName().isEmpty()) << entry.id;
	}
}

TEST_F(TilesTest, AnimatedStickersCarryATag)
{
	world.open_panel();
	for (const StickerEntry &entry : sticker_catalog) {
		if (entry.id == std::string_view(missing_sticker))
			continue;
		const QAbstractButton *button = tile(StickerPage, "sid", entry.id);
		const auto tags = button->parentWidget()->findChildren<QLabel *>(QString(), Qt::FindDirectChildrenOnly);
		EXPECT_EQ(tags.size(), entry.animated) << entry.id;
	}
}

TEST_F(TilesTest, EveryFilterTileReachesSettingsAndEngine)
{
	FakeSource &filter = world.add_filter("Camera");
	world.open_panel();
	for (const QString &id : ids(FilterPage, "fid").mid(1)) {
		call_journal().reset();
		const std::string name = id.toStdString();
		click_tile(FilterPage, "fid", name.c_str());
		EXPECT_EQ(setting_string(filter, "filter_id"), name);
		EXPECT_TRUE(tile(FilterPage, "fid", name.c_str())->isChecked());
		EXPECT_EQ(last_engine_arguments("kl_set_filter"),
			  std::vector<Argument>{filter_resource_path(name.c_str())});
	}
	call_journal().reset();
	click_tile(FilterPage, "fid", "");
	host_double().tick();
	EXPECT_EQ(setting_string(filter, "filter_id"), "");
	EXPECT_EQ(call_journal().count("kl_clear_filter"), 1u);
}

TEST_F(TilesTest, EveryStickerTileReachesSettingsAndEngine)
{
	FakeSource &filter = world.add_filter("Camera");
	world.open_panel();
	for (const QString &id : ids(StickerPage, "sid").mid(1)) {
		call_journal().reset();
		const std::string name = id.toStdString();
		click_tile(StickerPage, "sid", name.c_str());
		EXPECT_EQ(setting_string(filter, "sticker_id"), name);
		const StickerEntry &entry = *find_sticker(name.c_str());
		const char *loader = entry.kind == StickerKind::ThreeD ? "kl_set_3d_sticker" : "kl_set_sticker";
		EXPECT_EQ(last_engine_arguments(loader), std::vector<Argument>{sticker_resource_path(entry)});
	}
	click_tile(StickerPage, "sid", "");
	EXPECT_EQ(setting_string(filter, "sticker_id"), "");
}

TEST_F(TilesTest, AFilterOfNoStrengthIsPickedAtHalf)
{
	FakeSource &filter = world.add_filter("Camera");
	obs_data_set_double(filter.settings, "filter_intensity", 0.0);
	world.open_panel();
	click_tile(FilterPage, "fid", "");
	EXPECT_EQ(setting_double(filter, "filter_intensity"), 0.0);
	click_tile(FilterPage, "fid", "rose");
	EXPECT_EQ(setting_double(filter, "filter_intensity"), 0.5);
	EXPECT_EQ(find_named<QSlider>(world.panel(), QStringLiteral("Filter amount"))->value(), 50);
}

TEST_F(TilesTest, ATileIsCheckedOnlyForItsOwnId)
{
	FakeSource &filter = world.add_filter("Camera");
	obs_data_set_string(filter.settings, "filter_id", missing_filter);
	obs_data_set_string(filter.settings, "sticker_id", "no_such_sticker");
	world.open_panel();
	for (auto *button : world.page(FilterPage).findChildren<SmoothButton *>())
		EXPECT_FALSE(button->isChecked());
	for (auto *button : world.page(StickerPage).findChildren<SmoothButton *>())
		EXPECT_FALSE(button->isChecked());
}

TEST_F(TilesTest, EveryPresetTileReachesSettingsAndEngine)
{
	FakeSource &filter = world.add_filter("Camera");
	world.open_panel(340, 1200);
	EXPECT_EQ(ids(BackgroundPage, "bgid").size(), 8);
	for (const BackgroundPreset &preset : background_presets) {
		panel_model().parameters.background.fill = 0;
		panel_model().parameters.background.image = "/some/picture.png";
		pushParameters();
		call_journal().reset();
		click_tile(BackgroundPage, "bgid", preset.id);
		EXPECT_EQ(setting_int(filter, "bg_fill"), 2);
		EXPECT_EQ(setting_string(filter, "bg_preset"), preset.id);
		EXPECT_EQ(setting_string(filter, "bg_image"), "");
		EXPECT_EQ(last_engine_arguments("kl_set_virtual_background"),
			  std::vector<Argument>{background_preset_path(preset.id)});
	}
}

TEST_F(TilesTest, PresetTilesShowPicturesOfOneSize)
{
	world.open_panel();
	for (const BackgroundPreset &preset : background_presets) {
		const QAbstractButton *button = tile(BackgroundPage, "bgid", preset.id);
		EXPECT_EQ(button->iconSize(), QSize(96, 54));
		EXPECT_EQ(button->icon().actualSize(QSize(96, 54)), QSize(96, 54));
	}
	const QImage missing = tile(BackgroundPage, "bgid", missing_picture)->icon().pixmap(96, 54).toImage();
	EXPECT_EQ(missing.pixelColor(48, 27), QColor(0x20, 0x23, 0x2b));
}

TEST_F(TilesTest, NoPresetIsCheckedWhileAPictureIsChosen)
{
	FakeSource &filter = world.add_filter("Camera");
	world.open_panel();
	EXPECT_TRUE(tile(BackgroundPage, "bgid", "office")->isChecked());
	panel_model().parameters.background.image = "/home/user/beach.png";
	pushParameters();
	world.panel().refreshControls();
	EXPECT_FALSE(tile(BackgroundPage, "bgid", "office")->isChecked());
	EXPECT_EQ(setting_string(filter, "bg_image"), "/home/user/beach.png");
}

TEST_F(TilesTest, CaptionNamesTheBackgroundInUse)
{
	world.add_filter("Camera");
	world.open_panel();
	auto *caption = world.page(BackgroundPage).findChild<ElidedLabel *>();
	ASSERT_NE(caption, nullptr);
	EXPECT_EQ(caption->full_text(), QStringLiteral("Office"));
	panel_model().parameters.background.image = "/home/user/Stra\xc3\x9f"
						    "e.png";
	world.panel().refreshControls();
	EXPECT_EQ(caption->full_text(), QStringLiteral("Stra\u00dfe.png"));
	panel_model().parameters.background.image.clear();
	panel_model().parameters.background.preset = "nowhere";
	world.panel().refreshControls();
	EXPECT_EQ(caption->full_text(), QStringLiteral("Presets"));
}

TEST_F(TilesTest, ClearingThePictureGoesBackToAPreset)
{
	FakeSource &filter = world.add_filter("Camera");
	obs_data_set_string(filter.settings, "bg_image", "/home/user/beach.png");
	obs_data_set_string(filter.settings, "bg_preset", "");
	world.open_panel(340, 1200);
	world.show_page(BackgroundPage);
	for (auto *button : world.page(BackgroundPage).findChildren<QPushButton *>(QStringLiteral("quiet"))) {
		if (button->text() == QStringLiteral("Clear custom"))
			click(*button);
	}
	EXPECT_EQ(setting_int(filter, "bg_fill"), 2);
	EXPECT_EQ(setting_string(filter, "bg_image"), "");
	EXPECT_EQ(setting_string(filter, "bg_preset"), "office");
}

class ImageDialogTest : public TilesTest {
protected:
	ImageDialogTest() : filter(world.add_filter("Camera"))
	{
		world.open_panel(340, 1200);
		world.show_page(BackgroundPage);
		auto *button = world.page(BackgroundPage).findChildren<QPushButton *>(QStringLiteral("quiet")).at(0);
		click(*button);
	}

	QFileDialog *dialog() { return world.panel().findChild<QFileDialog *>(); }

	void pick(const std::string &path)
	{
		dialog()->setDirectory(QString::fromStdString(folder.path().generic_string()));
		dialog()->selectFile(QString::fromStdString(path));
		settle();
		static_cast<QDialog *>(dialog())->accept();
		settle();
	}

	FakeSource &filter;
	ScratchFolder folder;
};

TEST_F(ImageDialogTest, AsksForPicturesOverThePanel)
{
	ASSERT_NE(dialog(), nullptr);
	EXPECT_TRUE(dialog()->isVisible());
	EXPECT_EQ(dialog()->parentWidget(), &world.panel());
	EXPECT_EQ(dialog()->windowTitle(), QStringLiteral("Choose background image"));
	EXPECT_EQ(dialog()->nameFilters(), (QStringList{"Images (*.png *.jpg *.jpeg *.bmp *.webp)", "All files (*)"}));
}

TEST_F(ImageDialogTest, APickedFileBecomesTheBackground)
{
	const std::string path = folder.write("h\xc3\xb6hle \xe6\xb5\xb7.png");
	pick(path);
	EXPECT_EQ(setting_string(filter, "bg_image"), path);
	EXPECT_EQ(setting_int(filter, "bg_fill"), 2);
	EXPECT_EQ(last_engine_arguments("kl_set_virtual_background"), std::vector<Argument>{path});
	EXPECT_EQ(dialog(), nullptr);
}

TEST_F(ImageDialogTest, ACancelledDialogChangesNothing)
{
	call_journal().reset();
	static_cast<QDialog *>(dialog())->reject();
	settle();
	EXPECT_EQ(updates(), 0u);
	EXPECT_EQ(setting_int(filter, "bg_fill"), 0);
	EXPECT_EQ(dialog(), nullptr);
}

TEST_F(ImageDialogTest, ThePanelMayGoWhileItIsOpen)
{
	call_journal().reset();
	world.close_panel();
	settle();
	EXPECT_EQ(updates(), 0u);
}

TEST_F(ImageDialogTest, TheFilterMayGoWhileItIsOpen)
{
	const std::string path = folder.write("beach.png");
	world.remove_all_filters();
	world.poll();
	pick(path);
	EXPECT_TRUE(host_double().misuse().empty());
}

} // namespace
} // namespace kalvio::test
