// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel_fixture.h"

#include "filter/filter_instance.h"
#include "panel/widgets/check_box.h"
#include "panel/widgets/switch.h"

#include <QComboBox>
#include <QPushButton>
#include <set>

// Every control of the panel, by a real key or click, over no, one, two and many filters, one chosen or all: it reaches
// the settings and the engine of each filter that it is for, and of no other. What a control writes is the business of
// the tests of its kind.
namespace kalvio::test {
namespace {

struct Case {
	int filters;
	bool drives_all;
};

class TargetsTest : public PanelTest, public testing::WithParamInterface<Case> {
protected:
	TargetsTest()
	{
		for (int i = 0; i < GetParam().filters; ++i) {
			FakeSource &filter = world.add_filter("Camera");
			write(filter.settings, shows_every_row());
			filters_.push_back(&filter);
		}
		ui_preferences().apply_global = GetParam().drives_all;
		world.open_panel(340, 1900);
		choose_from_the_middle();
	}

	static ParameterSet shows_every_row()
	{
		ParameterSet set;
		set.background.fill = 1;
		set.background.blur = 0.3f;
		set.background.chroma = 1;
		return set;
	}

	static void write(obs_data_t *settings, const ParameterSet &set) { write_parameters(set, settings); }

	static ParameterSet set_of(const FakeSource &filter)
	{
		ParameterSet set;
		read_parameters(filter.settings, set);
		return set;
	}

	static const void *engine_of(const FakeSource &filter)
	{
		return static_cast<FilterInstance *>(filter.data)->engine.get();
	}

	// Neither the first filter nor the last, where there are as many.
	void choose_from_the_middle()
	{
		targets_ = filters_;
		if (GetParam().drives_all || filters_.empty())
			return;
		const int chosen = GetParam().filters / 2;
		auto *selector = world.panel().findChild<QComboBox *>();
		while (selector->currentIndex() != chosen + 1)
			click_key(selector, Qt::Key_Down);
		targets_ = {filters_.at(static_cast<size_t>(chosen))};
	}

	// A hidden row cannot be operated: back to settings that show it. Without a filter pages stay as they are.
	void show(const QWidget &control)
	{
		if (control.isVisible() || filters_.empty())
			return;
		panel_model().parameters = shows_every_row();
		pushParameters();
		world.panel().refreshControls();
		settle();
		ASSERT_TRUE(control.isVisible());
	}

	void check_control(const QWidget &control, const std::function<void()> &operate)
	{
		SCOPED_TRACE(control.metaObject()->className() + std::string(" ") +
			     control.accessibleName().toStdString());
		show(control);
		const ParameterSet panel_before = panel_model().parameters;
		std::vector<ParameterSet> before;
		for (const FakeSource *filter : filters_)
			before.push_back(set_of(*filter));
		host_double().tick();
		call_journal().reset();
		operate();
		++controls_;
		EXPECT_EQ(updates(), targets_.size());
		if (filters_.empty()) {
			EXPECT_EQ(panel_model().parameters, panel_before);
		}
		check_settings(before);
		check_engines();
	}

	void check_settings(const std::vector<ParameterSet> &before) const
	{
		for (size_t i = 0; i < filters_.size(); ++i) {
			const bool is_target = std::ranges::find(targets_, filters_[i]) != targets_.end();
			EXPECT_EQ(set_of(*filters_[i]), is_target ? panel_model().parameters : before[i]) << i;
		}
	}

	// At the host's next tick each target's engine is told the same, the whole set, and nobody else's anything.
	void check_engines() const
	{
		host_double().tick();
		std::map<const void *, std::vector<Call>> told;
		for (const Call &call : call_journal().take()) {
			if (call.origin == CallOrigin::Engine)
				told[call.object].push_back(call);
		}
		std::set<const void *> expected;
		for (const FakeSource *filter : targets_)
			expected.insert(engine_of(*filter));
		EXPECT_EQ(told.size(), expected.size());
		for (const auto &[engine, calls] : told) {
			EXPECT_TRUE(expected.contains(engine));
			EXPECT_EQ(calls, told.begin()->second);
			const auto smoothing = std::ranges::find(calls, "kl_set_smoothing", &Call::name);
			ASSERT_NE(smoothing, calls.end());
			EXPECT_EQ(smoothing->arguments, std::vector<Argument>{panel_model().parameters.skin.smoothing});
		}
	}

	int controls_ = 0; // that were checked

	std::vector<FakeSource *> filters_;
	std::vector<FakeSource *> targets_;
};

TEST_P(TargetsTest, EachOfThe52SlidersReachesThem)
{
	for (int page = SkinPage; page <= BackgroundPage; ++page) {
		world.show_page(page);
		for (auto *slider : world.page(page).findChildren<QSlider *>()) {
			const Qt::Key key = slider->value() == slider->maximum() ? Qt::Key_Left : Qt::Key_Right;
			check_control(*slider, [&] { click_key(slider, key); });
		}
	}
	EXPECT_EQ(controls_, 52);
}

TEST_P(TargetsTest, EachOptionAndTileReachesThem)
{
	for (int page = SkinPage; page <= BackgroundPage; ++page) {
		world.show_page(page);
		for (auto *button : world.page(page).findChildren<SmoothButton *>())
			check_control(*button, [&] { click(*button); });
	}
	// 17 rows of options; the filters, stickers and presets of the data folder with their two empty ones.
	EXPECT_EQ(controls_, 91 + 19 + 11 + 8);
}

TEST_P(TargetsTest, SwitchAndResetsReachThem)
{
	for (int page = SkinPage; page <= BackgroundPage; ++page) {
		world.show_page(page);
		for (auto *toggle : world.page(page).findChildren<Switch *>())
			check_control(*toggle, [&] { click(*toggle); });
		for (auto *button : world.page(page).findChildren<QPushButton *>()) {
			const bool is_reset = button->accessibleName().startsWith(QStringLiteral("Reset"));
			const bool drops_picture = button->text() == QStringLiteral("Clear custom");
			if (is_reset || drops_picture)
				check_control(*button, [&] { click(*button); });
		}
	}
	auto *reset_all = find_named<QPushButton>(world.panel(), QStringLiteral("Reset"));
	check_control(*reset_all, [&] { click(*reset_all); });
	EXPECT_EQ(controls_, 1 + 7 + 1 + 1);
}

TEST_P(TargetsTest, LiveToggleReachesThemWithTheNextPoll)
{
	auto &live = *world.panel().findChild<CheckBox *>();
	call_journal().reset();
	click(live);
	EXPECT_EQ(updates(), 0u);
	world.poll();
	EXPECT_EQ(updates(), targets_.size());
	for (FakeSource *filter : filters_) {
		const bool is_target = std::ranges::find(targets_, filter) != targets_.end();
		EXPECT_EQ(setting_bool(*filter, "enabled"), !is_target);
	}
}

INSTANTIATE_TEST_SUITE_P(Filters, TargetsTest,
			 testing::Values(Case{0, false}, Case{0, true}, Case{1, false}, Case{1, true}, Case{2, false},
					 Case{2, true}, Case{40, false}, Case{40, true}),
			 [](const testing::TestParamInfo<Case> &test_case) {
				 return std::to_string(test_case.param.filters) +
					(test_case.param.drives_all ? "All" : "One");
			 });

} // namespace
} // namespace kalvio::test
