// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel_fixture.h"

#include "filter/engine_capabilities.h"
#include "kit/recording_capabilities.h"

// What the panel says about effects that the engine cannot draw yet.
namespace kalvio::test {
namespace {

constexpr int32_t faces = KL_CAPABILITY_FACES;
constexpr int32_t person_matte = KL_CAPABILITY_PERSON_MATTE;
constexpr int32_t body = KL_CAPABILITY_BODY;

class SupportTest : public PanelTest {
protected:
	void open_with(int32_t capabilities)
	{
		set_engine_capabilities(capabilities);
		world.add_filter("Camera");
		world.open_panel(340, 1200);
	}

	// How many notes the page shows.
	qsizetype notes(int page)
	{
		world.show_page(page);
		qsizetype count = 0;
		for (const auto *label : world.page(page).findChildren<QLabel *>())
			count += label->isVisible() && label->text() == QStringLiteral("Not visible yet");
		return count;
	}

	void choose_background(int fill, int chroma)
	{
		panel_model().parameters.background.fill = fill;
		panel_model().parameters.background.chroma = chroma;
		world.panel().refreshControls();
	}
};

TEST_F(SupportTest, AnEngineThatDrawsAllGetsNoNote)
{
	open_with(all_capabilities);
	choose_background(FillBlur, 0);
	for (int page = SkinPage; page <= BackgroundPage; ++page)
		EXPECT_EQ(notes(page), 0) << page;
}

TEST_F(SupportTest, AnEngineWithoutFacesGetsNotesWhereFacesAreNeeded)
{
	open_with(person_matte | body);
	EXPECT_EQ(notes(SkinPage), 0);
	EXPECT_EQ(notes(ReshapePage), 1);
	EXPECT_EQ(notes(MakeupPage), 1);
	EXPECT_EQ(notes(FilterPage), 0);
	EXPECT_EQ(notes(StickerPage), 2); // faces and 3D, not the screen
	EXPECT_EQ(notes(BodyPage), 0);
}

TEST_F(SupportTest, AnEngineWithoutBodiesGetsANoteOnTheBodyPage)
{
	open_with(faces | person_matte);
	EXPECT_EQ(notes(BodyPage), 1);
	EXPECT_EQ(notes(ReshapePage), 0);
}

TEST_F(SupportTest, WithoutAMatteABackgroundTakesAKeyToBeSeen)
{
	open_with(faces | body);
	choose_background(FillNone, 0);
	EXPECT_EQ(notes(BackgroundPage), 0);
	choose_background(FillBlur, 0);
	EXPECT_EQ(notes(BackgroundPage), 1);
	choose_background(FillPicture, 1);
	EXPECT_EQ(notes(BackgroundPage), 0);
}

TEST_F(SupportTest, NotesGoAsSoonAsAnEngineCanDrawIt)
{
	open_with(0);
	EXPECT_EQ(notes(ReshapePage), 1);
	set_engine_capabilities(all_capabilities);
	world.add_filter("Another camera");
	world.poll();
	EXPECT_EQ(notes(ReshapePage), 0);
}

TEST_F(SupportTest, BeforeThereIsAnEngineNothingIsSaid)
{
	set_engine_capabilities(0);
	world.open_panel();
	EXPECT_EQ(notes(ReshapePage), 0);
}

} // namespace
} // namespace kalvio::test
