// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel_fixture.h"

#include "kit/history_double.h"
#include "panel/looks/apply_look.h"
#include "panel/looks/looks_page.h"
#include "panel/text/translations.h"

#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>

// The looks, by real keys and a real mouse, to the settings of the filter.
namespace kalvio::test {
namespace {

class LooksTest : public PanelTest {
protected:
	LooksTest() : filter(world.add_filter("Camera"))
	{
		world.open_panel(340, 640);
		world.panel().activateWindow();
		settle();
		click(named("Looks"));
		settle();
	}
	~LooksTest() override { set_language(LanguageEnglish); }

	QWidget &page() { return *world.panel().findChild<QWidget *>(QStringLiteral("looksPage")); }
	QWidget &named(const char *name) { return *find_named<QWidget>(world.panel(), QString::fromUtf8(name)); }
	QPushButton &button(const char *text)
	{
		for (auto *found : page().findChildren<QPushButton *>())
			if (found->text() == QString::fromUtf8(text))
				return *found;
		ADD_FAILURE() << "no button " << text;
		return *page().findChild<QPushButton *>();
	}
	SmoothButton *tile(const QString &text)
	{
		settle();
		QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
		return find_named<SmoothButton>(page(), text);
	}
	QLineEdit &name() { return *page().findChild<QLineEdit *>(QStringLiteral("lookName")); }
	QString message()
	{
		const auto *label = page().findChild<QLabel *>(QStringLiteral("lookMessage"));
		return label->isHidden() ? QString() : label->text();
	}
	void save_as(const char *text)
	{
		name().setText(QString::fromUtf8(text));
		click(button("Save as new"));
	}
	static size_t entries() { return history_double().undo_entries().size(); }

	FakeSource &filter;
};

TEST_F(LooksTest, AClickAppliesOneOfOurOwnAsOneEntry)
{
	obs_data_set_bool(filter.settings, "enabled", false);
	panel_model().parameters.enabled = false;
	panel_model().parameters.body[2] = 0.5f;
	const std::string before = [this] {
		pushParameters();
		return std::string(obs_data_get_json(filter.settings));
	}();
	click(*tile(QStringLiteral("Fresh")));
	EXPECT_FLOAT_EQ(static_cast<float>(setting_double(filter, "smoothing")), 0.35f);
	EXPECT_EQ(setting_double(filter, "leg_slim"), 0.0);
	EXPECT_FALSE(setting_bool(filter, "enabled"));
	EXPECT_TRUE(tile(QStringLiteral("Fresh"))->isChecked());
	ASSERT_EQ(entries(), 1u);
	EXPECT_EQ(history_double().newest(), "Kalvio: Looks");
	history_double().undo();
	EXPECT_EQ(obs_data_get_json(filter.settings), before);
	EXPECT_FALSE(tile(QStringLiteral("Fresh"))->isChecked());
}

TEST_F(LooksTest, TheCurrentSetIsSavedAndComesBack)
{
	panel_model().parameters.skin.rosiness = 0.66f;
	save_as("Friday");
	ASSERT_NE(tile(QStringLiteral("Friday")), nullptr);
	EXPECT_TRUE(tile(QStringLiteral("Friday"))->isChecked());
	EXPECT_EQ(message(), QStringLiteral("Saved: Friday"));
	click(*tile(QStringLiteral("Film")));
	EXPECT_FALSE(tile(QStringLiteral("Friday"))->isChecked());
	click(*tile(QStringLiteral("Friday")));
	EXPECT_FLOAT_EQ(static_cast<float>(setting_double(filter, "rosiness")), 0.66f);
	EXPECT_EQ(setting_string(filter, "filter_id"), "");
	world.close_panel();
	world.open_panel();
	EXPECT_NE(tile(QStringLiteral("Friday")), nullptr);
}

TEST_F(LooksTest, KeysSaveAndChooseToo)
{
	name().setFocus(Qt::TabFocusReason);
	for (const Qt::Key key : {Qt::Key_A, Qt::Key_B})
		click_key(&name(), key);
	click_key(&name(), Qt::Key_Return);
	ASSERT_NE(tile(QStringLiteral("ab")), nullptr);
	SmoothButton &film = *tile(QStringLiteral("Film"));
	click_key(&film, Qt::Key_Space);
	EXPECT_EQ(setting_string(filter, "filter_id"), "japanese");
	SmoothButton &own = *tile(QStringLiteral("ab"));
	EXPECT_EQ(own.focusPolicy(), Qt::TabFocus);
	click_key(&own, Qt::Key_Return);
	EXPECT_EQ(setting_string(filter, "filter_id"), "");
}

TEST_F(LooksTest, ALookIsRenamedAndDeletedWithASecondClick)
{
	EXPECT_FALSE(button("Delete").isEnabled());
	save_as("A");
	name().setText(QStringLiteral("B"));
	click(button("Rename"));
	EXPECT_EQ(tile(QStringLiteral("A")), nullptr);
	ASSERT_NE(tile(QStringLiteral("B")), nullptr);
	click(button("Delete"));
	ASSERT_NE(tile(QStringLiteral("B")), nullptr);
	click(button("Really delete"));
	EXPECT_EQ(tile(QStringLiteral("B")), nullptr);
	EXPECT_FALSE(button("Delete").isEnabled());
}

TEST_F(LooksTest, AnotherActionTakesTheQuestionBack)
{
	save_as("A");
	save_as("B");
	click(button("Delete"));
	click(*tile(QStringLiteral("A")));
	click(button("Delete"));
	EXPECT_NE(tile(QStringLiteral("A")), nullptr);
	EXPECT_NE(tile(QStringLiteral("B")), nullptr);
}

TEST_F(LooksTest, ABadFileIsRefusedWithAMessage)
{
	const ScratchFolder folder;
	click(button("Import"));
	auto *dialog = world.panel().findChild<QFileDialog *>();
	ASSERT_NE(dialog, nullptr);
	emit dialog->fileSelected(QString::fromStdString(folder.write("bad.json", "{")));
	EXPECT_EQ(message(), QStringLiteral("The file holds no whole look. Nothing was changed."));
	emit dialog->fileSelected(QString::fromStdString(folder.write(
		"good.json", R"({"kalvio_look": 1, "name": "<b>Guest</b>", "settings": {"rosiness": 0.5}})")));
	ASSERT_NE(tile(QStringLiteral("<b>Guest</b>")), nullptr);
	EXPECT_EQ(entries(), 0u); // importing applies nothing
	dialog->reject();
}

TEST_F(LooksTest, NextAndPreviousGoAround)
{
	save_as("Mine");
	panel_model().parameters.skin.sharpening = 0.9f;
	world.panel().refreshControls();
	apply_neighboring_look(1);
	EXPECT_TRUE(tile(QStringLiteral("Fresh"))->isChecked());
	apply_neighboring_look(-1);
	EXPECT_TRUE(tile(QStringLiteral("Mine"))->isChecked());
	apply_neighboring_look(1);
	EXPECT_TRUE(tile(QStringLiteral("Fresh"))->isChecked());
	apply_neighboring_look(1);
	EXPECT_TRUE(tile(QStringLiteral("Natural"))->isChecked());
	world.remove_all_filters();
	world.poll();
	apply_neighboring_look(1);
	EXPECT_EQ(panel_model().parameters.filter.id, "");
}

TEST_F(LooksTest, WithoutAFilterOnlyTheWayBackIsLeft)
{
	world.remove_all_filters();
	world.poll();
	EXPECT_FALSE(tile(QStringLiteral("Fresh"))->isEnabled());
	EXPECT_FALSE(button("Import").isEnabled());
	click(button("Back"));
	EXPECT_FALSE(page().isVisible());
}

TEST_F(LooksTest, NothingIsCutInAnyLanguage)
{
	for (int language = 0; language < language_count; ++language) {
		set_language(language);
		world.panel().retranslate();
		settle();
		for (auto *found : page().findChildren<QPushButton *>()) {
			if (!found->isVisible())
				continue;
			if (const auto *smooth = qobject_cast<SmoothButton *>(found))
				EXPECT_EQ(smooth->painted_text(), smooth->text()) << language;
			else
				EXPECT_GE(found->width(), found->sizeHint().width())
					<< language << " " << found->text().toStdString();
		}
		auto *area = page().findChild<QScrollArea *>();
		EXPECT_LE(area->widget()->minimumSizeHint().width(), area->viewport()->width()) << language;
	}
}

} // namespace
} // namespace kalvio::test
