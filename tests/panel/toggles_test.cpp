// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/check_box.h"
#include "panel/widgets/switch.h"

#include "pixels.h"
#include "user_events.h"

#include <QPainterPath>

namespace kalvio::test {
namespace {

// The geometry of the switch, drawn once more from its numbers alone.
QImage expected_switch(bool checked, qreal opacity)
{
	QImage image(33, 18, QImage::Format_ARGB32_Premultiplied);
	image.fill(backdrop);
	QPainter painter(&image);
	painter.setRenderHint(QPainter::Antialiasing);
	painter.setOpacity(opacity);
	painter.setPen(Qt::NoPen);
	painter.setBrush(checked ? QColor(52, 199, 89) : QColor(58, 58, 60));
	painter.drawRoundedRect(QRectF(0, 0, 32, 17), 8.5, 8.5);
	painter.setBrush(QColor(Qt::white));
	painter.drawEllipse(QPointF(checked ? 23.5 : 8.5, 8.5), 6.5, 6.5);
	return image;
}

QImage expected_check_box(bool checked, qreal opacity)
{
	QImage image(18, 18, QImage::Format_ARGB32_Premultiplied);
	image.fill(backdrop);
	QPainter painter(&image);
	painter.setRenderHint(QPainter::Antialiasing);
	painter.setOpacity(opacity);
	const QRectF box(1.5, 1.5, 15, 15);
	if (!checked) {
		painter.setPen(QPen(QColor(107, 114, 128), 1.5));
		painter.setBrush(QColor(32, 35, 43));
		painter.drawRoundedRect(box, 3, 3);
		return image;
	}
	painter.setPen(Qt::NoPen);
	painter.setBrush(QColor(243, 244, 246));
	painter.drawRoundedRect(box, 3, 3);
	QPainterPath tick(QPointF(1.5 + 0.22 * 15, 1.5 + 0.52 * 15));
	tick.lineTo(1.5 + 0.42 * 15, 1.5 + 0.72 * 15);
	tick.lineTo(1.5 + 0.78 * 15, 1.5 + 0.30 * 15);
	painter.strokePath(tick, QPen(QColor(11, 12, 16), 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
	return image;
}

TEST(SwitchTest, PaintsItsGeometryInEveryState)
{
	Switch toggle;
	toggle.resize(toggle.sizeHint());
	for (const bool enabled : {true, false}) {
		for (const bool checked : {false, true}) {
			toggle.setEnabled(enabled);
			toggle.checked = checked;
			const QImage expected = expected_switch(checked, enabled ? 1 : 0.38);
			EXPECT_LE(largest_difference(paint(toggle), expected), 2) << enabled << checked;
		}
	}
}

TEST(SwitchTest, ShowsTrackAndKnobWhereTheyBelong)
{
	Switch toggle;
	toggle.resize(33, 18);
	const QImage off = paint(toggle);
	EXPECT_TRUE(is_color(off, 8, 8, Qt::white));
	EXPECT_TRUE(is_color(off, 24, 8, QColor(58, 58, 60)));
	EXPECT_TRUE(is_color(off, 32, 17, backdrop));
	toggle.checked = true;
	const QImage on = paint(toggle);
	EXPECT_TRUE(is_color(on, 8, 8, QColor(52, 199, 89)));
	EXPECT_TRUE(is_color(on, 24, 8, Qt::white));
	toggle.setEnabled(false);
	EXPECT_TRUE(is_color(paint(toggle), 8, 8, over_backdrop(QColor(52, 199, 89), 0.38)));
}

TEST(CheckBoxTest, PaintsItsGeometryInEveryState)
{
	CheckBox toggle;
	toggle.resize(toggle.sizeHint());
	for (const bool enabled : {true, false}) {
		for (const bool checked : {false, true}) {
			toggle.setEnabled(enabled);
			toggle.checked = checked;
			const QImage expected = expected_check_box(checked, enabled ? 1 : 0.38);
			EXPECT_LE(largest_difference(paint(toggle), expected), 2) << enabled << checked;
		}
	}
}

TEST(CheckBoxTest, ShowsATickOnlyWhenChecked)
{
	CheckBox toggle;
	toggle.resize(18, 18);
	EXPECT_TRUE(is_color(paint(toggle), 9, 9, QColor(32, 35, 43)));
	toggle.checked = true;
	const QImage on = paint(toggle);
	EXPECT_TRUE(is_color(on, 4, 4, QColor(243, 244, 246)));
	EXPECT_TRUE(is_color(on, 7, 12, QColor(11, 12, 16), 40)); // the low point of the tick
}

template <class Control>
class ToggleTest : public testing::Test {
protected:
	ToggleTest()
	{
		toggle.resize(toggle.sizeHint());
		toggle.on_toggled = [this](bool checked) {
			told.push_back(checked);
		};
	}

	Control toggle;
	std::vector<bool> told;
};

using Toggles = testing::Types<Switch, CheckBox>;
TYPED_TEST_SUITE(ToggleTest, Toggles);

TYPED_TEST(ToggleTest, IsOffAtFirstAndOfItsSize)
{
	EXPECT_FALSE(this->toggle.checked);
	const QSize expected = std::is_same_v<TypeParam, Switch> ? QSize(33, 18) : QSize(18, 18);
	EXPECT_EQ(this->toggle.sizeHint(), expected);
}

TYPED_TEST(ToggleTest, ClickInvertsAndTells)
{
	click_mouse(&this->toggle);
	click_mouse(&this->toggle);
	EXPECT_EQ(this->told, (std::vector{true, false}));
	EXPECT_FALSE(this->toggle.checked);
}

TYPED_TEST(ToggleTest, ReactsToTheReleaseWhereverItIs)
{
	press_mouse(&this->toggle, Qt::LeftButton, this->toggle.rect().center());
	EXPECT_FALSE(this->toggle.checked);
	release_mouse(&this->toggle, Qt::LeftButton, QPoint(500, 500));
	EXPECT_TRUE(this->toggle.checked);
}

TYPED_TEST(ToggleTest, OtherButtonsDoNothing)
{
	click_mouse(&this->toggle, Qt::RightButton);
	click_mouse(&this->toggle, Qt::MiddleButton);
	EXPECT_FALSE(this->toggle.checked);
	EXPECT_TRUE(this->told.empty());
}

TYPED_TEST(ToggleTest, IgnoresClicksWhileDisabled)
{
	this->toggle.setEnabled(false);
	QMouseEvent release(QEvent::MouseButtonRelease, QPointF(5, 5), QPointF(5, 5), Qt::LeftButton, Qt::NoButton,
			    Qt::NoModifier);
	static_cast<QObject &>(this->toggle).event(&release);
	EXPECT_FALSE(this->toggle.checked);
	EXPECT_TRUE(this->told.empty());
}

TYPED_TEST(ToggleTest, ShowingAStateTellsNobody)
{
	this->toggle.show_checked(true);
	EXPECT_TRUE(this->toggle.checked);
	EXPECT_TRUE(this->told.empty());
}

TYPED_TEST(ToggleTest, WorksWithoutAListener)
{
	this->toggle.on_toggled = nullptr;
	click_mouse(&this->toggle);
	EXPECT_TRUE(this->toggle.checked);
}

} // namespace
} // namespace kalvio::test
