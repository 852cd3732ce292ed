// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel_fixture.h"

#include "panel/text/translations.h"

#include <QButtonGroup>
#include <QGridLayout>

// All 17 option rows, by real clicks, to the settings of the filter and to its engine.
namespace kalvio::test {
namespace {

struct OptionRow {
	int page;
	const char *caption_key;
	const char *setting;
	const char *engine_call;
	int columns;
	std::vector<int> values; // in the order of the buttons
	const char *first_label_key;
	std::vector<QColor> left_colors; // of the swatches; empty: no swatches
};

const OptionRow option_rows[] = {
	{SkinPage,
	 "skin.smoothingStyle",
	 "smoothing_style",
	 "kl_set_smoothing_style",
	 3,
	 {1, 0, 2},
	 "smoothing.texture",
	 {}},
	{SkinPage,
	 "skin.whiteningTone",
	 "whitening_style",
	 "kl_set_whitening_style",
	 5,
	 {0, 1, 2, 3, 4},
	 "whitening.coldWhite",
	 {}},
	{MakeupPage,
	 "makeup.color",
	 "lipstick_color",
	 "kl_set_lipstick_color",
	 3,
	 {0, 1, 2, 3, 4, 5},
	 "lipstick.rouge",
	 {0x9d174d, 0x990024, 0xbe185d, 0xb3391b, 0x9d174d, 0xc2410c}},
	{MakeupPage,
	 "makeup.style",
	 "blush_style",
	 "kl_set_blush_style",
	 4,
	 {0, 1, 2, 3, 4, 5, 6},
	 "blush.sunKissed",
	 {}},
	{MakeupPage,
	 "makeup.color",
	 "blush_color",
	 "kl_set_blush_color",
	 3,
	 {0, 1, 2, 3, 4},
	 "blushColor.coralPink",
	 {0xb45309, 0x9f1239, 0xbe123c, 0x831843, 0xc2410c}},
	{MakeupPage,
	 "makeup.style",
	 "contour_style",
	 "kl_set_contour_style",
	 4,
	 {0, 1, 2, 3, 4, 5},
	 "contour.natural",
	 {}},
	{MakeupPage,
	 "makeup.style",
	 "eyeshadow_style",
	 "kl_set_eye_shadow_style",
	 4,
	 {0, 1, 2, 3, 4, 5, 6},
	 "eyeshadow.soft",
	 {}},
	{MakeupPage,
	 "makeup.color",
	 "eyeshadow_color",
	 "kl_set_eye_shadow_color",
	 3,
	 {0, 1, 2, 3},
	 "eyeshadowColor.plum",
	 {0x6b21a8, 0x78350f, 0xa16207, 0x9d174d}},
	{MakeupPage,
	 "makeup.style",
	 "eyeliner_style",
	 "kl_set_eye_liner_style",
	 4,
	 {0, 1, 2, 3, 4, 5},
	 "eyeliner.classic",
	 {}},
	{MakeupPage,
	 "makeup.color",
	 "eyeliner_color",
	 "kl_set_eye_liner_color",
	 3,
	 {0, 1, 2, 3, 4},
	 "eyelinerColor.burgundy",
	 {0x7f1d1d, 0x581c87, 0x431407, 0x1c1917, 0x3f3f46}},
	{MakeupPage,
	 "makeup.style",
	 "eyebrow_style",
	 "kl_set_eyebrow_style",
	 4,
	 {0, 1, 2, 3, 4, 5, 6, 7, 8},
	 "eyebrow.natural",
	 {}},
	{MakeupPage,
	 "makeup.color",
	 "eyebrow_color",
	 "kl_set_eyebrow_color",
	 3,
	 {0, 1, 2},
	 "eyebrowColor.darkBrown",
	 {0x44403c, 0x18181b, 0x78716c}},
	{MakeupPage,
	 "makeup.style",
	 "eyelash_style",
	 "kl_set_eyelash_style",
	 4,
	 {0, 1, 2, 3, 4, 5},
	 "eyelash.classic",
	 {}},
	{MakeupPage,
	 "makeup.color",
	 "eyelash_color",
	 "kl_set_eyelash_color",
	 3,
	 {0, 1, 2},
	 "eyelashColor.black",
	 {0x09090b, 0x44403c, 0x27272a}},
	{MakeupPage,
	 "makeup.pupilColor",
	 "pupil_color",
	 "kl_set_pupil_color",
	 4,
	 {0, 1, 2, 3, 4, 5, 6, 7, 8},
	 "pupil.hazel",
	 {0x92400e, 0x38bdf8, 0x78350f, 0x4d7c0f, 0xa8a29e, 0x3f6212, 0xd4a017, 0xfacc15, 0x64748b}},
	{BackgroundPage, "bg.effect", "bg_fill", nullptr, 3, {0, 1, 2}, "bg.original", {}},
	{BackgroundPage, "bg.cutout", "chroma", nullptr, 4, {0, 1, 2, 3}, "bg.portrait", {}},
};

class OptionsTest : public PanelTest {
protected:
	// The groups of options of a page from top to bottom; tiles have groups of their own.
	QList<QButtonGroup *> option_groups(int page)
	{
		QList<QButtonGroup *> found;
		for (auto *group : world.page(page).findChildren<QButtonGroup *>()) {
			const QObject *first = group->buttons().value(0);
			const bool is_tile = first->property("fid").isValid() || first->property("sid").isValid() ||
					     first->property("bgid").isValid();
			if (!is_tile)
				found.append(group);
		}
		return found;
	}

	void for_each_row(const std::function<void(const OptionRow &, QButtonGroup &)> &check)
	{
		int page = -1;
		qsizetype index = 0;
		for (const OptionRow &row : option_rows) {
			if (row.page != page)
				index = 0;
			page = row.page;
			SCOPED_TRACE(row.setting);
			world.show_page(page);
			ASSERT_LT(index, option_groups(page).size());
			check(row, *option_groups(page).at(index++));
		}
	}
};

TEST_F(OptionsTest, EveryPageHasItsRowsAndNoOthers)
{
	EXPECT_EQ(std::size(option_rows), 17u);
	world.open_panel();
	int rows = 0;
	for (int page = SkinPage; page <= BackgroundPage; ++page)
		rows += static_cast<int>(option_groups(page).size());
	EXPECT_EQ(rows, 17);
	for_each_row([](const OptionRow &row, QButtonGroup &group) {
		EXPECT_TRUE(group.exclusive());
		std::vector<int> values;
		for (QAbstractButton *button : group.buttons())
			values.push_back(group.id(button));
		EXPECT_EQ(values, row.values);
		EXPECT_EQ(group.buttons().front()->text().toStdString(), translate(row.first_label_key));
	});
}

TEST_F(OptionsTest, ButtonsStandInEqualColumns)
{
	world.add_filter("Camera");
	world.open_panel();
	for_each_row([](const OptionRow &row, QButtonGroup &group) {
		const auto buttons = group.buttons();
		for (int i = 0; i < buttons.size(); ++i) {
			const QRect place = buttons.at(i)->geometry();
			const QRect first = buttons.at(0)->geometry();
			EXPECT_NEAR(place.width(), first.width(), 1);
			EXPECT_EQ(place.height(), first.height());
			EXPECT_NEAR(place.left(), first.left() + i % row.columns * (first.width() + 8), row.columns);
			EXPECT_EQ(place.top(), first.top() + i / row.columns * (first.height() + 8));
		}
	});
}

TEST_F(OptionsTest, SwatchesHaveTheirColors)
{
	world.open_panel();
	for_each_row([](const OptionRow &row, QButtonGroup &group) {
		const auto buttons = group.buttons();
		for (qsizetype i = 0; i < buttons.size(); ++i) {
			const auto &button = *qobject_cast<SmoothButton *>(buttons.at(i));
			EXPECT_EQ(button.gradient_fill, !row.left_colors.empty());
			if (row.left_colors.empty())
				continue;
			EXPECT_EQ(button.gradient_start, row.left_colors.at(static_cast<size_t>(i)));
			EXPECT_EQ(button.text_normal, QColor(255, 255, 255, 230));
			EXPECT_EQ(button.border_normal, QColor(255, 255, 255, 40));
			EXPECT_EQ(button.border_hover, QColor(255, 255, 255, 110));
			EXPECT_EQ(button.border_checked, QColor(255, 255, 255));
			EXPECT_EQ(button.border_width[1], 2.0);
		}
	});
}

TEST_F(OptionsTest, OnlyLipstickSwatchesBlendTwoColors)
{
	world.open_panel();
	for_each_row([](const OptionRow &row, QButtonGroup &group) {
		for (QAbstractButton *member : group.buttons()) {
			const auto &button = *qobject_cast<SmoothButton *>(member);
			if (!button.gradient_fill)
				continue;
			EXPECT_EQ(button.gradient_start != button.gradient_end,
				  std::string_view(row.setting) == "lipstick_color");
		}
	});
}

TEST_F(OptionsTest, EachClickReachesSettingsAndEngine)
{
	FakeSource &filter = world.add_filter("Camera");
	world.open_panel(340, 1900);
	for_each_row([&](const OptionRow &row, QButtonGroup &group) {
		for (const int value : row.values) {
			call_journal().reset();
			click(*group.button(value));
			EXPECT_EQ(setting_int(filter, row.setting), value);
			EXPECT_EQ(group.checkedId(), value);
			EXPECT_EQ(updates(), 1u);
			if (row.engine_call) {
				EXPECT_EQ(last_engine_arguments(row.engine_call), std::vector<Argument>{value});
			}
		}
	});
}

TEST_F(OptionsTest, ClickingTheChosenOneStillWrites)
{
	world.add_filter("Camera");
	world.open_panel(340, 1900);
	for_each_row([&](const OptionRow &row, QButtonGroup &group) {
		click(*group.button(row.values.front()));
		call_journal().reset();
		click(*group.button(row.values.front()));
		EXPECT_EQ(updates(), 1u);
		EXPECT_EQ(group.checkedId(), row.values.front());
	});
}

TEST_F(OptionsTest, WithAllSourcesEveryFilterGetsTheChoice)
{
	std::vector<FakeSource *> filters;
	for (int i = 0; i < 40; ++i)
		filters.push_back(&world.add_filter("Camera"));
	ui_preferences().apply_global = true;
	world.open_panel(340, 1900);
	for_each_row([&](const OptionRow &row, QButtonGroup &group) {
		click(*group.button(row.values.back()));
		for (FakeSource *filter : filters)
			EXPECT_EQ(setting_int(*filter, row.setting), row.values.back());
	});
}

TEST_F(OptionsTest, WithOneChosenOnlyThatFilterChanges)
{
	FakeSource &first = world.add_filter("First");
	FakeSource &second = world.add_filter("Second");
	world.open_panel(340, 1900);
	for_each_row([&](const OptionRow &row, QButtonGroup &group) {
		const long long untouched = setting_int(second, row.setting);
		click(*group.button(row.values.back()));
		EXPECT_EQ(setting_int(first, row.setting), row.values.back());
		EXPECT_EQ(setting_int(second, row.setting), untouched);
	});
}

TEST_F(OptionsTest, WithoutAFilterNothingIsWritten)
{
	world.open_panel(340, 1900);
	call_journal().reset();
	const ParameterSet before = panel_model().parameters;
	for_each_row([](const OptionRow &row, QButtonGroup &group) { click(*group.button(row.values.back())); });
	EXPECT_EQ(updates(), 0u);
	EXPECT_EQ(panel_model().parameters, before);
}

TEST_F(OptionsTest, AnUnknownValueChecksNothingAndIsKept)
{
	FakeSource &filter = world.add_filter("Camera");
	for (const OptionRow &row : option_rows)
		obs_data_set_int(filter.settings, row.setting, 99);
	world.open_panel();
	for_each_row([](const OptionRow &, QButtonGroup &group) { EXPECT_EQ(group.checkedButton(), nullptr); });
	EXPECT_EQ(setting_int(filter, "eyelash_style"), 99);
}

TEST_F(OptionsTest, BlurWithoutStrengthStartsAtHalf)
{
	FakeSource &filter = world.add_filter("Camera");
	world.open_panel(340, 900);
	world.show_page(BackgroundPage);
	click(*option_groups(BackgroundPage).at(0)->button(1));
	EXPECT_EQ(setting_double(filter, "bg_blur"), 0.5);
	EXPECT_TRUE(find_named<QSlider>(world.panel(), QStringLiteral("Blur amount"))->isVisible());
}

TEST_F(OptionsTest, BlurKeepsTheStrengthItHad)
{
	FakeSource &filter = world.add_filter("Camera");
	obs_data_set_double(filter.settings, "bg_blur", 0.25);
	world.open_panel(340, 900);
	world.show_page(BackgroundPage);
	click(*option_groups(BackgroundPage).at(0)->button(1));
	EXPECT_EQ(setting_double(filter, "bg_blur"), 0.25);
}

TEST_F(OptionsTest, PictureModeWithoutAPresetTakesTheOffice)
{
	FakeSource &filter = world.add_filter("Camera");
	obs_data_set_string(filter.settings, "bg_preset", "");
	world.open_panel(340, 900);
	world.show_page(BackgroundPage);
	click(*option_groups(BackgroundPage).at(0)->button(2));
	EXPECT_EQ(setting_string(filter, "bg_preset"), "office");
	EXPECT_EQ(setting_int(filter, "bg_fill"), 2);
}

TEST_F(OptionsTest, ColorKeyReachesTheEngineCountedFromZero)
{
	world.add_filter("Camera");
	world.open_panel(340, 1900);
	world.show_page(BackgroundPage);
	QButtonGroup &cutout = *option_groups(BackgroundPage).at(1);
	click(*cutout.button(2));
	EXPECT_EQ(last_engine_arguments("kl_set_chroma_key"), std::vector<Argument>{1});
	call_journal().reset();
	click(*cutout.button(0));
	host_double().tick();
	EXPECT_EQ(call_journal().count("kl_clear_chroma_key"), 1u);
}

} // namespace
} // namespace kalvio::test
