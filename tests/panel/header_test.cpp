// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel_fixture.h"

#include "panel/widgets/check_box.h"
#include "panel/widgets/switch.h"

#include <QAbstractItemView>
#include <QComboBox>
#include <QPushButton>
#include <algorithm>

// The header, the strips and the settings page.
namespace kalvio::test {
namespace {

class HeaderTest : public PanelTest {
protected:
	CheckBox &live() { return *world.panel().findChild<CheckBox *>(); }
	QComboBox &selector() { return *world.panel().findChild<QComboBox *>(); }
	QPushButton &reset() { return *find_named<QPushButton>(world.panel(), QStringLiteral("Reset")); }
	QPushButton &settings() { return *find_named<QPushButton>(world.panel(), QStringLiteral("Settings")); }

	QStringList entries()
	{
		QStringList texts;
		for (int i = 0; i < selector().count(); ++i)
			texts.append(selector().itemText(i));
		return texts;
	}

	// As a user does: the list opened, the entry clicked.
	void choose(int item)
	{
		selector().setFocus();
		while (selector().currentIndex() != item)
			click_key(&selector(), selector().currentIndex() < item ? Qt::Key_Down : Qt::Key_Up);
	}

	QWidget &strip() { return *find_strip(); }
	QWidget *find_strip()
	{
		for (const char *name : {"updateSoft", "updateForce"}) {
			if (auto *found = world.panel().findChild<QWidget *>(QLatin1String(name)))
				return found;
		}
		return nullptr;
	}
	QWidget &hint() { return *world.panel().findChild<QWidget *>(QStringLiteral("banner")); }
	QLabel &hint_text() { return *hint().findChild<QLabel *>(); }
	QWidget &tab_bar() { return *world.panel().findChild<QWidget *>(QStringLiteral("tabBar")); }
};

TEST_F(HeaderTest, HasOneHeightOfAtLeastTwentyPixels)
{
	world.open_panel();
	const int expected = std::max(qRound(0.8 * selector().sizeHint().height()), 20);
	EXPECT_EQ(selector().height(), expected);
	EXPECT_EQ(reset().size(), QSize(expected, expected));
	EXPECT_EQ(settings().size(), QSize(expected, expected));
	EXPECT_EQ(live().size(), QSize(18, 18));
}

TEST_F(HeaderTest, SelectorSaysThatThereIsNoFilter)
{
	world.open_panel();
	EXPECT_EQ(entries(), QStringList{"No filter yet"});
	EXPECT_EQ(selector().currentIndex(), 0);
	EXPECT_EQ(selector().toolTip(), QStringLiteral("Add Kalvio Beauty filter first"));
}

TEST_F(HeaderTest, SelectorListsTheFiltersByUniqueNames)
{
	world.add_filter("Camera");
	world.add_filter("Camera");
	world.open_panel();
	EXPECT_EQ(entries(), (QStringList{"All sources", "Camera", "Camera (2)"}));
	EXPECT_EQ(selector().currentText(), QStringLiteral("Camera"));
	EXPECT_EQ(selector().toolTip(), QStringLiteral("Live"));
}

TEST_F(HeaderTest, SelectorFollowsFiltersThatComeAndGo)
{
	FakeSource &first = world.add_filter("First");
	world.open_panel();
	world.add_filter("Second");
	world.poll();
	EXPECT_EQ(entries(), (QStringList{"All sources", "First", "Second"}));
	world.remove_filter(first);
	world.poll();
	EXPECT_EQ(entries(), (QStringList{"All sources", "Second"}));
}

TEST_F(HeaderTest, SelectorCopesWithAnyName)
{
	world.add_filter("");
	world.add_filter("<b>bold</b> & \"quoted\"");
	world.add_filter("two\nlines\tand a tab");
	world.add_filter("\xd7\xa9\xd7\x9c\xd7\x95\xd7\x9d");
	world.add_filter(std::string(10000, 'x'));
	world.open_panel();
	EXPECT_EQ(selector().itemText(2), QStringLiteral("<b>bold</b> & \"quoted\""));
	EXPECT_EQ(selector().itemText(3), QStringLiteral("two lines and a tab"));
	EXPECT_EQ(selector().itemText(4), QStringLiteral("\u05e9\u05dc\u05d5\u05dd"));
	EXPECT_LE(selector().itemText(5).size(), 200);
	EXPECT_EQ(world.panel().width(), 340);
}

TEST_F(HeaderTest, FiltersMayComeAndGoWhileTheListIsOpen)
{
	FakeSource &first = world.add_filter("First");
	world.add_filter("Second");
	world.open_panel();
	selector().showPopup();
	settle();
	world.remove_filter(first);
	world.poll();
	settle();
	EXPECT_EQ(entries(), (QStringList{"All sources", "Second"}));
	selector().showPopup();
	settle();
	world.add_filter("Third");
	world.remove_all_filters();
	world.poll();
	selector().hidePopup();
	settle();
	EXPECT_EQ(entries(), QStringList{"No filter yet"});
	EXPECT_TRUE(host_double().misuse().empty());
}

TEST_F(HeaderTest, AnOpenListStaysOpenWhileNothingChanges)
{
	world.add_filter("Camera");
	world.open_panel();
	selector().showPopup();
	settle();
	world.poll();
	world.panel().refreshControls();
	settle();
	EXPECT_TRUE(selector().view()->isVisible());
	selector().hidePopup();
}

TEST_F(HeaderTest, ANamelessSourceIsUntitled)
{
	FakeSource &filter = world.add_filter("");
	filter.nameless = true;
	world.open_panel();
	EXPECT_EQ(entries(), (QStringList{"All sources", "Untitled"}));
}

TEST_F(HeaderTest, ChoosingAnotherFilterShowsItsValuesAndWritesNothing)
{
	world.add_filter("First");
	FakeSource &second = world.add_filter("Second");
	obs_data_set_double(second.settings, "smoothing", 0.75);
	world.open_panel();
	call_journal().reset();
	choose(2);
	EXPECT_EQ(find_named<QSlider>(world.panel(), QStringLiteral("Smooth"))->value(), 75);
	EXPECT_EQ(updates(), 0u);
}

TEST_F(HeaderTest, ChoosingAllSourcesWritesThePanelToEach)
{
	FakeSource &first = world.add_filter("First");
	FakeSource &second = world.add_filter("Second");
	obs_data_set_double(first.settings, "smoothing", 0.75);
	world.open_panel();
	choose(0);
	EXPECT_FLOAT_EQ(static_cast<float>(setting_double(second, "smoothing")), 0.75f);
	EXPECT_TRUE(ui_preferences().apply_global);
}

TEST_F(HeaderTest, LiveToggleIsWrittenByTheNextPollOnly)
{
	FakeSource &filter = world.add_filter("Camera");
	world.open_panel();
	EXPECT_TRUE(live().checked);
	call_journal().reset();
	click(live());
	EXPECT_EQ(updates(), 0u);
	EXPECT_TRUE(setting_bool(filter, "enabled"));
	world.poll();
	EXPECT_EQ(updates(), 1u);
	EXPECT_FALSE(setting_bool(filter, "enabled"));
}

TEST_F(HeaderTest, ResetRestoresEveryEffectButNotTheLiveToggle)
{
	FakeSource &filter = world.add_filter("Camera");
	world.open_panel();
	panel_model().parameters.skin.smoothing = 0.5f;
	panel_model().parameters.reshape.fill(0.5f);
	panel_model().parameters.sticker_id = "kiss2";
	panel_model().parameters.enabled = false;
	pushParameters();
	click(reset());
	ParameterSet expected;
	expected.enabled = false;
	EXPECT_EQ(panel_model().parameters, expected);
	EXPECT_EQ(setting_double(filter, "smoothing"), 0.0);
	EXPECT_EQ(setting_string(filter, "sticker_id"), "");
	EXPECT_FALSE(setting_bool(filter, "enabled"));
	EXPECT_EQ(find_named<QSlider>(world.panel(), QStringLiteral("Smooth"))->value(), 0);
}

TEST_F(HeaderTest, ResetNeedsAFilter)
{
	world.open_panel();
	EXPECT_FALSE(reset().isEnabled());
	EXPECT_TRUE(settings().isEnabled());
	EXPECT_TRUE(live().isEnabled());
	EXPECT_TRUE(selector().isEnabled());
}

TEST_F(HeaderTest, SettingsButtonGoesThereAndBack)
{
	world.add_filter("Camera");
	world.open_panel();
	world.show_page(MakeupPage);
	click(settings());
	EXPECT_TRUE(settings().isChecked());
	EXPECT_FALSE(tab_bar().isVisible());
	const auto backs = world.panel().findChildren<QPushButton *>(QStringLiteral("headBtn"));
	const auto back = std::ranges::find_if(backs, &QWidget::isVisible);
	ASSERT_NE(back, backs.end());
	click(**back);
	EXPECT_FALSE(settings().isChecked());
	EXPECT_TRUE(world.page(MakeupPage).isVisible());
	click(settings());
	click(settings());
	EXPECT_TRUE(world.page(MakeupPage).isVisible());
}

TEST_F(HeaderTest, OpenOnStartupIsKept)
{
	world.open_panel();
	click(settings());
	auto *toggle = find_named<Switch>(world.panel(), QStringLiteral("Open panel when OBS starts"));
	ASSERT_NE(toggle, nullptr);
	EXPECT_TRUE(toggle->checked);
	click(*toggle);
	EXPECT_FALSE(ui_preferences().open_on_startup);
	EXPECT_TRUE(ui_preferences().dirty);
	world.poll();
	EXPECT_FALSE(ui_preferences().dirty);
}

TEST_F(HeaderTest, FollowingTheSourcesIsAChoice)
{
	world.open_panel();
	click(settings());
	auto *toggle = find_named<Switch>(world.panel(), QStringLiteral("Follow the selection in Sources"));
	ASSERT_NE(toggle, nullptr);
	EXPECT_FALSE(toggle->checked);
	click(*toggle);
	EXPECT_TRUE(ui_preferences().follow_sources);
	EXPECT_TRUE(ui_preferences().open_on_startup);
	EXPECT_TRUE(ui_preferences().dirty);
}

TEST_F(HeaderTest, AboutNamesVersionAndOpensTheSite)
{
	world.open_panel();
	click(settings());
	QStringList texts;
	for (auto *label : world.panel().findChildren<QLabel *>())
		texts.append(label->text());
	EXPECT_TRUE(texts.contains(QStringLiteral("Version 1.0.12")));
	EXPECT_TRUE(texts.contains(QStringLiteral("Kalvio")));
	const auto links = world.panel().findChildren<QPushButton *>(QStringLiteral("link"));
	ASSERT_EQ(links.size(), 2);
	click(*links.at(0));
	click(*links.at(1));
	const std::vector<Call> calls = call_journal().calls_named("open_url");
	ASSERT_EQ(calls.size(), 2u);
	EXPECT_EQ(calls[0].arguments, std::vector<Argument>{"https://www.kalvio.example"});
	EXPECT_EQ(calls[1].arguments, std::vector<Argument>{"https://www.kalvio.example/obs/install"});
}

TEST_F(HeaderTest, HintShowsHowToAddAFilter)
{
	world.open_panel();
	EXPECT_TRUE(hint().isVisible());
	EXPECT_TRUE(hint_text().text().contains(QStringLiteral("Right-click the source -&gt; Filters -&gt; +")));
	EXPECT_TRUE(hint_text().text().endsWith(
		QStringLiteral(" <a href=\"guide\" style=\"color:#e5e7eb; text-decoration:none;\">Guide</a>")));
	emit hint_text().linkActivated(QStringLiteral("guide"));
	EXPECT_EQ(call_journal().calls_named("open_url").back().arguments,
		  std::vector<Argument>{"https://www.kalvio.example/obs/install"});
	world.add_filter("Camera");
	world.poll();
	EXPECT_FALSE(hint().isVisible());
}

TEST_F(HeaderTest, PagesWithoutAFilterScrollButTakeNoEdit)
{
	world.open_panel();
	for (int i = SkinPage; i <= BackgroundPage; ++i) {
		EXPECT_FALSE(world.page(i).isEnabled());
		EXPECT_TRUE(world.page(i).parentWidget()->isEnabled());
		EXPECT_FALSE(world.tab(i).isEnabled());
	}
}

TEST_F(HeaderTest, SoftUpdateCanBeDismissed)
{
	world.add_filter("Camera");
	world.open_panel();
	EXPECT_FALSE(strip().isVisible());
	set_update_status({.soft = true, .latest = "1.0.13", .notes = "First line\nsecond"});
	world.poll();
	settle();
	EXPECT_EQ(strip().objectName(), QStringLiteral("updateSoft"));
	EXPECT_TRUE(strip().isVisible());
	EXPECT_EQ(strip().layout()->contentsMargins(), QMargins(10, 3, 5, 3));
	auto *notes = strip().findChild<QLabel *>(QStringLiteral("updateSoftText"));
	ASSERT_NE(notes, nullptr);
	EXPECT_EQ(notes->accessibleName(), QStringLiteral("First line"));
	EXPECT_EQ(notes->toolTip(), QStringLiteral("First line\nsecond"));
	EXPECT_EQ(notes->minimumWidth(), 48);
	EXPECT_NE(find_named<QLabel>(strip(), QStringLiteral("Update available 1.0.13")), nullptr);

	auto *download = strip().findChild<QPushButton *>(QStringLiteral("updateSoftBtn"));
	EXPECT_EQ(download->text(), QStringLiteral("Download"));
	click(*download);
	EXPECT_EQ(call_journal().count("open_update_download"), 1u);
	for (auto *button : strip().findChildren<QPushButton *>()) {
		if (button->size() == QSize(18, 18))
			click(*button);
	}
	EXPECT_EQ(call_journal().count("dismiss_update"), 1u);
	EXPECT_FALSE(strip().isVisible());
}

TEST_F(HeaderTest, ForcedUpdatePausesThePanel)
{
	world.add_filter("Camera");
	world.open_panel();
	set_update_status({.forced = true, .latest = "1.1.0", .notes = ""});
	world.poll();
	settle();
	EXPECT_EQ(strip().objectName(), QStringLiteral("updateForce"));
	EXPECT_EQ(strip().layout()->contentsMargins(), QMargins(10, 4, 5, 4));
	EXPECT_NE(strip().findChild<QLabel *>(QStringLiteral("updateForceText")), nullptr);
	EXPECT_EQ(strip().findChild<QPushButton *>(QStringLiteral("updateForceBtn"))->text(),
		  QStringLiteral("Update now"));
	for (auto *button : strip().findChildren<QPushButton *>())
		EXPECT_EQ(button->isVisible(), button->size() != QSize(18, 18));
	EXPECT_FALSE(tab_bar().isVisible());
	EXPECT_FALSE(world.page(SkinPage).isVisible());
	EXPECT_FALSE(live().isEnabled());
	EXPECT_FALSE(selector().isEnabled());
	EXPECT_FALSE(reset().isEnabled());
	EXPECT_TRUE(settings().isEnabled());
	// At the top, with nothing under it.
	EXPECT_LT(hint().mapTo(&world.panel(), QPoint(0, hint().height())).y(), 260);
	EXPECT_TRUE(
		hint_text().text().startsWith(QStringLiteral("<b style=\"color:#e8d5b0;\">Update required</b><br/>")));
	emit hint_text().linkActivated(QStringLiteral("update"));
	EXPECT_EQ(call_journal().count("open_update_download"), 1u);

	set_update_status({});
	world.poll();
	settle();
	EXPECT_TRUE(tab_bar().isVisible());
	EXPECT_TRUE(world.page(SkinPage).isVisible());
	EXPECT_FALSE(strip().isVisible());
	EXPECT_FALSE(hint().isVisible());
}

TEST_F(HeaderTest, CardResetsRestoreTheirOwnPageOnly)
{
	struct CardReset {
		int page;
		const char *title;
	};
	const CardReset cards[] = {
		{SkinPage, "Skin"},       {ReshapePage, "Shape"}, {MakeupPage, "Makeup"},        {FilterPage, "Filter"},
		{StickerPage, "Sticker"}, {BodyPage, "Body"},     {BackgroundPage, "Background"}};
	const auto edited = [](int page) {
		ParameterSet set;
		if (page == SkinPage) {
			set.skin.smoothing = set.skin.whitening = set.skin.rosiness = set.skin.sharpening = 0.4f;
			set.skin.smoothing_style = beauty_params::SmoothingStyle::Smooth;
			set.skin.whitening_style = beauty_params::WhiteningStyle::Tan;
			set.skin.skin_only = true;
		} else if (page == ReshapePage) {
			set.reshape.fill(-0.4f);
		} else if (page == MakeupPage) {
			set.makeup.lipstick.strength = set.makeup.blush.strength = set.makeup.contour.strength =
				set.makeup.eyeshadow.strength = set.makeup.eyeliner.strength =
					set.makeup.eyebrow.strength = set.makeup.eyelash.strength =
						set.makeup.pupil.strength = 0.4f;
			set.makeup.lipstick.color = beauty_params::LipstickColor::Peach;
			set.makeup.blush.style = beauty_params::BlushStyle::Rose;
			set.makeup.blush.color = beauty_params::BlushColor::Berry;
			set.makeup.contour.style = beauty_params::ContourStyle::Glam;
			set.makeup.eyeshadow.style = beauty_params::EyeShadowStyle::Warm;
			set.makeup.eyeshadow.color = beauty_params::EyeShadowColor::Pink;
			set.makeup.eyeliner.style = beauty_params::EyeLinerStyle::Soft;
			set.makeup.eyeliner.color = beauty_params::EyeLinerColor::Mauve;
			set.makeup.eyebrow.style = beauty_params::EyebrowStyle::Full;
			set.makeup.eyebrow.color = beauty_params::EyebrowColor::Black;
			set.makeup.eyelash.style = beauty_params::EyelashStyle::Doll;
			set.makeup.eyelash.color = beauty_params::EyelashColor::Brown;
			set.makeup.pupil.color = beauty_params::PupilColor::Slate;
		} else if (page == FilterPage) {
			set.filter.id = "rose";
			set.filter.intensity = 0.9f;
		} else if (page == StickerPage) {
			set.sticker_id = "kiss2";
		} else if (page == BodyPage) {
			set.body.fill(0.4f);
		} else {
			set.background.fill = 1;
			set.background.blur = 0.4f;
			set.background.preset = "city";
			set.background.image = "/picture.png";
			set.background.chroma = 2;
			set.background.chroma_similarity = set.background.chroma_smoothness =
				set.background.chroma_desaturation = 0.4f;
		}
		return set;
	};
	world.add_filter("Camera");
	world.open_panel();
	for (const CardReset &card : cards) {
		SCOPED_TRACE(card.title);
		world.show_page(card.page);
		for (const CardReset &other : cards) {
			panel_model().parameters = edited(other.page);
			call_journal().reset();
			click(*find_named<QPushButton>(world.page(card.page),
						       QStringLiteral("Reset: ") + QLatin1String(card.title)));
			EXPECT_EQ(panel_model().parameters,
				  other.page == card.page ? ParameterSet() : edited(other.page));
			EXPECT_EQ(updates(), 1u);
		}
	}
}

TEST_F(HeaderTest, SkinOnlySwitchReachesSettingsAndEngine)
{
	FakeSource &filter = world.add_filter("Camera");
	world.open_panel();
	auto *toggle = find_named<Switch>(world.panel(), QStringLiteral("Skin only"));
	click(*toggle);
	EXPECT_TRUE(setting_bool(filter, "skin_only"));
	EXPECT_EQ(last_engine_arguments("kl_set_beauty_skin_only"), std::vector<Argument>{true});
	click(*toggle);
	EXPECT_FALSE(setting_bool(filter, "skin_only"));
}

} // namespace
} // namespace kalvio::test
