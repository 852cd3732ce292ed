// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel_fixture.h"

#include "kit/history_double.h"
#include "panel/text/translations.h"
#include "panel/widgets/check_box.h"

#include <QComboBox>
#include <QStyle>
#include <QStyleOptionSlider>
#include <set>

// What the user does by mouse and keys, in the host's undo history.
namespace kalvio::test {
namespace {

class PanelUndoTest : public PanelTest {
protected:
	PanelUndoTest() : filter(world.add_filter("Camera"))
	{
		world.open_panel(400, 700);
		settle();
	}

	QSlider &smooth() { return *find_named<QSlider>(world.panel(), QStringLiteral("Smooth")); }

	static QPoint handle_of(const QSlider &slider)
	{
		QStyleOptionSlider option;
		option.initFrom(&slider);
		option.orientation = Qt::Horizontal;
		option.minimum = slider.minimum();
		option.maximum = slider.maximum();
		option.sliderPosition = option.sliderValue = slider.value();
		return slider.style()
			->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, &slider)
			.center();
	}

	static void drag(QSlider &slider, int pixels)
	{
		QPoint place = handle_of(slider);
		press_mouse(&slider, Qt::LeftButton, place);
		for (int i = 0; i < 5; ++i)
			move_mouse(&slider, place += QPoint(pixels / 5, 0));
		release_mouse(&slider, Qt::LeftButton, place);
	}

	static size_t entries() { return history_double().undo_entries().size(); }
	static std::string newest() { return history_double().newest(); }

	std::string settings() const { return obs_data_get_json(filter.settings); }

	FakeSource &filter;
};

} // namespace

TEST_F(PanelUndoTest, DragIsOneEntryAndTheSliderFollowsItsUndo)
{
	const std::string start = settings();
	drag(smooth(), 60);
	const int dragged_to = smooth().value();
	ASSERT_GT(dragged_to, 0);
	EXPECT_EQ(entries(), 1u);
	EXPECT_EQ(newest(), "Kalvio: Smooth");
	history_double().undo();
	EXPECT_EQ(settings(), start);
	EXPECT_EQ(smooth().value(), 0);
	history_double().redo();
	EXPECT_EQ(smooth().value(), dragged_to);
}

TEST_F(PanelUndoTest, TwoDragsAreTwoEntries)
{
	drag(smooth(), 60);
	const int first = smooth().value();
	drag(smooth(), 40);
	EXPECT_EQ(entries(), 2u);
	history_double().undo();
	EXPECT_EQ(smooth().value(), first);
}

TEST_F(PanelUndoTest, PauseWhileHoldingDoesNotDivideADrag)
{
	QPoint place = handle_of(smooth());
	press_mouse(&smooth(), Qt::LeftButton, place);
	for (int i = 0; i < 3; ++i) {
		move_mouse(&smooth(), place += QPoint(20, 0));
		history_double().pass_time(10000);
		for (int polls = 0; polls < 50; ++polls)
			world.poll();
	}
	EXPECT_EQ(entries(), 0u);
	EXPECT_EQ(history_double().saves, 0);
	release_mouse(&smooth(), Qt::LeftButton, place);
	EXPECT_EQ(entries(), 1u);
}

TEST_F(PanelUndoTest, SliderThatIsHeldStaysWhenAnEntryIsUndone)
{
	drag(smooth(), 60);
	const QPoint place = handle_of(smooth());
	press_mouse(&smooth(), Qt::LeftButton, place);
	move_mouse(&smooth(), place + QPoint(40, 0));
	const int held_at = smooth().value();
	history_double().undo();
	EXPECT_EQ(smooth().value(), held_at);
	EXPECT_EQ(setting_double(filter, "smoothing"), 0.0);
	release_mouse(&smooth(), Qt::LeftButton, place + QPoint(40, 0));
}

TEST_F(PanelUndoTest, DragEndsWhenItsPageGoesAway)
{
	const QPoint place = handle_of(smooth());
	press_mouse(&smooth(), Qt::LeftButton, place);
	move_mouse(&smooth(), place + QPoint(40, 0));
	click_key(&world.panel(), Qt::Key_2, Qt::ControlModifier);
	settle();
	EXPECT_FALSE(smooth().isSliderDown());
	EXPECT_EQ(entries(), 1u);
	release_mouse(&smooth(), Qt::LeftButton, place);
}

TEST_F(PanelUndoTest, RunOfKeysIsOneEntry)
{
	for (int i = 0; i < 10; ++i) {
		click_key(&smooth(), Qt::Key_Right);
		history_double().pass_time(500);
	}
	EXPECT_EQ(smooth().value(), 10);
	EXPECT_EQ(entries(), 1u);
	history_double().undo();
	EXPECT_EQ(smooth().value(), 0);
}

TEST_F(PanelUndoTest, RunOfTheWheelIsOneEntry)
{
	click(smooth());
	const size_t before = entries();
	const int value = smooth().value();
	history_double().pass_time(3000);
	for (int i = 0; i < 5; ++i)
		turn_wheel(&smooth(), 120);
	EXPECT_NE(smooth().value(), value);
	EXPECT_EQ(entries(), before + 1);
	history_double().undo();
	EXPECT_EQ(smooth().value(), value);
}

TEST_F(PanelUndoTest, KeysOnTwoSlidersOfOneCaptionAreTwoEntries)
{
	world.show_page(MakeupPage);
	const QList<QSlider *> sliders = world.page(MakeupPage).findChildren<QSlider *>();
	click_key(sliders.at(0), Qt::Key_Right);
	click_key(sliders.at(1), Qt::Key_Right);
	EXPECT_EQ(entries(), 2u);
	EXPECT_EQ(newest(), "Kalvio: Blush: Strength");
}

TEST_F(PanelUndoTest, OptionIsAnEntry)
{
	const std::string start = settings();
	click(*find_named<SmoothButton>(world.panel(), QStringLiteral("Skin tone: Bronze")));
	EXPECT_EQ(entries(), 1u);
	EXPECT_EQ(newest(), "Kalvio: Skin tone");
	history_double().undo();
	EXPECT_EQ(settings(), start);
	EXPECT_FALSE(find_named<SmoothButton>(world.panel(), QStringLiteral("Skin tone: Bronze"))->isChecked());
}

TEST_F(PanelUndoTest, TileIsAnEntry)
{
	const std::string start = settings();
	world.show_page(FilterPage);
	SmoothButton *tile = world.page(FilterPage).findChildren<SmoothButton *>().at(2);
	click(*tile);
	EXPECT_TRUE(tile->isChecked());
	EXPECT_EQ(newest(), "Kalvio: Filter");
	history_double().undo();
	EXPECT_FALSE(tile->isChecked());
	EXPECT_EQ(settings(), start);
}

TEST_F(PanelUndoTest, CardResetIsAnEntry)
{
	drag(smooth(), 60);
	const int value = smooth().value();
	auto *reset = find_named<QPushButton>(world.page(SkinPage), QStringLiteral("Reset: Skin"));
	ASSERT_TRUE(reset);
	click(*reset);
	EXPECT_EQ(smooth().value(), 0);
	EXPECT_EQ(newest(), "Kalvio: Reset: Skin");
	history_double().undo();
	EXPECT_EQ(smooth().value(), value);
}

TEST_F(PanelUndoTest, LiveToggleIsAnEntryWithTheNextPoll)
{
	auto *live = world.panel().findChild<CheckBox *>();
	click(*live);
	EXPECT_EQ(entries(), 0u);
	world.poll();
	EXPECT_EQ(newest(), "Kalvio: Live");
	history_double().undo();
	EXPECT_TRUE(live->checked);
	EXPECT_TRUE(setting_bool(filter, "enabled"));
}

TEST_F(PanelUndoTest, UndoOfAllSourcesShowsTheSourceThatWasChosen)
{
	FakeSource &second = world.add_filter("Screen");
	world.poll();
	auto *selector = world.panel().findChild<QComboBox *>();
	selector->setCurrentIndex(2);
	drag(smooth(), 60);
	const double value = setting_double(second, "smoothing");
	selector->setCurrentIndex(0);
	EXPECT_EQ(setting_double(filter, "smoothing"), value);
	EXPECT_EQ(newest(), "Kalvio: All sources");
	history_double().undo();
	EXPECT_EQ(selector->currentIndex(), 2);
	EXPECT_EQ(setting_double(filter, "smoothing"), 0.0);
	EXPECT_EQ(setting_double(second, "smoothing"), value);
}

TEST_F(PanelUndoTest, RefreshIsNoEntry)
{
	obs_data_set_double(filter.settings, "smoothing", 0.5);
	obs_data_set_bool(filter.settings, "skin_only", true);
	world.panel().syncFromEngine();
	world.poll();
	EXPECT_EQ(smooth().value(), 50);
	EXPECT_EQ(entries(), 0u);
}

// The host joins steps of one name, so no two sliders may share one, in any language.
TEST_F(PanelUndoTest, EachSliderHasANameOfItsOwnInEveryLanguage)
{
	for (int language = 0; language < language_count; ++language) {
		set_language(language);
		world.panel().retranslate();
		std::set<std::string> names;
		size_t sliders = 0;
		for (int page = SkinPage; page <= BackgroundPage; ++page) {
			world.show_page(page);
			for (auto *slider : world.page(page).findChildren<QSlider *>()) {
				history_double().reset();
				slider->setValue(slider->value() + 1);
				names.insert(newest());
				++sliders;
			}
		}
		EXPECT_EQ(sliders, 52u);
		EXPECT_EQ(names.size(), sliders) << "language " << language;
	}
	set_language(LanguageEnglish);
}

} // namespace kalvio::test
