// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/smooth_button.h"

#include "pixels.h"

#include <QApplication>
#include <QEnterEvent>

namespace kalvio::test {
namespace {

class SmoothButtonTest : public testing::Test {
protected:
	SmoothButtonTest()
	{
		button.resize(80, 30);
		button.setCheckable(true);
		button.draw_text = false;
	}

	void hover(bool over) { button.setAttribute(Qt::WA_UnderMouse, over); }

	SmoothButton button;
};

TEST_F(SmoothButtonTest, TakesNoFocusAndIsFlatAndTranslucent)
{
	EXPECT_EQ(button.focusPolicy(), Qt::NoFocus);
	EXPECT_TRUE(button.isFlat());
	EXPECT_TRUE(button.testAttribute(Qt::WA_TranslucentBackground));
	EXPECT_TRUE(button.testAttribute(Qt::WA_Hover));
	EXPECT_FALSE(button.autoFillBackground());
}

TEST_F(SmoothButtonTest, HasTheColorsOfThePanelFromTheStart)
{
	EXPECT_EQ(button.radius, 8);
	EXPECT_TRUE(SmoothButton().draw_text);
	EXPECT_FALSE(button.gradient_fill);
	EXPECT_EQ(button.bg_normal, QColor(32, 35, 43));
	EXPECT_EQ(button.bg_hover, QColor(255, 255, 255, 28));
	EXPECT_EQ(button.bg_checked, QColor(255, 255, 255, 26));
	EXPECT_EQ(button.text_normal, QColor(156, 163, 175));
	EXPECT_EQ(button.text_hover, QColor(229, 231, 235));
	EXPECT_EQ(button.text_checked, QColor(255, 255, 255));
	EXPECT_EQ(button.border_normal, QColor(255, 255, 255, 28));
	EXPECT_EQ(button.border_hover, QColor(255, 255, 255, 40));
	EXPECT_EQ(button.border_checked, QColor(255, 255, 255, 70));
	EXPECT_FALSE(button.gradient_start.isValid());
	EXPECT_FALSE(button.gradient_end.isValid());
	EXPECT_EQ(button.border_width[0], 1.0);
	EXPECT_EQ(button.border_width[1], 1.0);
}

TEST_F(SmoothButtonTest, FillsByState)
{
	EXPECT_TRUE(is_color(paint(button), 40, 15, over_backdrop(button.bg_normal)));
	hover(true);
	EXPECT_TRUE(is_color(paint(button), 40, 15, over_backdrop(button.bg_hover)));
	button.setChecked(true);
	EXPECT_TRUE(is_color(paint(button), 40, 15, over_backdrop(button.bg_checked)));
	hover(false);
	EXPECT_TRUE(is_color(paint(button), 40, 15, over_backdrop(button.bg_checked)));
}

TEST_F(SmoothButtonTest, BorderFollowsStateAndLiesInsideTheEdge)
{
	// A pen of width 1 on a shape inset by a half covers the outermost row of pixels, over the fill's half.
	button.bg_normal = button.bg_hover = button.bg_checked = Qt::transparent;
	EXPECT_TRUE(is_color(paint(button), 40, 0, over_backdrop(button.border_normal)));
	EXPECT_TRUE(is_color(paint(button), 40, 29, over_backdrop(button.border_normal)));
	EXPECT_TRUE(is_color(paint(button), 0, 15, over_backdrop(button.border_normal)));
	EXPECT_TRUE(is_color(paint(button), 40, 1, backdrop));
	hover(true);
	EXPECT_TRUE(is_color(paint(button), 40, 0, over_backdrop(button.border_hover)));
	button.setChecked(true);
	EXPECT_TRUE(is_color(paint(button), 40, 0, over_backdrop(button.border_checked)));
}

TEST_F(SmoothButtonTest, WiderBorderWhenChecked)
{
	button.bg_checked = Qt::transparent;
	button.border_checked = Qt::white;
	button.border_width[1] = 2.0;
	button.setChecked(true);
	const QImage image = paint(button);
	EXPECT_TRUE(is_color(image, 40, 0, Qt::white));
	EXPECT_TRUE(is_color(image, 40, 1, Qt::white));
	EXPECT_TRUE(is_color(image, 40, 2, backdrop));
}

TEST_F(SmoothButtonTest, NoBorderWithoutWidth)
{
	button.border_width[0] = 0;
	EXPECT_TRUE(is_color(paint(button), 40, 0, over_backdrop(button.bg_normal)));
}

TEST_F(SmoothButtonTest, TransparentColorsPaintNothing)
{
	button.border_width[0] = 0;
	button.bg_normal = Qt::transparent;
	QImage bare(button.size(), QImage::Format_ARGB32_Premultiplied);
	bare.fill(backdrop);
	EXPECT_EQ(largest_difference(paint(button), bare), 0);
}

TEST_F(SmoothButtonTest, CornersAreRoundedByTheRadius)
{
	const QImage image = paint(button);
	EXPECT_TRUE(is_color(image, 0, 0, backdrop));
	EXPECT_TRUE(is_color(image, 1, 1, backdrop));
	// The arc of radius 8 meets the edges 8 pixels in.
	EXPECT_TRUE(is_color(image, 8, 1, over_backdrop(button.bg_normal), 4));
	button.radius = 0;
	EXPECT_FALSE(is_color(paint(button), 1, 1, backdrop));
}

TEST_F(SmoothButtonTest, GradientRunsFromLeftToRightInEveryState)
{
	button.gradient_fill = true;
	button.gradient_start = QColor(200, 0, 0);
	button.gradient_end = QColor(0, 0, 200);
	for (const bool checked : {false, true}) {
		for (const bool hovered : {false, true}) {
			button.setChecked(checked);
			hover(hovered);
			const QImage image = paint(button);
			EXPECT_TRUE(is_color(image, 3, 15, QColor(191, 0, 9), 4));
			EXPECT_TRUE(is_color(image, 40, 15, QColor(99, 0, 101), 4));
			EXPECT_TRUE(is_color(image, 76, 15, QColor(9, 0, 191), 4));
		}
	}
}

// Light text on a light swatch: around each letter lies the dark outline, and nowhere else.
TEST_F(SmoothButtonTest, TextOnAGradientHasAnOutline)
{
	const QColor fill(235, 225, 210);
	button.gradient_fill = true;
	button.gradient_start = fill;
	button.gradient_end = fill;
	button.text_normal = QColor(229, 231, 235);
	const auto dark_pixels = [this, &fill](const QString &text) {
		button.draw_text = !text.isEmpty();
		button.setText(text);
		const QImage image = paint(button);
		const int limit = (fill.lightness() + SmoothButton::text_outline(fill).lightness()) / 2;
		int count = 0;
		for (int y = 4; y < image.height() - 4; ++y) {
			for (int x = 4; x < image.width() - 4; ++x)
				count += image.pixelColor(x, y).lightness() < limit;
		}
		return count;
	};
	EXPECT_EQ(dark_pixels({}), 0);
	const int one_letter = dark_pixels(QStringLiteral("I"));
	EXPECT_GT(one_letter, 10);
	EXPECT_GT(dark_pixels(QStringLiteral("IIIII")), 3 * one_letter);
	EXPECT_LT(dark_pixels(QStringLiteral("IIIII")), button.width() * button.height() / 3);
}

TEST_F(SmoothButtonTest, DisabledIsFaintAndNeverHovered)
{
	button.setEnabled(false);
	hover(true);
	EXPECT_TRUE(is_color(paint(button), 40, 15, over_backdrop(button.bg_normal, 0.38)));
}

TEST_F(SmoothButtonTest, TextIsInTheMiddleAndInTheColorOfTheState)
{
	button.draw_text = true;
	button.setText(QStringLiteral("\u2588\u2588")); // two full blocks
	const int middle_y = 15;
	EXPECT_TRUE(is_color(paint(button), 40, middle_y, button.text_normal, 12));
	hover(true);
	EXPECT_TRUE(is_color(paint(button), 40, middle_y, button.text_hover, 12));
	button.setChecked(true);
	EXPECT_TRUE(is_color(paint(button), 40, middle_y, button.text_checked, 12));
	EXPECT_TRUE(is_color(paint(button), 10, middle_y, over_backdrop(button.bg_checked)));
}

TEST_F(SmoothButtonTest, NeverPaintsItsIcon)
{
	const QImage without = paint(button);
	QPixmap red(16, 16);
	red.fill(Qt::red);
	button.setIcon(QIcon(red));
	EXPECT_EQ(largest_difference(paint(button), without), 0);
}

TEST_F(SmoothButtonTest, TextThatHasNoRoomEndsInAnEllipsis)
{
	button.setText(QStringLiteral("fits"));
	EXPECT_EQ(button.painted_text(), button.text());
	button.setText(QStringLiteral("a text that is much too long for it"));
	EXPECT_TRUE(button.painted_text().endsWith(u'\u2026'));
	EXPECT_LE(QFontMetrics(button.caption_font()).horizontalAdvance(button.painted_text()), button.width());
}

TEST_F(SmoothButtonTest, TextThatJustHasNoRoomIsPaintedSmaller)
{
	QFont font = button.font();
	font.setPixelSize(13);
	button.setFont(font);
	QString text = QStringLiteral("i"); // a narrow letter, so that little is missing
	while (button.fontMetrics().horizontalAdvance(text) <= button.width())
		text += u'i';
	button.setText(text);
	EXPECT_EQ(button.painted_text(), text);
	EXPECT_LT(button.caption_font().pixelSize(), 13);
	EXPECT_GE(button.caption_font().pixelSize(), 11);
	EXPECT_EQ(button.font().pixelSize(), 13);
}

TEST_F(SmoothButtonTest, IsSharpAtTwiceTheScale)
{
	// The border is two device pixels wide then, and as crisp.
	button.bg_normal = Qt::transparent;
	const QImage image = paint(button, 2);
	ASSERT_EQ(image.width(), 160);
	EXPECT_TRUE(is_color(image, 80, 0, over_backdrop(button.border_normal)));
	EXPECT_TRUE(is_color(image, 80, 1, over_backdrop(button.border_normal)));
	EXPECT_TRUE(is_color(image, 80, 2, backdrop));
}

} // namespace
} // namespace kalvio::test
