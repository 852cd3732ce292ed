// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/original_view.h"

#include "filter/filter_fixture.h"

namespace {

using namespace kalvio;
using namespace kalvio::test;

class OriginalView : public FilterFixture {
protected:
	~OriginalView() override
	{
		show_original(OriginalRequester::Panel, {});
		show_original(OriginalRequester::Hotkey, {});
	}

	// Whether the engine got the next frame.
	bool is_next_frame_processed()
	{
		forget();
		host_double().tick();
		render();
		return call_journal().count("kl_process_rgba") > 0;
	}
};

TEST_F(OriginalView, PassesFramesThroughForAsLongAsItIsAskedFor)
{
	create();
	EXPECT_TRUE(is_next_frame_processed());
	show_original(OriginalRequester::Panel, {false, {instance().id}});
	EXPECT_FALSE(is_next_frame_processed());
	EXPECT_EQ(call_journal().count("obs_source_skip_video_filter"), 1u);
	show_original(OriginalRequester::Panel, {});
	EXPECT_TRUE(is_next_frame_processed());
}

TEST_F(OriginalView, IsOfTheFiltersThatItNames)
{
	create();
	show_original(OriginalRequester::Panel, {false, {instance().id + 1}});
	EXPECT_TRUE(is_next_frame_processed());
	show_original(OriginalRequester::Panel, {true, {}});
	EXPECT_FALSE(is_next_frame_processed());
}

TEST_F(OriginalView, EndsWithTheLastOfItsRequests)
{
	create();
	show_original(OriginalRequester::Panel, {false, {instance().id}});
	show_original(OriginalRequester::Hotkey, {true, {}});
	show_original(OriginalRequester::Panel, {});
	EXPECT_FALSE(is_next_frame_processed());
	show_original(OriginalRequester::Hotkey, {});
	EXPECT_TRUE(is_next_frame_processed());
}

TEST_F(OriginalView, ChangesNoSetting)
{
	create();
	const std::string before = obs_data_get_json(filter_.settings);
	show_original(OriginalRequester::Panel, {true, {}});
	is_next_frame_processed();
	EXPECT_EQ(obs_data_get_json(filter_.settings), before);
	EXPECT_TRUE(instance().enabled);
}

} // namespace
