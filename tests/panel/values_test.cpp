// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel_fixture.h"
#include "pixels.h"

#include "kit/history_double.h"
#include "panel/text/translations.h"
#include "panel/widgets/caption_label.h"
#include "panel/widgets/strength_slider.h"
#include "panel/widgets/tab_dot.h"
#include "panel/widgets/value_edit.h"
#include "panel/widgets/value_label.h"

#include <QAccessible>
#include <QApplication>
#include <cctype>

// Values back to their defaults, typed, and what shows that they are not at their defaults.
namespace kalvio::test {
namespace {

class ValuesTest : public PanelTest {
protected:
	ValuesTest() : filter(world.add_filter("Camera"))
	{
		world.open_panel(340, 700);
		world.panel().activateWindow();
		settle();
	}

	StrengthSlider &slider(const char *name) { return *find_named<StrengthSlider>(world.panel(), QString(name)); }
	StrengthSlider &smooth() { return slider("Smooth"); }
	template <class Widget>
	Widget &beside(const StrengthSlider &of)
	{
		return *of.parentWidget()->findChild<Widget *>();
	}
	CaptionLabel &caption() { return beside<CaptionLabel>(smooth()); }
	ValueLabel &number() { return beside<ValueLabel>(smooth()); }

	// The field that is open; null when there is none.
	ValueEdit *field()
	{
		settle();
		QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
		return world.panel().findChild<ValueEdit *>();
	}

	ValueEdit &open_field()
	{
		click(number());
		EXPECT_NE(field(), nullptr);
		EXPECT_EQ(QApplication::focusWidget(), field());
		return *field();
	}

	void type(const std::string &keys)
	{
		for (const char key : keys)
			click_key(QApplication::focusWidget(), static_cast<Qt::Key>(std::toupper(key)));
	}

	void put(float value)
	{
		panel_model().parameters.skin.smoothing = value;
		pushParameters();
		world.panel().refreshControls();
	}

	// The dot of a tab; the tabs have one each.
	bool has_dot(int page) { return !world.tab(page).findChild<TabDot *>()->isHidden(); }

	double stored() { return setting_double(filter, "smoothing"); }
	static size_t entries() { return history_double().undo_entries().size(); }

	FakeSource &filter;
};

TEST_F(ValuesTest, DoubleClickOnTheHandleRestoresTheDefaultAsOneEntry)
{
	put(0.5f);
	double_click_mouse(&smooth(), smooth().handle_rect().center().toPoint());
	EXPECT_EQ(smooth().value(), 0);
	EXPECT_EQ(stored(), 0.0);
	EXPECT_EQ(number().text(), QStringLiteral("0"));
	ASSERT_EQ(entries(), 1u);
	EXPECT_EQ(history_double().newest(), "Kalvio: Smooth");
	history_double().undo();
	EXPECT_EQ(smooth().value(), 50);
	EXPECT_FLOAT_EQ(static_cast<float>(stored()), 0.5f);
}

TEST_F(ValuesTest, DoubleClickBesideTheHandleIsOneEntryWithItsFirstStep)
{
	put(0.5f);
	double_click_mouse(&smooth(), QPoint(smooth().width() - 3, smooth().height() / 2));
	EXPECT_EQ(smooth().value(), 0);
	EXPECT_FALSE(smooth().isSliderDown());
	EXPECT_EQ(entries(), 1u);
	history_double().undo();
	EXPECT_EQ(smooth().value(), 50);
}

TEST_F(ValuesTest, DoubleClickOnTheCaptionRestoresTheDefaultAsOneEntry)
{
	put(0.5f);
	double_click_mouse(&caption(), caption().rect().center());
	EXPECT_EQ(stored(), 0.0);
	EXPECT_EQ(entries(), 1u);
}

TEST_F(ValuesTest, DefaultIsTheSettingsOwnAndNotZero)
{
	world.show_page(FilterPage);
	StrengthSlider &strength = *world.page(FilterPage).findChild<StrengthSlider *>();
	click_key(&strength, Qt::Key_End);
	click_key(&strength, Qt::Key_Delete);
	EXPECT_EQ(strength.value(), 50);
	EXPECT_EQ(setting_double(filter, "filter_intensity"), 0.5);
}

TEST_F(ValuesTest, OtherButtonsAndADisabledPanelRestoreNothing)
{
	put(0.5f);
	double_click_mouse(&caption(), caption().rect().center(), Qt::RightButton);
	double_click_mouse(&smooth(), smooth().rect().center(), Qt::RightButton);
	EXPECT_EQ(smooth().value(), 50);
	world.remove_all_filters();
	world.poll();
	double_click_mouse(&caption(), caption().rect().center());
	click(number());
	EXPECT_EQ(panel_model().parameters.skin.smoothing, 0.5f);
	EXPECT_EQ(field(), nullptr);
}

TEST_F(ValuesTest, DeleteAndBackspaceRestoreTheDefault)
{
	for (const Qt::Key key : {Qt::Key_Delete, Qt::Key_Backspace}) {
		put(0.5f);
		click_key(&smooth(), key);
		EXPECT_EQ(stored(), 0.0);
	}
	EXPECT_EQ(entries(), 2u);
}

TEST_F(ValuesTest, ANumberIsTypedWhereItStands)
{
	ValueEdit &edit = open_field();
	EXPECT_EQ(edit.geometry(), number().geometry());
	EXPECT_EQ(edit.selectedText(), QStringLiteral("0"));
	EXPECT_EQ(edit.accessibleName(), QStringLiteral("Smooth"));
	type("37");
	EXPECT_EQ(stored(), 0.0);
	click_key(&edit, Qt::Key_Return);
	EXPECT_FLOAT_EQ(static_cast<float>(stored()), 0.37f);
	EXPECT_EQ(smooth().value(), 37);
	EXPECT_EQ(number().text(), QStringLiteral("37"));
	EXPECT_EQ(field(), nullptr);
	EXPECT_EQ(QApplication::focusWidget(), &smooth());
	ASSERT_EQ(entries(), 1u);
	history_double().undo();
	EXPECT_EQ(smooth().value(), 0);
}

TEST_F(ValuesTest, EscapeAndALostFocusLeaveTheValue)
{
	open_field();
	type("37");
	click_key(field(), Qt::Key_Escape);
	EXPECT_EQ(field(), nullptr);
	open_field();
	type("37");
	slider("Whiten").setFocus();
	EXPECT_EQ(field(), nullptr);
	EXPECT_EQ(QApplication::focusWidget(), &slider("Whiten"));
	open_field();
	type("37");
	world.show_page(MakeupPage);
	EXPECT_EQ(field(), nullptr);
	EXPECT_EQ(stored(), 0.0);
	EXPECT_EQ(entries(), 0u);
}

TEST_F(ValuesTest, TabTakesTheNumberAndGoesOn)
{
	open_field();
	type("12");
	click_key(field(), Qt::Key_Tab);
	EXPECT_FLOAT_EQ(static_cast<float>(stored()), 0.12f);
	EXPECT_EQ(field(), nullptr);
	EXPECT_NE(QApplication::focusWidget(), &smooth());
	EXPECT_TRUE(world.page(SkinPage).isAncestorOf(QApplication::focusWidget()));
}

TEST_F(ValuesTest, OutOfRangeIsClampedAndTextIsRefused)
{
	const auto typed = [this](const std::string &keys) {
		open_field();
		type(keys);
		click_key(field(), Qt::Key_Enter);
		EXPECT_EQ(field(), nullptr);
		return smooth().value();
	};
	EXPECT_EQ(typed("500"), 100);
	EXPECT_EQ(typed("99999999999"), 100);
	EXPECT_EQ(typed("-20"), 0);
	EXPECT_EQ(typed("4x2"), 42);
	EXPECT_EQ(typed("abc"), 42); // the selected number stays
	EXPECT_EQ(typed("-"), 42);
	open_field().clear();
	click_key(field(), Qt::Key_Return);
	EXPECT_EQ(smooth().value(), 42);
	ValueEdit &edit = open_field();
	edit.insert(QString::fromUtf8("\uFF13\uFF15")); // full-width 35, as an input method types it
	click_key(&edit, Qt::Key_Return);
	EXPECT_EQ(smooth().value(), 35);
}

TEST_F(ValuesTest, ASliderWithTwoSidesTakesNegativeNumbers)
{
	world.show_page(ReshapePage);
	StrengthSlider &eyes = slider("Eyes, Enlarge");
	eyes.setFocus();
	type("-45");
	click_key(QApplication::focusWidget(), Qt::Key_Return);
	EXPECT_EQ(eyes.value(), -45);
	type("-450");
	click_key(QApplication::focusWidget(), Qt::Key_Return);
	EXPECT_EQ(eyes.value(), -100);
}

TEST_F(ValuesTest, KeysOnTheSliderBeginToType)
{
	smooth().setFocus();
	click_key(&smooth(), Qt::Key_Return);
	ASSERT_NE(field(), nullptr);
	EXPECT_EQ(field()->selectedText(), QStringLiteral("0"));
	click_key(field(), Qt::Key_Escape);
	EXPECT_EQ(QApplication::focusWidget(), &smooth());
	click_key(&smooth(), Qt::Key_8);
	ASSERT_NE(field(), nullptr);
	EXPECT_EQ(field()->text(), QStringLiteral("8"));
}

TEST_F(ValuesTest, AFieldGoesWithItsPanel)
{
	open_field();
	type("37");
	world.close_panel();
	EXPECT_EQ(stored(), 0.0);
}

TEST_F(ValuesTest, CaptionsOfWhatIsChangedAreBrighterAtOnce)
{
	const auto brightest = [this] {
		settle();
		const QImage image = caption().grab().toImage();
		int most = 0;
		for (int y = 0; y < image.height(); ++y)
			for (int x = 0; x < image.width(); ++x)
				most = std::max(most, qGray(image.pixel(x, y)));
		return most;
	};
	EXPECT_LT(brightest(), 180);
	click_key(&smooth(), Qt::Key_Right); // a step is followed by no refresh
	EXPECT_GT(brightest(), 220);
	QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(&smooth());
	EXPECT_EQ(accessible->text(QAccessible::Description), QStringLiteral("Changed"));
	click_key(&smooth(), Qt::Key_Left);
	EXPECT_LT(brightest(), 180);
	EXPECT_TRUE(accessible->text(QAccessible::Description).isEmpty());
}

TEST_F(ValuesTest, CaptionsOfOptionsAndSwitchesAreMarkedToo)
{
	const auto marked = [this] {
		QStringList texts;
		for (const auto *label : world.page(SkinPage).findChildren<CaptionLabel *>()) {
			if (label->is_marked())
				texts.append(label->text());
		}
		return texts;
	};
	EXPECT_TRUE(marked().isEmpty());
	click(*find_named<QWidget>(world.page(SkinPage), QStringLiteral("Skin only")));
	click(*find_named<QWidget>(world.page(SkinPage), QStringLiteral("Skin tone: Pink")));
	EXPECT_EQ(marked(), (QStringList{QStringLiteral("Skin only"), QStringLiteral("Skin tone")}));
}

TEST_F(ValuesTest, ATabHasADotWhileItsPageIsChanged)
{
	ParameterSet &set = panel_model().parameters;
	const std::pair<int, std::function<void()>> changes[] = {{SkinPage,
								  [&] {
									  set.skin.rosiness = 0.1f;
								  }},
								 {ReshapePage,
								  [&] {
									  set.reshape[3] = -0.1f;
								  }},
								 {MakeupPage,
								  [&] {
									  set.makeup.pupil.strength = 1;
								  }},
								 {FilterPage,
								  [&] {
									  set.filter.id = "vivid";
								  }},
								 {StickerPage,
								  [&] {
									  set.sticker_id = "petals";
								  }},
								 {BodyPage,
								  [&] {
									  set.body[8] = 0.2f;
								  }},
								 {BackgroundPage, [&] {
									  set.background.chroma = 1;
								  }}};
	for (const auto &[changed, change] : changes) {
		set = {};
		change();
		world.panel().refreshControls();
		for (int page = SkinPage; page <= BackgroundPage; ++page) {
			EXPECT_EQ(has_dot(page), page == changed) << page << " " << changed;
			EXPECT_EQ(world.tab(page).accessibleDescription().isEmpty(), page != changed);
		}
	}
}

TEST_F(ValuesTest, TheDotFollowsASliderStepAndAPanelWithoutFilters)
{
	EXPECT_FALSE(has_dot(SkinPage));
	click_key(&smooth(), Qt::Key_Right);
	EXPECT_TRUE(has_dot(SkinPage));
	world.remove_all_filters();
	world.poll();
	EXPECT_FALSE(has_dot(SkinPage));
}

TEST_F(ValuesTest, TheDotCanBeSeenOnEveryTab)
{
	ParameterSet &set = panel_model().parameters;
	set.skin.rosiness = 0.1f;
	set.body[8] = 0.2f;
	world.panel().refreshControls();
	settle();
	const QImage image = world.panel().grab().toImage();
	const auto color_of = [&](int page) {
		const auto *dot = world.tab(page).findChild<TabDot *>();
		return image.pixelColor(dot->mapTo(&world.panel(), dot->rect().center()));
	};
	EXPECT_EQ(color_of(SkinPage), QColor(0x25, 0x63, 0xeb)); // on white
	EXPECT_EQ(color_of(BodyPage), QColor(0x60, 0xa5, 0xfa));
}

TEST_F(ValuesTest, TextsFollowTheLanguage)
{
	click_key(&smooth(), Qt::Key_Right);
	set_language(LanguageGerman);
	world.panel().retranslate();
	EXPECT_EQ(world.tab(SkinPage).accessibleDescription(), QString::fromUtf8("Geändert"));
	EXPECT_EQ(world.page(SkinPage).findChild<StrengthSlider *>()->accessibleDescription(),
		  QString::fromUtf8("Geändert"));
	EXPECT_EQ(world.page(SkinPage).findChild<ValueLabel *>()->toolTip(),
		  QString::fromUtf8(translate("note.clickToType")));
	set_language(LanguageEnglish);
}

} // namespace
} // namespace kalvio::test
