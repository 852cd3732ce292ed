// SPDX-License-Identifier: GPL-2.0-or-later
#include "host_look.h"
#include "panel_fixture.h"
#include "pixels.h"

#include "panel/widgets/source_selector.h"
#include "panel/widgets/strength_slider.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>

// What the panel looks like whatever style sheet the host gives the application, and whether it can be seen.
namespace kalvio::test {
namespace {

// Says about every widget of the panel something else than the panel does: the kinds of rules that hosts and their
// themes have.
constexpr const char *intruding_sheet = R"(
	QWidget { font-family:monospace; font-size:21px; font-weight:bold; color:#ff0000; }
	QWidget:disabled { color:#00ff00; }
	QPushButton { height:22px; max-height:22px; min-width:90px; margin:5px; padding:9px 16px; background:#ff0000;
		border:3px solid #00ff00; icon-size:30px; }
	QPushButton:hover, QPushButton:checked, QPushButton:disabled { background:#0000ff; border-color:#ff00ff; }
	QComboBox { height:40px; margin:6px; padding:9px; padding-left:30px; background:#ff0000; }
	QComboBox::drop-down { width:50px; background:#ff0000; border-left:2px solid white; }
	QComboBox::down-arrow { image:none; width:40px; background:#00ff00; }
	QComboBox:disabled { border-color:#ff0000; }
	QLabel { min-height:40px; font-size:30px; }
	QSlider { min-height:50px; margin:4px; }
	QSlider::groove:horizontal { height:20px; background:#ff0000; }
	QSlider::handle:horizontal { width:50px; background:#00ff00; }
	QSlider::sub-page:horizontal { background:#0000ff; }
	QLineEdit { min-height:40px; max-height:90px; padding:12px; margin:4px; background:#ff0000; border:3px solid #00ff00; }
	QLineEdit:focus, QLineEdit:hover { border-color:#ff00ff; }
	QScrollArea { border-radius:9px; min-width:20px; }
	QScrollBar { background:#ff0000; border:2px solid #00ff00; border-radius:5px; }
	QScrollBar:vertical { width:20px; }
	QScrollBar::handle { background:#00ff00; border:2px solid #0000ff; margin:3px; }
	QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical { background:#ff00ff; }
)";

// The application's sheet for as long as it lives.
class ApplicationSheet {
public:
	explicit ApplicationSheet(const QString &sheet) : before_(qApp->styleSheet()) { qApp->setStyleSheet(sheet); }
	~ApplicationSheet() { qApp->setStyleSheet(before_); }
	ApplicationSheet(const ApplicationSheet &) = delete;
	ApplicationSheet &operator=(const ApplicationSheet &) = delete;

private:
	QString before_;
};

qreal linear(qreal channel)
{
	return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

// WCAG 2.2: the ratio of the relative luminances.
qreal contrast(const QColor &a, const QColor &b)
{
	const auto luminance = [](const QColor &color) {
		return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
	};
	const auto [low, high] = std::minmax({luminance(a), luminance(b)});
	return (high + 0.05) / (low + 0.05);
}

constexpr qreal text_contrast = 4.5;
constexpr qreal part_contrast = 3;
constexpr QColor card_color(0x18, 0x1a, 0x20);

class LookTest : public PanelTest {
protected:
	// Every state of the panel, one picture each.
	QList<QImage> pictures()
	{
		QList<QImage> all;
		world.open_panel(340, 700);
		for (int page = SkinPage; page <= BackgroundPage; ++page) {
			world.show_page(page);
			all.append(picture());
		}
		settings_button().click();
		all.append(picture());
		settings_button().click();
		for (const bool forced : {false, true}) {
			set_update_status({.forced = forced, .soft = !forced, .latest = "1.0.13", .notes = "Notes"});
			world.poll();
			all.append(picture());
		}
		set_update_status({});
		world.poll();
		world.close_panel();
		return all;
	}

	QImage picture()
	{
		settle();
		return world.panel().grab().toImage();
	}

	QPushButton &settings_button() { return *find_named<QPushButton>(world.panel(), QStringLiteral("Settings")); }

	StrengthSlider &slider(int page, int index)
	{
		return *world.page(page).findChildren<StrengthSlider *>().at(index);
	}

	static std::string first_difference(const QImage &seen, const QImage &wanted)
	{
		for (int y = 0; y < seen.height(); ++y) {
			for (int x = 0; x < seen.width(); ++x) {
				if (seen.pixel(x, y) != wanted.pixel(x, y))
					return " at " + std::to_string(x) + ", " + std::to_string(y) + ": " +
					       seen.pixelColor(x, y).name().toStdString() + " for " +
					       wanted.pixelColor(x, y).name().toStdString();
			}
		}
		return {};
	}

	static void expect_same(const QList<QImage> &seen, const QList<QImage> &wanted)
	{
		ASSERT_EQ(seen.size(), wanted.size());
		for (qsizetype i = 0; i < seen.size(); ++i) {
			ASSERT_EQ(seen.at(i).size(), wanted.at(i).size());
			// The outlines of the captions of swatches are smoothed from paths, whose points Qt rounds
			// by what else it has in its cache of fonts.
			const int tolerance = i == MakeupPage ? 8 : 0;
			EXPECT_LE(largest_difference(seen.at(i), wanted.at(i)), tolerance)
				<< "state " << i << first_difference(seen.at(i), wanted.at(i));
		}
	}
};

TEST_F(LookTest, NoSheetOfTheHostChangesAPixel)
{
	world.add_filter("Camera");
	const ApplicationSheet none((QString()));
	const QList<QImage> wanted = pictures();
	const ApplicationSheet intruder(QString::fromLatin1(intruding_sheet));
	expect_same(pictures(), wanted);
}

TEST_F(LookTest, NoSheetOfTheHostChangesAPixelOfTheDisabledPanel)
{
	const ApplicationSheet none((QString()));
	const QList<QImage> wanted = pictures();
	const ApplicationSheet intruder(QString::fromLatin1(intruding_sheet));
	expect_same(pictures(), wanted);
}

TEST_F(LookTest, NoSheetOfTheHostChangesTheFieldForANumber)
{
	world.add_filter("Camera");
	const auto field_picture = [this] {
		world.open_panel(340, 700);
		world.panel().activateWindow();
		settle();
		slider(SkinPage, 0).setFocus();
		click_key(&slider(SkinPage, 0), Qt::Key_8);
		auto *field = world.panel().findChild<QLineEdit *>();
		EXPECT_NE(field, nullptr);
		QApplication::setCursorFlashTime(0);
		settle();
		const QImage image = field->grab().toImage();
		world.close_panel();
		return image;
	};
	const ApplicationSheet none((QString()));
	const QImage wanted = field_picture();
	EXPECT_GE(contrast(wanted.pixelColor(wanted.width() / 2, 0), card_color), part_contrast);
	const ApplicationSheet intruder(QString::fromLatin1(intruding_sheet));
	EXPECT_EQ(largest_difference(field_picture(), wanted), 0);
}

TEST_F(LookTest, ASheetThatComesWhileThePanelIsOpenChangesNoPixel)
{
	world.add_filter("Camera");
	const ApplicationSheet none((QString()));
	world.open_panel(340, 700);
	world.show_page(ReshapePage);
	const QImage wanted = picture();
	// As a host does that changes its theme: without one for a moment.
	for (int change = 0; change < 3; ++change) {
		qApp->setStyleSheet(QString::fromLatin1(intruding_sheet));
		EXPECT_EQ(largest_difference(picture(), wanted), 0);
		EXPECT_EQ(slider(ReshapePage, 0).style(), QApplication::style());
		qApp->setStyleSheet(QString());
	}
	EXPECT_EQ(largest_difference(picture(), wanted), 0);
}

TEST_F(LookTest, ASliderWithTwoSidesIsFilledFromTheMiddle)
{
	world.add_filter("Camera");
	world.open_panel();
	world.show_page(ReshapePage);
	StrengthSlider &face = slider(ReshapePage, 0);
	const qreal middle = face.width() / 2.0;
	EXPECT_TRUE(face.fill_rect().isEmpty());
	face.setValue(50);
	EXPECT_NEAR(face.fill_rect().left(), middle, 1);
	EXPECT_NEAR(face.fill_rect().right(), face.handle_rect().center().x(), 1);
	face.setValue(-50);
	EXPECT_NEAR(face.fill_rect().right(), middle, 1);
	EXPECT_NEAR(face.fill_rect().left(), face.handle_rect().center().x(), 1);
}

TEST_F(LookTest, ASliderWithOneSideIsFilledFromItsLeftEnd)
{
	world.add_filter("Camera");
	world.open_panel();
	StrengthSlider &smooth = slider(SkinPage, 0);
	EXPECT_TRUE(smooth.fill_rect().isEmpty());
	smooth.setValue(100);
	EXPECT_EQ(smooth.fill_rect().left(), 0);
	EXPECT_NEAR(smooth.handle_rect().right(), smooth.width(), 1);
}

TEST_F(LookTest, APressBesideTheHandleStepsTowardsThePointer)
{
	world.add_filter("Camera");
	world.open_panel();
	StrengthSlider &smooth = slider(SkinPage, 0);
	press_mouse(&smooth, Qt::LeftButton, QPoint(smooth.width() - 4, smooth.height() / 2));
	EXPECT_EQ(smooth.value(), smooth.pageStep());
	EXPECT_FALSE(smooth.isSliderDown());
	release_mouse(&smooth, Qt::LeftButton, QPoint(smooth.width() - 4, smooth.height() / 2));
	press_mouse(&smooth, Qt::LeftButton, QPoint(0, smooth.height() / 2));
	EXPECT_EQ(smooth.value(), 0);
	release_mouse(&smooth, Qt::LeftButton, QPoint(0, smooth.height() / 2));
}

TEST_F(LookTest, TheHandleFollowsThePointerThatHoldsIt)
{
	world.add_filter("Camera");
	world.open_panel();
	StrengthSlider &smooth = slider(SkinPage, 0);
	// Held at its right edge, it does not jump.
	const QPoint grip = smooth.handle_rect().center().toPoint() + QPoint(6, 0);
	press_mouse(&smooth, Qt::LeftButton, grip);
	EXPECT_TRUE(smooth.isSliderDown());
	EXPECT_EQ(smooth.value(), 0);
	move_mouse(&smooth, QPoint(smooth.width() / 2 + 6, 11));
	EXPECT_NEAR(smooth.value(), 50, 1);
	move_mouse(&smooth, QPoint(smooth.width() * 3, 11));
	EXPECT_EQ(smooth.value(), 100);
	move_mouse(&smooth, QPoint(-500, 11));
	EXPECT_EQ(smooth.value(), 0);
	release_mouse(&smooth, Qt::LeftButton, QPoint(-500, 11));
	EXPECT_FALSE(smooth.isSliderDown());
}

TEST_F(LookTest, OtherButtonsLeaveASliderAlone)
{
	world.add_filter("Camera");
	world.open_panel();
	StrengthSlider &smooth = slider(SkinPage, 0);
	press_mouse(&smooth, Qt::RightButton, QPoint(smooth.width() / 2, 11));
	EXPECT_FALSE(smooth.isSliderDown());
	EXPECT_EQ(smooth.value(), 0);
	release_mouse(&smooth, Qt::RightButton, QPoint(smooth.width() / 2, 11));
}

TEST_F(LookTest, ThePartsOfASliderCanBeToldApart)
{
	world.add_filter("Camera");
	world.open_panel();
	world.show_page(SkinPage);
	StrengthSlider &smooth = slider(SkinPage, 0);
	smooth.setValue(50);
	const QImage image = picture();
	const QPoint corner = smooth.mapTo(&world.panel(), QPoint(0, 0));
	const auto color_at = [&](qreal x, qreal y) {
		return image.pixelColor(corner + QPoint(static_cast<int>(x), static_cast<int>(y)));
	};
	const qreal middle = smooth.height() / 2.0;
	const QColor fill = color_at(smooth.width() * 0.25, middle);
	const QColor empty = color_at(smooth.width() * 0.75, middle);
	const QColor outline = color_at(smooth.width() * 0.75, smooth.groove_rect().top());
	const QColor handle = color_at(smooth.handle_rect().center().x(), middle);
	const QColor around = color_at(smooth.width() * 0.75, 1);
	EXPECT_EQ(around, card_color);
	EXPECT_GE(contrast(outline, around), part_contrast);
	EXPECT_GE(contrast(fill, empty), part_contrast);
	EXPECT_GE(contrast(fill, around), part_contrast);
	EXPECT_GE(contrast(handle, around), part_contrast);
	EXPECT_GE(contrast(handle, empty), part_contrast);
}

TEST_F(LookTest, TheSelectorHasAnArrowThatCanBeSeen)
{
	world.add_filter("Camera");
	world.open_panel();
	const auto &selector = *world.panel().findChild<SourceSelector *>();
	const QImage image = picture();
	const QPoint corner = selector.mapTo(&world.panel(), QPoint(0, 0));
	qreal highest = 0;
	for (int x = selector.width() - 20; x < selector.width() - 4; ++x) {
		for (int y = 4; y < selector.height() - 4; ++y)
			highest = std::max(highest,
					   contrast(image.pixelColor(corner + QPoint(x, y)), QColor(0x20, 0x23, 0x2b)));
	}
	EXPECT_GE(highest, part_contrast);
}

TEST_F(LookTest, TheScrollBarsHandleCanBeSeen)
{
	world.add_filter("Camera");
	world.open_panel(340, 500);
	world.show_page(ReshapePage);
	auto *area = qobject_cast<QScrollArea *>(world.page(ReshapePage).parentWidget()->parentWidget());
	const QScrollBar &bar = *area->verticalScrollBar();
	ASSERT_TRUE(bar.isVisible());
	EXPECT_EQ(bar.width(), 6);
	const QImage image = picture();
	const QPoint corner = bar.mapTo(&world.panel(), QPoint(0, 0));
	// At the top: the handle; at the bottom: the bar.
	EXPECT_GE(contrast(image.pixelColor(corner + QPoint(0, 12)),
			   image.pixelColor(corner + QPoint(0, bar.height() - 12))),
		  part_contrast);
}

// The captions of the swatches stand on an outline that is dark enough for them on every color.
TEST_F(LookTest, EachSwatchCaptionCanBeRead)
{
	world.add_filter("Camera");
	world.open_panel(340, 700);
	world.show_page(MakeupPage);
	int swatches = 0;
	for (auto *button : world.page(MakeupPage).findChildren<SmoothButton *>()) {
		if (!button->gradient_fill)
			continue;
		++swatches;
		for (const QColor &color : {button->gradient_start, button->gradient_end}) {
			const QColor outline = SmoothButton::text_outline(color);
			EXPECT_GE(contrast(outline, QColor(230, 230, 230)), text_contrast)
				<< button->text().toStdString() << " on " << color.name().toStdString();
		}
	}
	EXPECT_EQ(swatches, 6 + 5 + 4 + 5 + 3 + 3 + 9);
}

TEST_F(LookTest, TheOpenListOfSourcesHasThePanelsColors)
{
	world.add_filter("Camera");
	const ApplicationSheet intruder(
		QString::fromLatin1("QComboBox QAbstractItemView { background:#ffffff; color:#ffffff; } "
				    "QComboBox QAbstractItemView::item { background:#ffffff; padding:20px; }"));
	world.open_panel();
	auto &selector = *world.panel().findChild<SourceSelector *>();
	selector.showPopup();
	settle();
	const QImage image = selector.view()->grab().toImage();
	EXPECT_GE(contrast(image.pixelColor(image.width() - 12, image.height() - 4), QColor(0xe5, 0xe7, 0xeb)),
		  text_contrast);
	selector.hidePopup();
}

} // namespace
} // namespace kalvio::test
