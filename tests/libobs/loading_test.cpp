// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_registry.h"
#include "kit/latch.h"
#include "libobs/inner_filter_test.h"

#include <atomic>
#include <ostream>
#include <tuple>

// An effect that is chosen while the engine is still loading another one of its kind: on the graphics thread, from a
// file that takes its time. The settings that the load was begun with change under it.
namespace kalvio::test {

namespace {

using namespace std::chrono_literals;

enum class ChosenBy { Host, Panel };

// A setting, and what it is set to: before the load, and while the load goes on.
struct Choice {
	const char *name;
	const char *key;
	const char *loader;
	const char *first;
	const char *newest;
	const char *folder; // of the module's data
	const char *suffix; // of the file's name
};

void PrintTo(const Choice &choice, std::ostream *out)
{
	*out << choice.key << " " << choice.first << ", then " << choice.newest;
}

const Choice choices[] = {
	{"ShorterFilter", "filter_id", "kl_set_filter", "extraordinary", "rose", "filters", ".kld"},
	{"LongerFilter", "filter_id", "kl_set_filter", "rose", "extraordinary", "filters", ".kld"},
	{"ShorterSticker", "sticker_id", "kl_set_sticker", "falling_sakura", "fox", "stickers/face", ".kld"},
	{"LongerSticker", "sticker_id", "kl_set_sticker", "fox", "falling_sakura", "stickers/face", ".kld"},
	{"ShorterPreset", "bg_preset", "kl_set_virtual_background", "bookshelf", "cafe", "backgrounds", ".jpg"},
	{"LongerPreset", "bg_preset", "kl_set_virtual_background", "cafe", "bookshelf", "backgrounds", ".jpg"},
	{"ShorterImage", "bg_image", "kl_set_virtual_background", "a_picture_of_the_sea", "sea", "images", ".jpg"},
	{"LongerImage", "bg_image", "kl_set_virtual_background", "sea", "a_picture_of_the_sea", "images", ".jpg"},
};

using LoadingCase = std::tuple<Choice, ChosenBy>;

std::string case_name(const ::testing::TestParamInfo<LoadingCase> &info)
{
	const char *by = std::get<ChosenBy>(info.param) == ChosenBy::Host ? "ByHost" : "ByPanel";
	return std::string(std::get<Choice>(info.param).name) + by;
}

// Stops the engine in the load of one file until it is let go.
class HeldLoad {
public:
	explicit HeldLoad(std::string path)
	{
		EngineScript holding;
		holding.during_load = [this, path = std::move(path)](const char *, const char *loading) {
			if (path != loading)
				return;
			begun_.open();
			let_go_in_time_ = let_go_.wait_for(20s) && let_go_in_time_;
		};
		set_engine_script(holding);
	}

	~HeldLoad() { set_engine_script({}); }
	HeldLoad(const HeldLoad &) = delete;
	HeldLoad &operator=(const HeldLoad &) = delete;

	void wait_until_begun() { begun_.wait(); }
	void let_go() { let_go_.open(); }
	// False when a load went on by itself, since nobody had let it go after a long time.
	bool let_go_in_time() const { return let_go_in_time_; }

private:
	Latch begun_;
	Latch let_go_;
	std::atomic<bool> let_go_in_time_ = true;
};

class LoadingTest : public InnerFilterTest, public ::testing::WithParamInterface<LoadingCase> {
protected:
	const Choice &choice() const { return std::get<Choice>(GetParam()); }

	// The file of an effect; made, if it is not there.
	std::string file_of(const std::string &id) const
	{
		const std::string subfolder = choice().loader == std::string("kl_set_filter") ? id + "/" : "";
		return add_data_file(std::string(choice().folder) + "/" + subfolder + id + choice().suffix);
	}

	// Sets the choice. A picture of the user's is set by its path.
	void choose(obs_source_t *filter, const std::string &id) const
	{
		const bool by_path = choice().key == std::string("bg_image");
		const OBSDataAutoRelease settings = obs_data_create();
		obs_data_set_string(settings, choice().key, (by_path ? file_of(id) : id).c_str());
		obs_data_set_int(settings, "bg_fill",
				 choice().loader == std::string("kl_set_virtual_background") ? 2 : 0);
		if (std::get<ChosenBy>(GetParam()) == ChosenBy::Host)
			obs_source_update(filter, settings);
		else
			update_filter_at(0, settings);
	}
};

std::vector<Call> loads(const Choice &choice)
{
	return call_journal().calls_named(choice.loader);
}

Call load_of(const Choice &choice, const std::string &path)
{
	return Call{choice.loader, {path}, {}, {}, {}, {}};
}

TEST_P(LoadingTest, ChoiceMadeDuringALoadIsTheOneThatStays)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", pattern_picture(16, 16));
	const OBSSourceAutoRelease filter = add_filter(source);
	const std::string first = file_of(choice().first);
	const std::string newest = file_of(choice().newest);
	HeldLoad held(first);

	choose(filter, choice().first);
	held.wait_until_begun();
	choose(filter, choice().newest);
	held.let_go();
	wait_for_tick();

	EXPECT_TRUE(held.let_go_in_time()) << "a choice waits for no load";
	ASSERT_GE(loads(choice()).size(), 2U);
	EXPECT_EQ(loads(choice()).back(), load_of(choice(), newest));
}

TEST_P(LoadingTest, ChoiceTakenBackDuringALoadStays)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", pattern_picture(16, 16));
	const OBSSourceAutoRelease filter = add_filter(source);
	const std::string first = file_of(choice().first);
	file_of(choice().newest);
	HeldLoad held(first);

	choose(filter, choice().first);
	held.wait_until_begun();
	choose(filter, choice().newest);
	choose(filter, choice().first);
	held.let_go();
	wait_for_tick();

	EXPECT_TRUE(held.let_go_in_time()) << "a choice waits for no load";
	EXPECT_EQ(loads(choice()).back(), load_of(choice(), first));
}

INSTANTIATE_TEST_SUITE_P(Choices, LoadingTest,
			 ::testing::Combine(::testing::ValuesIn(choices),
					    ::testing::Values(ChosenBy::Host, ChosenBy::Panel)),
			 case_name);

} // namespace

} // namespace kalvio::test
