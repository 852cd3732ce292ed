// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_fixture.h"
#include "filter/filter_registry.h"

// The host hands the filter's update its own settings object, which the panel changes on another thread meanwhile.
namespace {

using namespace kalvio;
using namespace kalvio::test;

struct Choice {
	const char *key;
	const char *first;
	const char *second; // longer than any text that was there, so that the host moves it
	const char *first_file;
	const char *second_file;
	const char *loader;
};

void PrintTo(const Choice &choice, std::ostream *stream)
{
	*stream << choice.key;
}

constexpr Choice choices[] = {
	{"filter_id", "vivid", "extraordinary", "filters/vivid/vivid.kld", "filters/extraordinary/extraordinary.kld",
	 "kl_set_filter"},
	{"sticker_id", "fox", "falling_sakura", "stickers/face/fox.kld", "stickers/face/falling_sakura.kld",
	 "kl_set_sticker"},
	{"bg_preset", "city", "bookshelf", "backgrounds/city.jpg", "backgrounds/bookshelf.jpg",
	 "kl_set_virtual_background"},
};

class LiveSettings : public FilterFixture, public testing::WithParamInterface<Choice> {
protected:
	// What the panel does on the user-interface thread.
	void choose(const char *text)
	{
		const OBSDataAutoRelease changes = obs_data_create();
		obs_data_set_int(changes, "bg_fill", 2);
		obs_data_set_string(changes, GetParam().key, text);
		update_filter_at(0, changes);
	}
};

TEST_P(LiveSettings, AChoiceThatIsMadeWhileAnotherLoadsIsLoadedNext)
{
	const Choice &choice = GetParam();
	data_.write(choice.first_file);
	const std::string second = data_.write(choice.second_file);
	create();
	choose(choice.first);
	bool is_loading_first = true;
	set_engine_script({.during_load = [&](const char *, const char *) {
		if (std::exchange(is_loading_first, false))
			std::async(std::launch::async, [&] { choose(choice.second); }).get();
	}});
	filter_.tick();
	filter_.tick();

	EXPECT_FALSE(is_loading_first);
	const std::vector<Call> loads = call_journal().calls_named(choice.loader);
	ASSERT_EQ(loads.size(), 2u);
	EXPECT_EQ(loads.back(), (Call{choice.loader, {second}}));
}

INSTANTIATE_TEST_SUITE_P(Choices, LiveSettings, testing::ValuesIn(choices),
			 [](const auto &choice) { return std::string(choice.param.loader); });

} // namespace
