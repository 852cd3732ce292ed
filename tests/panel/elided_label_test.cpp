// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/widgets/elided_label.h"

#include "panel_fixture.h"

#include <QHBoxLayout>

namespace kalvio::test {
namespace {

TEST(ElidedLabelTest, ShowsAllOfItsTextWhereThereIsRoom)
{
	QWidget window;
	window.setStyleSheet(QStringLiteral("QWidget { font-size:17px; }"));
	auto *layout = new QHBoxLayout(&window);
	auto *label = new ElidedLabel;
	layout->addStretch(1);
	layout->addWidget(label);
	label->set_full_text(QStringLiteral("short"));
	window.resize(400, 40);
	window.show();
	settle();
	label->set_full_text(QStringLiteral("a longer text"));
	settle();
	EXPECT_EQ(label->text(), QStringLiteral("a longer text"));
	EXPECT_GE(label->width(), label->fontMetrics().horizontalAdvance(label->text()));
}

TEST(ElidedLabelTest, EndsInAnEllipsisWhereThereIsNone)
{
	ElidedLabel label;
	label.set_full_text(QStringLiteral("a text that is much too long"));
	label.resize(60, 20);
	label.show();
	settle();
	EXPECT_TRUE(label.text().endsWith(u'\u2026'));
	EXPECT_EQ(label.accessibleName(), label.full_text());
	EXPECT_EQ(label.minimumSizeHint().width(), 0);
}

TEST(ElidedLabelTest, IsOneLineOfPlainText)
{
	ElidedLabel label;
	label.resize(400, 20);
	label.set_full_text(QStringLiteral("<b>one</b>\ntwo\u2028three\tfour"));
	EXPECT_EQ(label.text(), QStringLiteral("<b>one</b> two three four"));
	EXPECT_EQ(label.textFormat(), Qt::PlainText);
}

class LabelsInPanelTest : public PanelTest {};

TEST_F(LabelsInPanelTest, ShowAllOfTheirTextWhereThereIsRoom)
{
	world.add_filter("Camera");
	world.open_panel(480);
	set_update_status({.soft = true, .latest = "1.0.13", .notes = ""});
	world.poll();
	world.show_page(BackgroundPage);
	for (auto *label : world.panel().findChildren<ElidedLabel *>()) {
		if (label->isVisible()) {
			EXPECT_EQ(label->text(), label->full_text());
		}
	}
}

} // namespace
} // namespace kalvio::test
