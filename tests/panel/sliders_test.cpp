// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel_fixture.h"

#include "panel/text/translations.h"

#include <QStyle>
#include <QStyleOptionSlider>

// All 52 sliders, by real keys and a real mouse, to the settings of the filter and to its engine.
namespace kalvio::test {
namespace {

struct SliderRow {
	int page;
	const char *caption_key;
	const char *setting;
	bool is_bipolar;
	const char *engine_call;
	int engine_index; // first argument of the call; -1: it has only the value
};

constexpr int value_only = -1;

// In the order of the pages and of the rows on them.
const SliderRow slider_rows[] = {
	{SkinPage, "skin.smoothing", "smoothing", false, "kl_set_smoothing", value_only},
	{SkinPage, "skin.whitening", "whitening", false, "kl_set_whitening", value_only},
	{SkinPage, "skin.rosiness", "rosiness", false, "kl_set_rosiness", value_only},
	{SkinPage, "skin.sharpening", "sharpening", false, "kl_set_sharpening", value_only},
	{ReshapePage, "reshape.faceThin", "face_thin", true, "kl_set_reshape", 0},
	{ReshapePage, "reshape.faceNarrow", "face_narrow", true, "kl_set_reshape", 2},
	{ReshapePage, "reshape.faceSmall", "face_small", true, "kl_set_reshape", 10},
	{ReshapePage, "reshape.faceShort", "face_short", true, "kl_set_reshape", 3},
	{ReshapePage, "reshape.faceVShape", "face_vshape", true, "kl_set_reshape", 1},
	{ReshapePage, "reshape.cheekbone", "cheekbone", true, "kl_set_reshape", 4},
	{ReshapePage, "reshape.jawbone", "jawbone", true, "kl_set_reshape", 5},
	{ReshapePage, "reshape.chin", "chin", true, "kl_set_reshape", 6},
	{ReshapePage, "reshape.forehead", "forehead", true, "kl_set_reshape", 11},
	{ReshapePage, "reshape.browPosition", "brow_position", true, "kl_set_reshape", 23},
	{ReshapePage, "reshape.browDistance", "brow_distance", true, "kl_set_reshape", 24},
	{ReshapePage, "reshape.browThickness", "brow_thickness", true, "kl_set_reshape", 25},
	{ReshapePage, "reshape.eyeSize", "eye_size", true, "kl_set_reshape", 8},
	{ReshapePage, "reshape.eyeRound", "eye_round", true, "kl_set_reshape", 18},
	{ReshapePage, "reshape.eyeDistance", "eye_distance", true, "kl_set_reshape", 9},
	{ReshapePage, "reshape.eyePosition", "eye_position", true, "kl_set_reshape", 19},
	{ReshapePage, "reshape.eyeAngle", "eye_angle", true, "kl_set_reshape", 20},
	{ReshapePage, "reshape.eyeCornerOpen", "eye_corner_open", true, "kl_set_reshape", 21},
	{ReshapePage, "reshape.lowerEyelid", "lower_eyelid", true, "kl_set_reshape", 22},
	{ReshapePage, "reshape.noseSlim", "nose_slim", true, "kl_set_reshape", 7},
	{ReshapePage, "reshape.noseLong", "nose_long", true, "kl_set_reshape", 12},
	{ReshapePage, "reshape.philtrum", "philtrum", true, "kl_set_reshape", 13},
	{ReshapePage, "reshape.mouthSize", "mouth_size", true, "kl_set_reshape", 14},
	{ReshapePage, "reshape.mouthPosition", "mouth_position", true, "kl_set_reshape", 15},
	{ReshapePage, "reshape.mouthSmile", "mouth_smile", true, "kl_set_reshape", 16},
	{ReshapePage, "reshape.lipThickness", "lip_thickness", true, "kl_set_reshape", 17},
	{MakeupPage, "makeup.intensity", "lipstick", false, "kl_set_lipstick", value_only},
	{MakeupPage, "makeup.intensity", "blush", false, "kl_set_blush", value_only},
	{MakeupPage, "makeup.intensity", "contour", false, "kl_set_contour", value_only},
	{MakeupPage, "makeup.intensity", "eyeshadow", false, "kl_set_eye_shadow", value_only},
	{MakeupPage, "makeup.intensity", "eyeliner", false, "kl_set_eye_liner", value_only},
	{MakeupPage, "makeup.intensity", "eyebrow", false, "kl_set_eyebrow", value_only},
	{MakeupPage, "makeup.intensity", "eyelash", false, "kl_set_eyelash", value_only},
	{MakeupPage, "makeup.intensity", "pupil", false, "kl_set_pupil", value_only},
	{FilterPage, "filter.intensity", "filter_intensity", false, "kl_set_filter_intensity", value_only},
	{BodyPage, "reshape.bodySlim", "body_slim", false, "kl_set_body_reshape", 0},
	{BodyPage, "reshape.torsoLong", "torso_long", false, "kl_set_body_reshape", 8},
	{BodyPage, "reshape.waistSlim", "waist_slim", false, "kl_set_body_reshape", 1},
	{BodyPage, "reshape.bustEnhance", "bust_enhance", false, "kl_set_body_reshape", 6},
	{BodyPage, "reshape.shoulderSlim", "shoulder_slim", false, "kl_set_body_reshape", 3},
	{BodyPage, "reshape.armSlim", "arm_slim", false, "kl_set_body_reshape", 4},
	{BodyPage, "reshape.legSlim", "leg_slim", false, "kl_set_body_reshape", 2},
	{BodyPage, "reshape.legLong", "leg_long", false, "kl_set_body_reshape", 5},
	{BodyPage, "reshape.legStretch", "leg_stretch", false, "kl_set_body_reshape", 7},
	{BackgroundPage, "bg.blurAmount", "bg_blur", false, "kl_set_virtual_background_blur", value_only},
	{BackgroundPage, "bg.similarity", "chroma_similarity", false, "kl_set_chroma_key_similarity", value_only},
	{BackgroundPage, "bg.smoothness", "chroma_smoothness", false, "kl_set_chroma_key_smoothness", value_only},
	{BackgroundPage, "bg.desaturation", "chroma_desaturation", false, "kl_set_chroma_key_desaturation", value_only},
};

class SlidersTest : public PanelTest {
protected:
	// Settings in which every slider is visible and reaches the engine.
	FakeSource &add_filter_that_uses_all(const char *name)
	{
		FakeSource &filter = world.add_filter(name);
		obs_data_t *settings = obs_data_create();
		obs_data_set_string(settings, "filter_id", "vivid");
		obs_data_set_int(settings, "bg_fill", 1);
		obs_data_set_int(settings, "chroma", 1);
		filter.update(settings);
		obs_data_release(settings);
		return filter;
	}

	// The sliders of a page from top to bottom.
	QList<QSlider *> sliders(int page) { return world.page(page).findChildren<QSlider *>(); }

	// Runs `check` on each row with its slider.
	void for_each_row(const std::function<void(const SliderRow &, QSlider &)> &check)
	{
		int page = -1;
		qsizetype index = 0;
		for (const SliderRow &row : slider_rows) {
			if (row.page != page)
				index = 0;
			page = row.page;
			SCOPED_TRACE(row.setting);
			world.show_page(page);
			ASSERT_LT(index, sliders(page).size());
			check(row, *sliders(page).at(index++));
		}
	}

	static void expect_arrived(const SliderRow &row, FakeSource &filter, float value)
	{
		EXPECT_FLOAT_EQ(static_cast<float>(setting_double(filter, row.setting)), value);
		filter.tick();
		const std::vector<Call> calls = call_journal().calls_named(row.engine_call);
		const std::vector<Argument> expected = row.engine_index == value_only
							       ? std::vector<Argument>{value}
							       : std::vector<Argument>{row.engine_index, value};
		EXPECT_NE(std::find_if(calls.begin(), calls.end(),
				       [&](const Call &call) { return call.arguments == expected; }),
			  calls.end());
	}
};

TEST_F(SlidersTest, EveryPageHasItsSlidersAndNoOthers)
{
	world.open_panel();
	EXPECT_EQ(std::size(slider_rows), 52u);
	EXPECT_EQ(world.panel().findChildren<QSlider *>().size(), 52);
	for_each_row([](const SliderRow &row, QSlider &slider) {
		EXPECT_TRUE(slider.accessibleName().endsWith(QString::fromUtf8(translate(row.caption_key))))
			<< slider.accessibleName().toStdString();
		EXPECT_EQ(slider.minimum(), row.is_bipolar ? -100 : 0);
		EXPECT_EQ(slider.maximum(), 100);
		EXPECT_GE(slider.minimumHeight(), 22);
	});
}

TEST_F(SlidersTest, EachKeyStepReachesSettingsAndEngine)
{
	FakeSource &filter = add_filter_that_uses_all("Camera");
	world.open_panel();
	for_each_row([&](const SliderRow &row, QSlider &slider) {
		ASSERT_TRUE(slider.isVisible());
		click_key(&slider, Qt::Key_Home);
		click_key(&slider, Qt::Key_PageUp);
		call_journal().reset();
		click_key(&slider, Qt::Key_Right);
		EXPECT_EQ(slider.value(), row.is_bipolar ? -89 : 11);
		EXPECT_EQ(updates(), 1u);
		expect_arrived(row, filter, row.is_bipolar ? -0.89f : 0.11f);
	});
}

TEST_F(SlidersTest, ADragReachesSettingsAndEngineAtEveryStep)
{
	FakeSource &filter = add_filter_that_uses_all("Camera");
	world.open_panel(340, 2400);
	for_each_row([&](const SliderRow &row, QSlider &slider) {
		QStyleOptionSlider option;
		option.initFrom(&slider);
		option.orientation = Qt::Horizontal;
		option.minimum = slider.minimum();
		option.maximum = slider.maximum();
		option.sliderPosition = option.sliderValue = slider.value();
		const QPoint handle =
			slider.style()
				->subControlRect(QStyle::CC_Slider, &option, QStyle::SC_SliderHandle, &slider)
				.center();
		const int before = slider.value();
		call_journal().reset();
		press_mouse(&slider, Qt::LeftButton, handle);
		move_mouse(&slider, handle + QPoint(15, 0));
		move_mouse(&slider, handle + QPoint(30, 0));
		EXPECT_TRUE(slider.isSliderDown());
		EXPECT_GT(slider.value(), before);
		EXPECT_EQ(updates(), 2u);
		expect_arrived(row, filter, static_cast<float>(slider.value()) / 100.0f);
		release_mouse(&slider, Qt::LeftButton, handle + QPoint(30, 0));
	});
}

TEST_F(SlidersTest, WithAllSourcesEveryFilterGetsEachStep)
{
	std::vector<FakeSource *> filters;
	for (int i = 0; i < 40; ++i)
		filters.push_back(&add_filter_that_uses_all("Camera"));
	ui_preferences().apply_global = true;
	world.open_panel();
	for_each_row([&](const SliderRow &row, QSlider &slider) {
		call_journal().reset();
		click_key(&slider, Qt::Key_End);
		EXPECT_EQ(updates(), 40u);
		for (FakeSource *filter : filters)
			EXPECT_FLOAT_EQ(static_cast<float>(setting_double(*filter, row.setting)), 1.0f);
	});
}

TEST_F(SlidersTest, WithOneChosenOnlyThatFilterChanges)
{
	FakeSource &first = add_filter_that_uses_all("First");
	FakeSource &second = add_filter_that_uses_all("Second");
	world.open_panel();
	for_each_row([&](const SliderRow &row, QSlider &slider) {
		const double untouched = setting_double(second, row.setting);
		click_key(&slider, Qt::Key_End);
		EXPECT_FLOAT_EQ(static_cast<float>(setting_double(first, row.setting)), 1.0f);
		EXPECT_EQ(setting_double(second, row.setting), untouched);
	});
}

TEST_F(SlidersTest, WithoutAFilterNothingMovesAndNothingIsWritten)
{
	world.open_panel();
	call_journal().reset();
	for_each_row([](const SliderRow &, QSlider &slider) {
		EXPECT_FALSE(slider.isEnabled());
		const int before = slider.value();
		click_key(&slider, Qt::Key_End);
		EXPECT_EQ(slider.value(), before);
	});
	EXPECT_EQ(updates(), 0u);
}

TEST_F(SlidersTest, ShowWhatTheFilterHasClampedToOne)
{
	FakeSource &filter = add_filter_that_uses_all("Camera");
	obs_data_set_double(filter.settings, "face_thin", -0.37);
	obs_data_set_double(filter.settings, "chin", 3.5);
	obs_data_set_double(filter.settings, "body_slim", -0.2);
	world.open_panel();
	EXPECT_EQ(sliders(ReshapePage).at(0)->value(), -37);
	EXPECT_EQ(sliders(ReshapePage).at(7)->value(), 100);
	EXPECT_EQ(sliders(BodyPage).at(0)->value(), 0);
	// Beside it stands what is stored, also where the slider cannot follow.
	const auto labels = sliders(BodyPage).at(0)->parentWidget()->findChildren<QLabel *>();
	EXPECT_EQ(labels.back()->text(), QStringLiteral("-20"));
	// And nothing of it was written back.
	EXPECT_EQ(setting_double(filter, "chin"), 3.5);
	EXPECT_EQ(setting_double(filter, "body_slim"), -0.2);
}

TEST_F(SlidersTest, ARefreshLeavesAHeldSliderAlone)
{
	add_filter_that_uses_all("Camera");
	world.open_panel();
	QSlider &slider = *sliders(SkinPage).at(0);
	slider.setSliderDown(true);
	slider.setValue(40);
	panel_model().parameters.skin.smoothing = 0.9f;
	panel_model().parameters.skin.whitening = 0.9f;
	world.panel().refreshControls();
	EXPECT_EQ(slider.value(), 40);
	EXPECT_EQ(sliders(SkinPage).at(1)->value(), 90);
	slider.setSliderDown(false);
	world.panel().refreshControls();
	EXPECT_EQ(slider.value(), 90);
}

TEST_F(SlidersTest, ARefreshIsNoEdit)
{
	add_filter_that_uses_all("Camera");
	world.open_panel();
	panel_model().parameters.reshape.fill(0.5f);
	call_journal().reset();
	world.panel().refreshControls();
	EXPECT_EQ(updates(), 0u);
	EXPECT_EQ(sliders(ReshapePage).at(0)->value(), 50);
}

TEST_F(SlidersTest, AFilterThatGoesWhileASliderIsHeldTakesNothingWithIt)
{
	FakeSource &filter = add_filter_that_uses_all("Camera");
	world.open_panel();
	QSlider &slider = *sliders(SkinPage).at(0);
	press_mouse(&slider, Qt::LeftButton, QPoint(slider.width() / 2, slider.height() / 2));
	world.remove_filter(filter);
	move_mouse(&slider, QPoint(slider.width() - 5, slider.height() / 2));
	world.poll();
	release_mouse(&slider, Qt::LeftButton, QPoint(5, 5));
	settle();
	EXPECT_FALSE(slider.isEnabled());
	EXPECT_TRUE(host_double().misuse().empty());
}

TEST_F(SlidersTest, RowsOfABackgroundModeShowOnlyInIt)
{
	world.add_filter("Camera");
	world.open_panel();
	world.show_page(BackgroundPage);
	const QList<QSlider *> rows = sliders(BackgroundPage);
	for (const QSlider *slider : rows)
		EXPECT_FALSE(slider->isVisible());
	panel_model().parameters.background.fill = 1;
	world.panel().refreshControls();
	EXPECT_TRUE(rows.at(0)->isVisible());
	EXPECT_FALSE(rows.at(1)->isVisible());
	panel_model().parameters.background.chroma = 3;
	panel_model().parameters.background.fill = 2;
	world.panel().refreshControls();
	EXPECT_FALSE(rows.at(0)->isVisible());
	for (int i = 1; i < 4; ++i)
		EXPECT_TRUE(rows.at(i)->isVisible());
}

} // namespace
} // namespace kalvio::test
