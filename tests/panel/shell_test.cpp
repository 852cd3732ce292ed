// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel_fixture.h"

#include "kit/recording_capabilities.h"

#include "panel/pages/reshape_sliders.h"
#include "panel/text/translations.h"
#include "panel/widgets/icons.h"
#include "panel/widgets/style_sheet.h"
#include "params/reshape_tables.h"

#include <QApplication>
#include <QCryptographicHash>
#include <QPalette>
#include <QPushButton>
#include <QRawFont>
#include <QScrollArea>
#include <QScrollBar>

// The shell, the texts and the pictures of the panel.
namespace kalvio::test {
namespace {

class ShellTest : public PanelTest {};

TEST_F(ShellTest, StyleSheetIsTheOneThatWasDesigned)
{
	const QString sheet = panel_style_sheet();
	EXPECT_TRUE(sheet.startsWith(QStringLiteral("QWidget#kalvioPanel { background:#0b0c10; color:#f3f4f6; "
						    "font-family:\"Microsoft YaHei\",\"PingFang SC\",sans-serif; "
						    "font-size:13px; }QLabel { color:#f3f4f6;")));
	EXPECT_TRUE(sheet.endsWith(
		QStringLiteral("QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical { height:0; }")));
	EXPECT_EQ(sheet.count(u'{'), 32);
	// Each character of it: whoever means to change the look changes this too.
	EXPECT_EQ(QCryptographicHash::hash(sheet.toUtf8(), QCryptographicHash::Sha256).toHex(),
		  QByteArray("0235cc68f47b90d30d2c0dc0e0f4d6b890c0987d6fec1f1ece6ca2af16aa3df4"));
	world.open_panel();
	EXPECT_EQ(world.panel().styleSheet(), sheet);
}

TEST_F(ShellTest, IsAtLeastOfItsSmallestSize)
{
	KalvioPanel &panel = world.open_panel();
	EXPECT_EQ(panel.minimumSize(), QSize(340, 480));
	EXPECT_EQ(panel.objectName(), QStringLiteral("kalvioPanel"));
	EXPECT_EQ(panel.windowTitle(), QStringLiteral("Retouch Console"));
	panel.resize(100, 100);
	EXPECT_EQ(panel.size(), QSize(340, 480));
}

TEST_F(ShellTest, SkinIsTheFirstTabAndAWhitePill)
{
	world.add_filter("Camera");
	world.open_panel();
	EXPECT_TRUE(world.page(SkinPage).isVisible());
	EXPECT_TRUE(world.tab(SkinPage).isChecked());
	EXPECT_EQ(world.tab(SkinPage).bg_checked, QColor(Qt::white));
	EXPECT_EQ(world.tab(BodyPage).bg_hover, QColor(255, 255, 255, 18));
	EXPECT_EQ(world.tab(BodyPage).height(), 48);
	const auto labels = world.tab(SkinPage).findChildren<QLabel *>();
	ASSERT_EQ(labels.size(), 2);
	EXPECT_TRUE(labels.at(0)->styleSheet().startsWith(
		QStringLiteral("color:#0a0a0a; background:transparent; font-size:16px; font-family:\"")));
	EXPECT_EQ(labels.at(1)->styleSheet(), QStringLiteral("color:#0a0a0a; background:transparent; font-size:11px;"));
	EXPECT_EQ(world.tab(BodyPage).findChildren<QLabel *>().at(1)->styleSheet(),
		  QStringLiteral("color:#9ca3af; background:transparent; font-size:11px;"));
}

TEST_F(ShellTest, EachTabShowsItsPage)
{
	world.add_filter("Camera");
	world.open_panel();
	for (int i = BackgroundPage; i >= SkinPage; --i) {
		click(world.tab(i));
		for (int page = SkinPage; page <= BackgroundPage; ++page) {
			EXPECT_EQ(world.page(page).isVisible(), page == i);
			EXPECT_EQ(world.tab(page).isChecked(), page == i);
		}
	}
}

TEST_F(ShellTest, TheIconFontHasEveryGlyph)
{
	world.open_panel();
	ASSERT_FALSE(icon_font_family().isEmpty());
	QFont font(icon_font_family());
	const QRawFont raw = QRawFont::fromFont(font);
	for (const char *code_point :
	     {glyph::skin, glyph::reshape, glyph::makeup, glyph::filter, glyph::sticker, glyph::body, glyph::background,
	      glyph::reset, glyph::settings, glyph::close, glyph::back, glyph::search}) {
		const QString text = QString::fromUtf8(code_point);
		EXPECT_TRUE(raw.supportsCharacter(text.at(0))) << int{text.at(0).unicode()};
	}
}

TEST_F(ShellTest, GlyphIconsAreSquareAndInTheirColor)
{
	world.open_panel();
	const QImage image = makeGlyphIcon(glyph::settings, 16, QColor(200, 100, 50)).pixmap(64, 64).toImage();
	EXPECT_EQ(image.width(), image.height());
	EXPECT_GE(image.deviceIndependentSize().width(), 18);
	int painted = 0;
	for (int y = 0; y < image.height(); ++y) {
		for (int x = 0; x < image.width(); ++x) {
			const QColor color = image.pixelColor(x, y);
			painted += color.alpha() == 255;
			if (color.alpha() == 255) {
				EXPECT_EQ(color, QColor(200, 100, 50));
			}
		}
	}
	EXPECT_GT(painted, 40);
	EXPECT_EQ(image.pixelColor(0, 0).alpha(), 0);
}

TEST_F(ShellTest, TheLogoIsThere)
{
	world.open_panel();
	EXPECT_EQ(load_logo(26).deviceIndependentSize().height(), 26);
}

TEST_F(ShellTest, ReshapePagesShowWhatTheEngineKnows)
{
	const auto expect_same = [](std::span<const ReshapeSliderGroup> shown, std::span<const ReshapeGroup> known) {
		ASSERT_EQ(shown.size(), known.size());
		for (size_t i = 0; i < shown.size(); ++i) {
			ASSERT_EQ(shown[i].sliders.size(), static_cast<size_t>(known[i].count));
			for (size_t j = 0; j < shown[i].sliders.size(); ++j)
				EXPECT_EQ(shown[i].sliders[j].index, known[i].items[j].engine_id);
		}
	};
	expect_same(face_reshape_sliders, face_reshape_groups);
	expect_same(body_reshape_sliders, body_reshape_groups);
}

TEST_F(ShellTest, PaintsItsOwnBackgroundUnderALightHost)
{
	const QPalette before = QApplication::palette();
	QPalette light;
	light.setColor(QPalette::Window, Qt::white);
	light.setColor(QPalette::Base, Qt::white);
	QApplication::setPalette(light);
	world.add_filter("Camera");
	world.open_panel(400, 900);
	const QImage picture = world.panel().grab().toImage();
	EXPECT_EQ(picture.pixelColor(200, 800), QColor(0x0b, 0x0c, 0x10));
	EXPECT_EQ(picture.pixelColor(5, 5), QColor(0x0b, 0x0c, 0x10));
	QApplication::setPalette(before);
}

TEST_F(ShellTest, RunsFromLeftToRightInAnyHost)
{
	QApplication::setLayoutDirection(Qt::RightToLeft);
	world.add_filter("Camera");
	world.open_panel();
	EXPECT_LT(world.tab(SkinPage).x(), world.tab(BackgroundPage).x());
	QApplication::setLayoutDirection(Qt::LeftToRight);
}

TEST_F(ShellTest, SyncReadsTheFilterAnew)
{
	FakeSource &filter = world.add_filter("Camera");
	world.open_panel();
	obs_data_set_double(filter.settings, "smoothing", 0.33);
	world.poll();
	EXPECT_EQ(find_named<QSlider>(world.panel(), QStringLiteral("Smooth"))->value(), 0);
	world.panel().syncFromEngine();
	EXPECT_EQ(find_named<QSlider>(world.panel(), QStringLiteral("Smooth"))->value(), 33);
}

TEST_F(ShellTest, SyncWithoutAFilterChangesNothing)
{
	world.open_panel();
	panel_model().parameters.skin.smoothing = 0.5f;
	world.panel().syncFromEngine();
	EXPECT_EQ(panel_model().parameters.skin.smoothing, 0.5f);
}

TEST_F(ShellTest, RetranslateGoesThroughEveryText)
{
	world.add_filter("Camera");
	world.open_panel();
	const auto texts = [this] {
		QStringList all;
		for (auto *label : world.panel().findChildren<QLabel *>())
			all.append(label->text());
		for (auto *button : world.panel().findChildren<QAbstractButton *>())
			all.append(button->text() + u'/' + button->accessibleName() + u'/' + button->toolTip());
		return all;
	};
	const QStringList english = texts();
	set_language(LanguageJapanese);
	world.panel().retranslate();
	const QStringList japanese = texts();
	world.close_panel();
	world.open_panel();
	EXPECT_EQ(texts(), japanese);
	set_language(LanguageEnglish);
	world.panel().retranslate();
	EXPECT_EQ(texts(), english);
}

class LanguageTest : public PanelTest, public testing::WithParamInterface<int> {
protected:
	LanguageTest()
	{
		set_language(GetParam());
		set_engine_capabilities(0); // with every note that an effect cannot be seen yet
		world.add_filter("Camera");
	}
};

TEST_P(LanguageTest, EveryTextFitsTheNarrowestPanel)
{
	world.open_panel(340, 700);
	panel_model().parameters.background.fill = 1;
	panel_model().parameters.background.chroma = 1;
	world.panel().refreshControls();
	for (int page = SkinPage; page <= BackgroundPage; ++page) {
		world.show_page(page);
		for (auto *button : world.panel().findChildren<SmoothButton *>()) {
			if (button->isVisible() && button->draw_text) {
				EXPECT_EQ(button->painted_text().toStdString(), button->text().toStdString());
			}
		}
		for (auto *label : world.panel().findChildren<QLabel *>()) {
			if (label->isVisible() && !label->wordWrap() && !label->text().isEmpty()) {
				EXPECT_GE(label->width(), label->sizeHint().width()) << label->text().toStdString();
			}
		}
		for (auto *button : world.page(page).findChildren<QPushButton *>(QStringLiteral("quiet"))) {
			if (button->isVisible()) {
				EXPECT_GE(button->width() - 24, button->fontMetrics().horizontalAdvance(button->text()))
					<< button->text().toStdString();
			}
		}
	}
}

TEST_P(LanguageTest, NoPageIsWiderThanTheNarrowestPanel)
{
	world.open_panel(340, 600);
	for (int page = SkinPage; page <= BackgroundPage; ++page) {
		world.show_page(page);
		EXPECT_LE(world.page(page).minimumSizeHint().width(), 334) << page;
		EXPECT_LE(world.page(page).width(), world.page(page).parentWidget()->width()) << page;
	}
	EXPECT_EQ(world.panel().width(), 340);
	EXPECT_LE(world.panel().layout()->minimumSize().width(), 340);
}

TEST_P(LanguageTest, NoticesFitTheNarrowestPanel)
{
	world.open_panel(340, 600);
	for (const bool forced : {false, true}) {
		set_update_status(
			{.forced = forced, .soft = !forced, .latest = "1.0.13", .notes = "Notes of this release"});
		world.poll();
		settle();
		EXPECT_LE(world.panel().layout()->minimumSize().width(), 340);
		for (auto *button : world.panel().findChildren<QPushButton *>()) {
			if (button->isVisible() && button->objectName().startsWith(QLatin1String("update"))) {
				EXPECT_GE(button->width() - 18, button->fontMetrics().horizontalAdvance(button->text()))
					<< button->text().toStdString();
			}
		}
	}
}

TEST_P(LanguageTest, SettingsFitTheNarrowestPanel)
{
	world.open_panel(340, 600);
	for (auto *button : world.panel().findChildren<QPushButton *>(QStringLiteral("headIcon"))) {
		if (button->isCheckable())
			click(*button);
	}
	settle();
	for (auto *label : world.panel().findChildren<QLabel *>()) {
		if (label->isVisible() && !label->wordWrap()) {
			EXPECT_GE(label->width(), label->sizeHint().width()) << label->text().toStdString();
		}
	}
}

INSTANTIATE_TEST_SUITE_P(AllLanguages, LanguageTest, testing::Range(0, language_count));

} // namespace
} // namespace kalvio::test
