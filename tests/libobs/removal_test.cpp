// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/latch.h"
#include "libobs/frame_watch.h"
#include "libobs/recording_test.h"
#include "libobs/stress_time.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <thread>

// Filters that are taken away while the host draws them. The host forgets a filter's parent on the thread that removes
// it, in the middle of the graphics thread's frame.
namespace kalvio::test {

namespace {

using namespace std::chrono_literals;

class RemovalTest : public RecordingTest {
protected:
	void SetUp() override
	{
		RecordingTest::SetUp();
		call_journal().set_enabled(false); // it would grow for as long as the test runs
	}

	// More frames than a display shows, and so more moments at which a removal can meet one.
	std::optional<SessionOptions> initial_session() override
	{
		SessionOptions options = with_plugin();
		options.frames_per_second = 2000;
		return options;
	}

	const Picture picture_ = translucent_pattern();

private:
	// Neither the picture nor what the engine makes of it (every byte turned, alpha too) is invisible.
	static Picture translucent_pattern()
	{
		Picture picture = pattern_picture(24, 16);
		for (size_t i = 3; i < picture.rgba.size(); i += 4)
			picture.rgba[i] = 120;
		return picture;
	}
};

// Removes a filter on a thread of its own while the graphics thread is inside a call of the engine.
class RemovalInsideACall {
public:
	RemovalInsideACall(obs_source_t *source, obs_source_t *filter) : source_(source), filter_(filter) {}
	~RemovalInsideACall()
	{
		if (thread_.joinable())
			thread_.join();
	}
	RemovalInsideACall(const RemovalInsideACall &) = delete;
	RemovalInsideACall &operator=(const RemovalInsideACall &) = delete;

	// Called inside the engine. A removal that waits for the end of the frame is as good as one that does not.
	void remove_once()
	{
		if (thread_.joinable())
			return;
		thread_ = std::thread([this] {
			obs_source_filter_remove(source_, filter_);
			removed_.open();
		});
		removed_.wait_for(200ms);
	}

private:
	obs_source_t *source_;
	obs_source_t *filter_;
	std::thread thread_;
	Latch removed_;
};

TEST_F(RemovalTest, FilterThatIsOnNoSourceDrawsNothing)
{
	const OBSSourceAutoRelease filter = create_filter("Beauty");

	EXPECT_EQ(render(filter, 8, 8), Picture(8, 8));
}

TEST_F(RemovalTest, FilterThatWasRemovedDrawsNothing)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);
	render(source);

	obs_source_filter_remove(source, filter);

	EXPECT_EQ(render(filter, 8, 8), Picture(8, 8));
}

TEST_F(RemovalTest, FilterRemovedWhileAFrameMakesItsEngineLeavesTheSourceVisible)
{
	fail_creations(1);
	announce_failed_creation();
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);
	RemovalInsideACall removal(source, filter);
	EngineScript removing;
	removing.during_create = [&removal] {
		removal.remove_once();
	};
	script(removing);

	const Picture shown = render(source);

	EXPECT_TRUE(shown == picture_ || shown == processed(picture_));
	EXPECT_EQ(render(source), picture_);
}

TEST_F(RemovalTest, FilterRemovedWhileTheEngineWorksLeavesTheSourceVisible)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);
	RemovalInsideACall removal(source, filter);
	EngineScript removing;
	removing.during_process = [&removal](kl_engine *) {
		removal.remove_once();
	};
	script(removing);

	const Picture shown = render(source);

	EXPECT_TRUE(shown == picture_ || shown == processed(picture_));
	EXPECT_EQ(render(source), picture_);
}

// The host lets the filters of a source change their order while it draws them. The one whose picture ours has just
// asked for then asks for ours.
TEST_F(RemovalTest, FilterMovedBeforeTheOneItDrawsGoesOn)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease other = create_copying_filter("Copy");
	obs_source_filter_add(source, other);
	const OBSSourceAutoRelease filter = add_filter(source);
	before_next_copy([&] { obs_source_filter_set_order(source, filter, OBS_ORDER_MOVE_TOP); });

	render(source);

	const OBSSourceAutoRelease unfiltered = create_picture_source("Other", processed(picture_));
	const OBSSourceAutoRelease copy = create_copying_filter("Copy");
	obs_source_filter_add(unfiltered, copy);
	EXPECT_EQ(render(source), render(unfiltered));
}

// Where a filter of ours is put: as the last of its source's filters, or as the first, before the ones that stay.
struct Place {
	obs_source_t *source;
	bool first = false;
};

using Filters = std::vector<OBSSourceAutoRelease>;

// The first filter is the one that is nearest to the source.
void move_to_the_front(obs_source_t *source, obs_source_t *filter)
{
	obs_source_filter_set_order(source, filter, OBS_ORDER_MOVE_TOP);
}

OBSSourceAutoRelease add_filter_at(const Place &place)
{
	// All the settings that change later are there from the start: the host sets them where they lie.
	const OBSDataAutoRelease settings = settings_from(R"({"smoothing": 0.5, "bg_fill": 1, "bg_blur": 0.5})");
	OBSSourceAutoRelease filter = add_filter(place.source, "Beauty", settings);
	if (place.first)
		move_to_the_front(place.source, filter);
	return filter;
}

// In a frame that begins after the call: within one frame of the host a filter of its own keeps its texture.
Picture render_anew(obs_source_t *source)
{
	wait_for_tick();
	return render(source);
}

// What `watched` shows with each choice of filters. One that belongs before the others is behind them for a moment.
std::vector<Picture> possible_pictures(obs_source_t *watched, const std::vector<Place> &places)
{
	std::vector<Picture> pictures;
	for (unsigned choice = 0; choice < 1U << places.size(); choice++) {
		Filters filters(places.size());
		for (size_t i = 0; i < places.size(); i++) {
			if (!(choice >> i & 1U))
				continue;
			filters[i] = add_filter_at({places[i].source});
			pictures.push_back(render_anew(watched));
			if (places[i].first)
				move_to_the_front(places[i].source, filters[i]);
		}
		pictures.push_back(render_anew(watched));
		for (size_t i = 0; i < places.size(); i++) {
			if (filters[i])
				obs_source_filter_remove(places[i].source, filters[i]);
		}
	}
	return pictures;
}

class RemovalRounds {
public:
	explicit RemovalRounds(std::vector<Place> places) : places_(std::move(places)) {}

	// Adds a filter at each place, changes settings, and removes all of them in any order, each at any moment.
	void run_once()
	{
		Filters filters;
		for (const Place &place : places_)
			filters.push_back(add_filter_at(place));
		for (const OBSSourceAutoRelease &filter : filters)
			change_settings(filter);
		pass_any_time();

		std::vector<size_t> order(places_.size());
		for (size_t i = 0; i < order.size(); i++)
			order[i] = i;
		std::ranges::shuffle(order, random_);
		for (const size_t i : order) {
			change_settings(filters[i]);
			obs_source_filter_remove(places_[i].source, filters[i]);
			filters[i] = nullptr;
			removals_++;
			if (random_() % 2)
				pass_any_time();
		}
	}

	int removals() const { return removals_; }

private:
	void change_settings(obs_source_t *filter)
	{
		const OBSDataAutoRelease settings = obs_data_create();
		obs_data_set_double(settings, "smoothing", static_cast<double>(random_() % 100) / 100.0);
		obs_data_set_int(settings, "bg_fill", static_cast<int>(random_() % 2));
		obs_data_set_double(settings, "bg_blur", static_cast<double>(random_() % 100) / 100.0);
		obs_source_update(filter, settings);
	}

	// The moment of a removal is what is tried out here; nothing is waited for.
	void pass_any_time()
	{
		std::this_thread::sleep_for(std::chrono::microseconds(random_() % (random_() % 8 ? 700 : 5000)));
	}

	std::vector<Place> places_;
	std::mt19937 random_{1};
	int removals_ = 0;
};

class RemovalStressTest : public RemovalTest {
protected:
	// Runs rounds while the host shows `watched`, in which `camera` stands, and looks at every frame. `transient`
	// are pictures that the host itself may show while the filters change.
	void remove_while_shown(obs_source_t *watched, const std::vector<Place> &places, obs_source_t *camera,
				const std::vector<Picture> &transient = {})
	{
		set_picture(camera, Picture(picture_.width, picture_.height));
		const std::vector<Picture> without_camera = possible_pictures(watched, places);
		set_picture(camera, picture_);
		std::vector<Picture> pictures = possible_pictures(watched, places);
		const Picture unfiltered = pictures.front();
		pictures.insert(pictures.end(), transient.begin(), transient.end());
		RemovalRounds rounds(places);
		obs_set_output_source(0, watched);
		{
			const FrameWatch watch(watched, pictures, without_camera);
			const auto end = std::chrono::steady_clock::now() + stress_time();
			while (stress_removals() ? rounds.removals() < stress_removals()
						 : std::chrono::steady_clock::now() < end)
				rounds.run_once();
			EXPECT_EQ(watch.wrong_frames(), 0) << "of " << watch.frames();
			// A frame that the host has begun before a removal and that reaches the filter after it lacks
			// what the filter would have drawn, as it does with the host's own filters.
			// Up to 4 of 100 removals have been seen to do that at 2000 frames per second.
			EXPECT_LE(watch.lost_frames(), 2 + rounds.removals() / 10) << "of " << watch.frames();
			EXPECT_GT(watch.frames(), 0);
			RecordProperty("frames", watch.frames());
			RecordProperty("lost_frames", watch.lost_frames());
		}
		obs_set_output_source(0, nullptr);
		EXPECT_GT(rounds.removals(), 0);
		RecordProperty("removals", rounds.removals());
		EXPECT_EQ(render_anew(watched), unfiltered) << "no filter is left";
	}
};

TEST_F(RemovalStressTest, OneFilterIsRemovedWhileItIsShown)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);

	remove_while_shown(source, {{source}}, source);
}

TEST_F(RemovalStressTest, TwoFiltersOnOneSourceAreRemovedWhileTheyAreShown)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);

	remove_while_shown(source, {{source}, {source}}, source);
}

TEST_F(RemovalStressTest, FilterBehindOneOfAnotherMakeIsRemovedWhileItIsShown)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease other = create_copying_filter("Copy");
	obs_source_filter_add(source, other);

	remove_while_shown(source, {{source}}, source);
}

// A filter that asks for the size of one that has just been removed is told 0 by the host, and skipped.
TEST_F(RemovalStressTest, FilterBeforeOneOfAnotherMakeIsRemovedWhileItIsShown)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const std::vector<Picture> without_the_other = possible_pictures(source, {{source}});
	const OBSSourceAutoRelease other = create_copying_filter("Copy");
	obs_source_filter_add(source, other);

	remove_while_shown(source, {{source, true}}, source, without_the_other);
}

TEST_F(RemovalStressTest, FiltersOnASceneAndOnASourceInItAreRemovedWhileTheyAreShown)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSceneAutoRelease scene = obs_scene_create_private("Scene");
	obs_scene_add(scene, source);
	obs_source_t *const scene_source = obs_scene_get_source(scene);

	remove_while_shown(scene_source, {{source}, {scene_source}}, source);
}

} // namespace

} // namespace kalvio::test
