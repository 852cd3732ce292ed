// SPDX-License-Identifier: GPL-2.0-or-later
// What a server can write into the manifest, as the notice shows it.

#include "panel/widgets/elided_label.h"
#include "panel_fixture.h"
#include "update/update_check.h"

#include <QApplication>
#include <QHelpEvent>
#include <QToolTip>

namespace kalvio::test {
namespace {

class UpdateTextsTest : public PanelTest {
protected:
	UpdateTextsTest()
	{
		world.add_filter("Camera");
		world.open_panel();
	}

	void say(const std::string &latest, const std::string &notes)
	{
		set_update_status({.soft = true, .latest = latest, .notes = notes});
		world.poll();
		settle();
	}

	QWidget &strip() { return *world.panel().findChild<QWidget *>(QStringLiteral("updateSoft")); }
	QLabel &notes() { return *strip().findChild<QLabel *>(QStringLiteral("updateSoftText")); }

	static QString tip_of(QWidget &widget)
	{
		QToolTip::hideText();
		QHelpEvent event(QEvent::ToolTip, QPoint(3, 3), widget.mapToGlobal(QPoint(3, 3)));
		QApplication::sendEvent(&widget, &event);
		return QToolTip::text();
	}
};

TEST_F(UpdateTextsTest, MarkupIsShownAsText)
{
	say("<b>9</b>", "<img src=\"https://h/x.png\"><a href=\"x\">notes</a>\n<h1>more</h1>");
	EXPECT_NE(find_named<QLabel>(strip(), QStringLiteral("Update available <b>9</b>")), nullptr);
	for (const auto *label : strip().findChildren<ElidedLabel *>())
		EXPECT_EQ(label->textFormat(), Qt::PlainText);
	EXPECT_EQ(notes().accessibleName(), QStringLiteral("<img src=\"https://h/x.png\"><a href=\"x\">notes</a>"));
	const QString tip = tip_of(notes());
	EXPECT_TRUE(tip.contains(QStringLiteral("&lt;img")));
	EXPECT_TRUE(tip.contains(QStringLiteral("&lt;h1&gt;more")));
	EXPECT_FALSE(tip.contains(QStringLiteral("<img")));
}

TEST_F(UpdateTextsTest, ControlCharactersDoNotBreakTheLine)
{
	say("9", "one");
	const int height = strip().height();
	say("9\r\n\t\x1b[31m", "one\ttwo\a\x7f\r\nthree");
	for (const auto *label : strip().findChildren<ElidedLabel *>()) {
		for (const QChar character : label->text())
			EXPECT_TRUE(character.isPrint()) << int{character.unicode()};
	}
	EXPECT_EQ(notes().accessibleName().left(7), QStringLiteral("one two"));
	EXPECT_EQ(strip().height(), height);
}

TEST_F(UpdateTextsTest, PercentSignsStayAsTheyAre)
{
	say("%1%n%2", "100%1");
	EXPECT_NE(find_named<QLabel>(strip(), QStringLiteral("Update available %1%n%2")), nullptr);
	EXPECT_EQ(notes().accessibleName(), QStringLiteral("100%1"));
}

TEST_F(UpdateTextsTest, MebibyteOfTextTakesNoMoreRoomThanAWord)
{
	say("9", "word");
	const QSize size = world.panel().size();
	const QSize least = world.panel().minimumSizeHint();
	say(std::string(1 << 20, '9'), std::string(1 << 20, 'w'));
	EXPECT_EQ(world.panel().size(), size);
	EXPECT_EQ(world.panel().minimumSizeHint(), least);
	// What is not kept is not measured: laying out a megabyte of text holds the host up for seconds.
	for (const auto *label : strip().findChildren<ElidedLabel *>()) {
		EXPECT_LT(label->full_text().size(), 1000);
		EXPECT_LT(label->toolTip().size(), 1000);
	}
}

} // namespace
} // namespace kalvio::test
