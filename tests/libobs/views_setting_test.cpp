// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_source.h"
#include "libobs/inner_filter_test.h"

// A setting that changes between two views of one frame. The host hands settings over between frames only, so the
// filter's own update is called.
namespace kalvio::test {

namespace {

class ViewsSettingTest : public InnerFilterTest {
protected:
	void SetUp() override
	{
		InnerFilterTest::SetUp();
		EngineScript inverting;
		inverting.output = EngineOutput::Invert;
		set_engine_script(inverting);
	}

	// As the host does at the beginning of a frame.
	static void update_now(obs_source_t *filter, const char *json)
	{
		const OBSDataAutoRelease changes = settings_from(json);
		const OBSDataAutoRelease settings = obs_source_get_settings(filter);
		obs_data_apply(settings, changes);
		filter_source_info().update(obs_obj_get_data(filter), settings);
	}

	Picture render_view(obs_source_t *source) const { return render_now(source, picture_.width, picture_.height); }

	const Picture picture_ = pattern_picture(24, 16);
};

TEST_F(ViewsSettingTest, ViewAfterAChangedSettingIsProcessedAgain)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);

	on_graphics_thread([&] {
		const GraphicsContext context;
		render_view(source);
		render_view(source);
		EXPECT_EQ(call_journal().count("kl_process_rgba"), 1U);
		update_now(filter, R"({"smoothing": 0.5})");
		render_view(source);
		render_view(source);
		EXPECT_EQ(call_journal().count("kl_process_rgba"), 2U);
	});
}

TEST_F(ViewsSettingTest, ViewAfterTheEffectsWereSwitchedOffShowsTheSource)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);
	Picture on;
	Picture off;

	on_graphics_thread([&] {
		const GraphicsContext context;
		on = render_view(source);
		update_now(filter, R"({"enabled": false})");
		off = render_view(source);
	});

	EXPECT_NE(on, picture_);
	EXPECT_EQ(off, picture_);
}

} // namespace

} // namespace kalvio::test
