// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel_fixture.h"

#include "panel/search_index.h"
#include "panel/text/translations.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QScrollArea>

namespace kalvio::test {
namespace {

class SearchTest : public PanelTest {
protected:
	SearchTest()
	{
		world.add_filter("Camera");
		world.add_filter("Guest");
		world.open_panel();
	}

	QLineEdit &field() { return *world.panel().findChild<QLineEdit *>(QStringLiteral("searchField")); }
	QListWidget &list() { return *world.panel().findChild<QListWidget *>(QStringLiteral("searchResults")); }
	void open() { click_key(&world.panel(), Qt::Key_F, Qt::ControlModifier); }
	void search(const QString &text)
	{
		open();
		field().setText(text);
	}
	void press(Qt::Key key) { click_key(&field(), key); }
	QStringList found()
	{
		QStringList texts;
		for (int row = 0; row < list().count(); ++row)
			texts.append(list().item(row)->text());
		return texts;
	}
	int shown_page()
	{
		for (int page = SkinPage; page <= BackgroundPage; ++page) {
			if (world.page(page).isVisible())
				return page;
		}
		return -1;
	}
};

TEST_F(SearchTest, OpensWithCtrlFAndClosesWithEscape)
{
	EXPECT_FALSE(field().isVisible());
	open();
	EXPECT_TRUE(field().isVisible());
	EXPECT_TRUE(field().hasFocus());
	EXPECT_FALSE(list().isVisible());
	press(Qt::Key_Escape);
	EXPECT_FALSE(field().isVisible());
}

TEST_F(SearchTest, OpensByItsButton)
{
	click(*find_named<QPushButton>(world.panel(), QStringLiteral("Search settings")));
	EXPECT_TRUE(field().isVisible());
}

TEST_F(SearchTest, EnterJumpsToTheControl)
{
	search(QStringLiteral("spill"));
	ASSERT_FALSE(found().isEmpty());
	press(Qt::Key_Escape);

	search(QStringLiteral("lipstick"));
	ASSERT_FALSE(found().isEmpty());
	EXPECT_TRUE(found().front().startsWith(QStringLiteral("Lipstick"))) << found().front().toStdString();
	press(Qt::Key_Return);
	EXPECT_FALSE(field().isVisible());
	EXPECT_EQ(shown_page(), MakeupPage);
	const QWidget *focus = QApplication::focusWidget();
	ASSERT_TRUE(focus);
	EXPECT_TRUE(world.page(MakeupPage).isAncestorOf(focus));
	EXPECT_TRUE(focus->accessibleName().startsWith(QStringLiteral("Lipstick")));
	EXPECT_FALSE(focus->visibleRegion().isEmpty());
}

TEST_F(SearchTest, ArrowsChooseAmongWhatIsFound)
{
	search(QStringLiteral("eye"));
	ASSERT_GT(list().count(), 3);
	EXPECT_EQ(list().currentRow(), 0);
	press(Qt::Key_Up);
	EXPECT_EQ(list().currentRow(), 0);
	press(Qt::Key_Down);
	press(Qt::Key_Down);
	EXPECT_EQ(list().currentRow(), 2);
	const QString chosen = list().currentItem()->text();
	press(Qt::Key_Return);
	EXPECT_TRUE(chosen.startsWith(QApplication::focusWidget()->accessibleName()));
}

TEST_F(SearchTest, AClickChooses)
{
	search(QStringLiteral("rose"));
	ASSERT_FALSE(found().isEmpty());
	const QPoint place = list().visualItemRect(list().item(0)).center();
	press_mouse(list().viewport(), Qt::LeftButton, place);
	release_mouse(list().viewport(), Qt::LeftButton, place);
	EXPECT_EQ(shown_page(), FilterPage);
	EXPECT_EQ(QApplication::focusWidget()->property("fid").toString(), QStringLiteral("rose"));
}

TEST_F(SearchTest, SourcesAreFoundAndDriven)
{
	search(QStringLiteral("gue"));
	ASSERT_FALSE(found().isEmpty());
	press(Qt::Key_Return);
	EXPECT_EQ(world.panel().findChild<QComboBox *>()->currentText(), QStringLiteral("Guest"));
}

TEST_F(SearchTest, SaysThatNothingIsFound)
{
	search(QStringLiteral("zzzz"));
	EXPECT_EQ(found(), QStringList{QStringLiteral("Nothing found")});
	press(Qt::Key_Return);
	EXPECT_TRUE(field().isVisible());
}

TEST_F(SearchTest, EveryWordCountsInAnyOrderAndCase)
{
	search(QStringLiteral("  MAKEUP  lip "));
	ASSERT_FALSE(found().isEmpty());
	for (const QString &text : found())
		EXPECT_TRUE(text.contains(QStringLiteral("lip"), Qt::CaseInsensitive)) << text.toStdString();
}

TEST_F(SearchTest, WhatIsHiddenIsNotFound)
{
	std::vector<SearchEntry> entries;
	QWidget page;
	QPushButton shown(QStringLiteral("Choose"), &page);
	QPushButton hidden(QStringLiteral("Choose"), &page);
	hidden.hide();
	QPushButton without_text(&page);
	add_controls(entries, page, 3, QStringLiteral("Page"));
	ASSERT_EQ(entries.size(), 1u);
	EXPECT_EQ(entries.front().control, &shown);
	EXPECT_EQ(entries.front().page, 3);
}

TEST_F(SearchTest, EverySliderIsFoundByItsName)
{
	open();
	for (int page = SkinPage; page <= BackgroundPage; ++page) {
		world.show_page(page);
		for (const auto *slider : world.page(page).findChildren<QSlider *>()) {
			if (!slider->isVisibleTo(&world.page(page)))
				continue;
			field().setText(slider->accessibleName());
			ASSERT_FALSE(found().isEmpty());
			EXPECT_TRUE(found().front().startsWith(slider->accessibleName()))
				<< slider->accessibleName().toStdString();
		}
	}
}

TEST_F(SearchTest, ClosesWhenNothingCanBeEdited)
{
	search(QStringLiteral("lip"));
	world.remove_all_filters();
	world.poll();
	world.show_changes();
	EXPECT_FALSE(field().isVisible());
	open();
	EXPECT_FALSE(field().isVisible());
}

TEST_F(SearchTest, SpeaksTheLanguageOfThePanel)
{
	set_language(LanguageGerman);
	world.panel().retranslate();
	search(QStringLiteral("lippenstift"));
	EXPECT_FALSE(found().isEmpty());
	EXPECT_EQ(field().accessibleName().toStdString(), translate("search.title"));
	set_language(LanguageEnglish);
}

} // namespace
} // namespace kalvio::test
