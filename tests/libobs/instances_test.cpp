// SPDX-License-Identifier: GPL-2.0-or-later
#include "libobs/recording_test.h"

#include <algorithm>

// Many filters, and the ways in which a host makes, moves and destroys them.
namespace kalvio::test {

namespace {

class InstancesTest : public RecordingTest {
protected:
	const Picture picture_ = pattern_picture(24, 16);
};

// Which engine each processed frame went to, in order.
std::vector<const void *> processing_engines()
{
	std::vector<const void *> engines;
	for (const Call &call : call_journal().calls_named("kl_process_rgba"))
		engines.push_back(call.object);
	return engines;
}

const void *engine_of_newest_filter()
{
	return call_journal().calls_named("kl_engine_create").back().object;
}

std::vector<std::string> filter_names(obs_source_t *source)
{
	std::vector<std::string> names;
	obs_source_enum_filters(
		source,
		[](obs_source_t *, obs_source_t *filter, void *list) {
			static_cast<std::vector<std::string> *>(list)->emplace_back(obs_source_get_name(filter));
		},
		&names);
	return names;
}

class Scene {
public:
	explicit Scene(const char *name) : scene_(obs_scene_create_private(name)) {}

	obs_source_t *source() const { return obs_scene_get_source(scene_); }
	obs_sceneitem_t *add(obs_source_t *source) { return obs_scene_add(scene_, source); }

private:
	OBSSceneAutoRelease scene_;
};

TEST_F(InstancesTest, EachFilterHasAnEngineOfItsOwn)
{
	const OBSSourceAutoRelease first = create_filter("First");
	const OBSSourceAutoRelease second = create_filter("Second");

	EXPECT_EQ(live_engine_count(), 2);
	const LogLine created = {LOG_INFO, "[Kalvio] engine created, resource=" + plugin().bundle().string()};
	EXPECT_EQ(log().count(created), 2U);
}

TEST_F(InstancesTest, ThreeFiltersOnOneSourceRunInTheirOrder)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	std::vector<const void *> engines;
	std::vector<OBSSourceAutoRelease> filters;
	for (const char *name : {"One", "Two", "Three"}) {
		filters.push_back(add_filter(source, name));
		engines.push_back(engine_of_newest_filter());
	}

	EXPECT_EQ(render(source), processed(processed(processed(picture_))));
	EXPECT_EQ(processing_engines(), engines);
	EXPECT_EQ(render_count(source), 1);
}

TEST_F(InstancesTest, MovedFilterRunsAtItsNewPlace)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease first = add_filter(source, "One");
	const void *first_engine = engine_of_newest_filter();
	const OBSSourceAutoRelease second = add_filter(source, "Two");
	const void *second_engine = engine_of_newest_filter();

	obs_source_filter_set_order(source, first, OBS_ORDER_MOVE_DOWN);
	render(source);

	EXPECT_EQ(filter_names(source), (std::vector<std::string>{"Two", "One"}));
	EXPECT_EQ(processing_engines(), (std::vector<const void *>{second_engine, first_engine}));
}

TEST_F(InstancesTest, MiddleOneOfThreeFiltersIsRemovedAndTheOthersGoOn)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease first = add_filter(source, "One");
	OBSSourceAutoRelease second = add_filter(source, "Two");
	const OBSSourceAutoRelease third = add_filter(source, "Three");

	obs_source_filter_remove(source, second);
	release_and_wait(second);

	EXPECT_EQ(live_engine_count(), 2);
	EXPECT_EQ(render(source), picture_) << "two inversions";
	EXPECT_EQ(frames_processed(), 2U);
}

TEST_F(InstancesTest, RemovedFilterNoLongerProcesses)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);
	render(source);

	obs_source_filter_remove(source, filter);

	EXPECT_EQ(render(source), picture_);
}

TEST_F(InstancesTest, FilterMovedToAnotherSourceProcessesThatOne)
{
	const OBSSourceAutoRelease first = create_picture_source("First", picture_);
	const OBSSourceAutoRelease second = create_picture_source("Second", pattern_picture(40, 8));
	const OBSSourceAutoRelease filter = add_filter(first);
	render(first);

	obs_source_filter_remove(first, filter);
	obs_source_filter_add(second, filter);

	EXPECT_EQ(render(first), picture_);
	EXPECT_EQ(render(second), processed(pattern_picture(40, 8)));
	EXPECT_EQ(engines_created(), 1U);
}

TEST_F(InstancesTest, CopiedFiltersAreOnesOfTheirOwnWithTheSameSettings)
{
	const OBSSourceAutoRelease original = create_picture_source("Original", picture_);
	const OBSSourceAutoRelease filter = add_filter(original, "Beauty", settings_from(R"({"smoothing": 0.5})"));
	const OBSSourceAutoRelease other = create_picture_source("Other", picture_);
	call_journal().take();

	obs_source_copy_filters(other, original);

	EXPECT_EQ(live_engine_count(), 2);
	EXPECT_EQ(last_value("kl_set_smoothing"), Argument(0.5F));
	EXPECT_EQ(render(other), processed(picture_));

	// The copy has its own settings from now on.
	const OBSSourceAutoRelease copy = obs_source_get_filter_by_name(other, "Beauty");
	ASSERT_TRUE(copy);
	obs_source_update(copy, settings_from(R"({"enabled": false})"));
	wait_for_tick();
	EXPECT_EQ(render(other), picture_);
	EXPECT_EQ(render(original), processed(picture_));
}

TEST_F(InstancesTest, DuplicatedSourceHasAFilterOfItsOwn)
{
	const OBSSourceAutoRelease original = create_picture_source("Original", picture_);
	OBSSourceAutoRelease filter = add_filter(original);

	const OBSSourceAutoRelease duplicate = obs_source_duplicate(original, "Duplicate", false);
	set_picture(duplicate, picture_);
	obs_source_filter_remove(original, filter);
	release_and_wait(filter);

	EXPECT_EQ(live_engine_count(), 1);
	EXPECT_EQ(render(duplicate), processed(picture_));
}

TEST_F(InstancesTest, SourceShownTwiceIsProcessedByItsOneFilter)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	const OBSSourceAutoRelease filter = add_filter(source);
	Scene scene("Scene");
	scene.add(source);
	scene.add(source);

	render(scene.source());

	EXPECT_EQ(live_engine_count(), 1);
	EXPECT_EQ(frames_processed(), 1U) << "both are views of one frame";
}

TEST_F(InstancesTest, FilterOnASceneProcessesTheWholeScene)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	Scene scene("Scene");
	scene.add(source);
	const Picture unfiltered = render(scene.source());
	const OBSSourceAutoRelease filter = add_filter(scene.source());

	EXPECT_EQ(render(scene.source()), processed(unfiltered));
}

TEST_F(InstancesTest, FilterInANestedSceneProcessesItsSource)
{
	const Picture full = pattern_picture(64, 64);
	const OBSSourceAutoRelease source = create_picture_source("Camera", full);
	const OBSSourceAutoRelease filter = add_filter(source);
	Scene inner("Inner");
	inner.add(source);
	const OBSSourceAutoRelease inner_filter = add_filter(inner.source());
	Scene outer("Outer");
	outer.add(inner.source());

	render(outer.source());

	EXPECT_EQ(frames_processed(), 2U);
	EXPECT_EQ(last_engine_input().size(), size_t{64} * 64 * 4);
}

TEST_F(InstancesTest, NamesThatAreNotAsciiAreNoObstacle)
{
	const OBSSourceAutoRelease source = create_picture_source("Cam\u00e9ra \u6444\u50cf\u5934 \"1\"", picture_);
	const OBSSourceAutoRelease filter = add_filter(source, "Sch\u00f6n \u7f8e\u989c");

	EXPECT_EQ(render(source), processed(picture_));
	EXPECT_EQ(filter_names(source), std::vector<std::string>{"Sch\u00f6n \u7f8e\u989c"});
}

TEST_F(InstancesTest, FilterIsDestroyedOnAThreadOfTheHost)
{
	OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	OBSSourceAutoRelease filter = add_filter(source);
	render(source);

	filter = nullptr;
	release_and_wait(source);

	const std::vector<Call> destroyed = call_journal().calls_named("kl_engine_destroy");
	ASSERT_EQ(destroyed.size(), 1U);
	EXPECT_NE(destroyed.front().thread, std::this_thread::get_id());
}

TEST_F(InstancesTest, FilterMayBeMadeOnAnyThread)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	OBSSourceAutoRelease filter;

	std::thread([&] { filter = add_filter(source); }).join();

	EXPECT_EQ(render(source), processed(picture_));
}

TEST_F(InstancesTest, FiltersMadeAndDestroyedInAHurryLeaveNothing)
{
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture_);
	for (int round = 0; round < 25; round++) {
		const OBSSourceAutoRelease filter = add_filter(source, std::to_string(round));
		obs_source_update(filter, settings_from(R"({"smoothing": 0.5})"));
		if (round % 3 == 0)
			render(source);
		obs_source_filter_remove(source, filter);
	}
	obs_wait_for_destroy_queue();

	EXPECT_EQ(live_engine_count(), 0);
	EXPECT_EQ(render(source), picture_);
}

} // namespace

} // namespace kalvio::test
