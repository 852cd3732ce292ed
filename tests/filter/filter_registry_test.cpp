// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_registry.h"

#include "kit/double_fixture.h"

#include <chrono>
#include <climits>
#include <future>
#include <memory>
#include <obs.hpp>
#include <optional>

namespace {

using namespace kalvio;
using namespace kalvio::test;

using Names = std::vector<std::string>;

// Three filters, on the sources A, B and C.
class FilterRegistry : public DoubleFixture {
protected:
	FilterRegistry()
	{
		for (size_t i = 0; i < 3; ++i) {
			filters_[i].parent = &parents_[i];
			register_filter(filters_[i].handle());
		}
		obs_data_set_double(changes_, "smoothing", 0.5);
	}
	~FilterRegistry() override
	{
		for (FakeSource &filter : filters_) {
			unregister_filter(filter.handle());
			EXPECT_EQ(filter.references(), 0) << filter.name;
		}
		EXPECT_EQ(registered_filter_names(), Names());
	}

	static double smoothing_of(const FakeSource &filter)
	{
		return obs_data_get_double(filter.settings, "smoothing");
	}

	// The names of the filters that obs_source_update was called for.
	static std::vector<Call> updates() { return call_journal().calls_named("obs_source_update"); }

	FakeSource parents_[3] = {FakeSource("A"), FakeSource("B"), FakeSource("C")};
	FakeSource filters_[3] = {FakeSource("filter a"), FakeSource("filter b"), FakeSource("filter c")};
	OBSDataAutoRelease changes_ = obs_data_create();
};

// --- Membership

TEST_F(FilterRegistry, ListsInOrderOfRegistration)
{
	EXPECT_EQ(registered_filter_names(), (Names{"A", "B", "C"}));
}

TEST_F(FilterRegistry, ListsEachFilterOnce)
{
	register_filter(filters_[1].handle());
	EXPECT_EQ(registered_filter_names(), (Names{"A", "B", "C"}));
}

TEST_F(FilterRegistry, DoesNotListANullSource)
{
	register_filter(nullptr);
	EXPECT_EQ(registered_filter_names().size(), 3u);
}

TEST_F(FilterRegistry, KnowsItsOwnListAgainUntilAnythingChanges)
{
	std::vector<RegisteredFilter> known;
	list_registered_filters(known);
	EXPECT_TRUE(are_registered_filters(known));
	parents_[1].name = "B renamed";
	EXPECT_FALSE(are_registered_filters(known));
	list_registered_filters(known);
	EXPECT_TRUE(are_registered_filters(known));
	unregister_filter(filters_[2].handle());
	EXPECT_FALSE(are_registered_filters(known));
	register_filter(filters_[2].handle()); // another filter, though at the same place
	EXPECT_FALSE(are_registered_filters(known));
}

TEST_F(FilterRegistry, HoldsNoReferences)
{
	EXPECT_EQ(call_journal().count("obs_source_get_ref"), 0u);
	EXPECT_EQ(filters_[0].references(), 0);
}

TEST_F(FilterRegistry, RemovingTheSecondOfThreeMovesTheThirdUp)
{
	unregister_filter(filters_[1].handle());
	EXPECT_EQ(registered_filter_names(), (Names{"A", "C"}));
	update_filter_at(1, changes_);
	EXPECT_EQ(smoothing_of(filters_[2]), 0.5);
	call_journal().reset();
	update_filter_at(2, changes_);
	EXPECT_EQ(call_journal().calls(), std::vector<Call>());
}

TEST_F(FilterRegistry, RemovingAnUnknownFilterChangesNothing)
{
	FakeSource stranger("stranger");
	unregister_filter(stranger.handle());
	EXPECT_EQ(registered_filter_names(), (Names{"A", "B", "C"}));
}

// --- Names

TEST_F(FilterRegistry, AFilterOnASourceWithoutANameIsListedUnderItsOwn)
{
	parents_[0].name = "";
	parents_[1].nameless = true;
	filters_[2].parent = nullptr;
	EXPECT_EQ(registered_filter_names(), (Names{"filter a", "filter b", "filter c"}));
}

TEST_F(FilterRegistry, AFilterWithoutAnyNameIsListedAsEmpty)
{
	filters_[0].parent = nullptr;
	filters_[0].nameless = true;
	parents_[1].name = "";
	filters_[1].name = "";
	EXPECT_EQ(registered_filter_names(), (Names{"", "", "C"}));
}

TEST_F(FilterRegistry, EqualNamesAreListedAsTheyAre)
{
	parents_[1].name = "A";
	parents_[2].name = "Камера 摄像头";
	EXPECT_EQ(registered_filter_names(), (Names{"A", "A", "Камера 摄像头"}));
}

// --- Update of one

TEST_F(FilterRegistry, UpdatesTheFilterAtAPositionUnderAReference)
{
	update_filter_at(1, changes_);
	EXPECT_EQ(call_journal().calls(), (std::vector<Call>{{"obs_source_get_ref", {"filter b"}},
							     {"obs_source_update", {"filter b"}},
							     {"obs_source_release", {"filter b"}}}));
	EXPECT_EQ(smoothing_of(filters_[1]), 0.5);
	EXPECT_EQ(smoothing_of(filters_[0]), 0.0);
}

TEST_F(FilterRegistry, UpdateIgnoresAPositionOutOfRange)
{
	for (const int index : {-1, 3, INT_MIN, INT_MAX})
		update_filter_at(index, changes_);
	EXPECT_EQ(call_journal().calls(), std::vector<Call>());
}

TEST_F(FilterRegistry, UpdateIgnoresNullSettings)
{
	update_filter_at(0, nullptr);
	EXPECT_EQ(call_journal().calls(), std::vector<Call>());
}

TEST_F(FilterRegistry, UpdateIgnoresAFilterThatRefusesAReference)
{
	filters_[0].refuses_references = true;
	update_filter_at(0, changes_);
	EXPECT_EQ(call_journal().calls(), (std::vector<Call>{{"obs_source_get_ref", {"filter a"}}}));
}

// --- Reading

TEST_F(FilterRegistry, ReadsTheSettingsAtAPositionUnderAReference)
{
	obs_data_set_double(filters_[2].settings, "smoothing", 0.75);
	const OBSDataAutoRelease dest = obs_data_create();
	obs_data_set_string(dest, "own", "kept");
	EXPECT_TRUE(read_filter_settings_at(2, dest));
	EXPECT_EQ(obs_data_get_double(dest, "smoothing"), 0.75);
	EXPECT_STREQ(obs_data_get_string(dest, "own"), "kept");
	EXPECT_EQ(call_journal().calls(), (std::vector<Call>{{"obs_source_get_ref", {"filter c"}},
							     {"obs_source_get_settings", {"filter c"}},
							     {"obs_source_release", {"filter c"}}}));
}

TEST_F(FilterRegistry, ReadingFailsWithoutATouchWhenThereIsNothingToReadFromOrInto)
{
	const OBSDataAutoRelease dest = obs_data_create();
	obs_data_set_double(filters_[0].settings, "smoothing", 0.75);
	EXPECT_FALSE(read_filter_settings_at(0, nullptr));
	EXPECT_FALSE(read_filter_settings_at(-1, dest));
	EXPECT_FALSE(read_filter_settings_at(3, dest));
	EXPECT_EQ(call_journal().calls(), std::vector<Call>());
	filters_[0].refuses_references = true;
	EXPECT_FALSE(read_filter_settings_at(0, dest));
	EXPECT_FALSE(obs_data_has_user_value(dest, "smoothing"));
}

// --- Update of all

TEST_F(FilterRegistry, UpdateOfAllReferencesAllFirstAndThenUpdatesInOrder)
{
	update_all_filters(changes_);
	EXPECT_EQ(call_journal().calls(), (std::vector<Call>{{"obs_source_get_ref", {"filter a"}},
							     {"obs_source_get_ref", {"filter b"}},
							     {"obs_source_get_ref", {"filter c"}},
							     {"obs_source_update", {"filter a"}},
							     {"obs_source_release", {"filter a"}},
							     {"obs_source_update", {"filter b"}},
							     {"obs_source_release", {"filter b"}},
							     {"obs_source_update", {"filter c"}},
							     {"obs_source_release", {"filter c"}}}));
	for (const FakeSource &filter : filters_)
		EXPECT_EQ(smoothing_of(filter), 0.5);
}

TEST_F(FilterRegistry, UpdateOfAllSkipsThoseThatRefuseAReference)
{
	filters_[1].refuses_references = true;
	update_all_filters(changes_);
	EXPECT_EQ(updates(),
		  (std::vector<Call>{{"obs_source_update", {"filter a"}}, {"obs_source_update", {"filter c"}}}));
}

TEST_F(FilterRegistry, UpdateOfAllWithoutFiltersDoesNothing)
{
	for (FakeSource &filter : filters_)
		unregister_filter(filter.handle());
	update_all_filters(changes_);
	EXPECT_EQ(call_journal().calls(), std::vector<Call>());
}

// --- The lock

// Whether another thread gets through the registry's lock. A call that finds it taken waits until it is free, so the
// answer "no" only means that it took longer than ever needed.
bool registry_is_free()
{
	auto names = std::make_shared<std::future<Names>>(std::async(std::launch::async, registered_filter_names));
	const bool is_free = names->wait_for(std::chrono::seconds(5)) == std::future_status::ready;
	if (!is_free)
		std::thread([names] { names->wait(); }).detach(); // the destructor would wait here and now
	return is_free;
}

TEST_F(FilterRegistry, IsFreeWhileAFilterIsUpdated)
{
	bool was_free = false;
	host_double().on_call("obs_source_update", [&] { was_free = registry_is_free(); });
	update_filter_at(0, changes_);
	EXPECT_TRUE(was_free);
	was_free = false;
	update_all_filters(changes_);
	EXPECT_TRUE(was_free);
}

TEST_F(FilterRegistry, IsFreeWhileSettingsAreRead)
{
	bool was_free = false;
	host_double().on_call("obs_source_get_settings", [&] { was_free = registry_is_free(); });
	const OBSDataAutoRelease dest = obs_data_create();
	read_filter_settings_at(0, dest);
	EXPECT_TRUE(was_free);
}

// Looking at the registry takes and gives back references itself, so the look is taken once.
TEST_F(FilterRegistry, IsFreeWhileAReferenceIsGivenBack)
{
	const auto expect_free_during = [](const std::function<void()> &call) {
		std::atomic<int> releases = 0;
		bool was_free = false;
		host_double().on_call("obs_source_release", [&] {
			if (releases++ == 0)
				was_free = registry_is_free();
		});
		call();
		EXPECT_TRUE(was_free);
		host_double().on_call("obs_source_release", {});
	};
	expect_free_during([this] { update_filter_at(0, changes_); });
	expect_free_during([] { registered_filter_names(); });
	std::vector<RegisteredFilter> known;
	expect_free_during([&] { list_registered_filters(known); });
	expect_free_during([&] { are_registered_filters(known); });
}

TEST_F(FilterRegistry, ASourceIsHeldWhileItsNameIsRead)
{
	int references = 0;
	host_double().on_call("obs_source_get_name", [&] { references = parents_[0].references(); });
	unregister_filter(filters_[1].handle());
	unregister_filter(filters_[2].handle());
	EXPECT_EQ(registered_filter_names(), Names{"A"});
	EXPECT_EQ(references, 1);
	EXPECT_EQ(parents_[0].references(), 0);
}

TEST_F(FilterRegistry, ASourceThatIsGoingAwayIsNotAskedForItsName)
{
	parents_[0].refuses_references = true;
	EXPECT_EQ(registered_filter_names(), (Names{"filter a", "B", "C"}));
}

TEST_F(FilterRegistry, AFilterThatComesToAnotherSourceHasItsName)
{
	EXPECT_EQ(registered_filter_names(), (Names{"A", "B", "C"}));
	filters_[0].parent = &parents_[1];
	EXPECT_EQ(registered_filter_names(), (Names{"B", "B", "C"}));
	filters_[0].parent = nullptr;
	EXPECT_EQ(registered_filter_names(), (Names{"filter a", "B", "C"}));
	filters_[0].parent = &parents_[0];
	EXPECT_EQ(registered_filter_names(), (Names{"A", "B", "C"}));
}

// The panel lists the filters again and again, however many sources the host has.
TEST_F(FilterRegistry, TheHostsSourcesAreSearchedOnlyWhenAFilterHasMoved)
{
	int searches = 0;
	host_double().on_call("obs_enum_all_sources", [&searches] { ++searches; });
	std::vector<RegisteredFilter> known;
	list_registered_filters(known);
	EXPECT_EQ(searches, 1);
	for (int poll = 0; poll < 10; ++poll) {
		EXPECT_TRUE(are_registered_filters(known));
		list_registered_filters(known);
	}
	EXPECT_EQ(searches, 1);
	filters_[0].parent = &parents_[1];
	list_registered_filters(known);
	EXPECT_EQ(searches, 2);
	list_registered_filters(known);
	EXPECT_EQ(searches, 2);
	filters_[0].parent = &parents_[0];
}

// What was remembered of a source is no help once another one has its address.
TEST_F(FilterRegistry, ASourceAtTheAddressOfOneThatIsGoneIsNotTakenForIt)
{
	std::optional<FakeSource> source(std::in_place, "D");
	filters_[0].parent = &*source;
	EXPECT_EQ(registered_filter_names(), (Names{"D", "B", "C"}));
	source.reset();
	EXPECT_EQ(registered_filter_names(), (Names{"filter a", "B", "C"}));
	source.emplace("E");
	EXPECT_EQ(registered_filter_names(), (Names{"E", "B", "C"}));
	filters_[0].parent = nullptr;
}

// The host frees a source's reference counts before the source's filters have forgotten it.
TEST_F(FilterRegistry, ASourceWhoseCountsAreFreedIsNotTouched)
{
	auto gone = std::make_unique<FakeSource>("D");
	filters_[0].parent = gone.get();
	gone.reset();
	EXPECT_EQ(registered_filter_names(), (Names{"filter a", "B", "C"}));
	std::vector<RegisteredFilter> known;
	list_registered_filters(known);
	EXPECT_EQ(known.at(0).name, "filter a");
	EXPECT_TRUE(are_registered_filters(known));
	EXPECT_FALSE(reference_parent(known.at(0).id));
}

TEST_F(FilterRegistry, GivesAReferenceToTheSourceThatAFilterSitsOn)
{
	std::vector<RegisteredFilter> known;
	list_registered_filters(known);
	EXPECT_EQ(reference_parent(known.at(1).id).Get(), parents_[1].handle());
	EXPECT_FALSE(reference_parent(0));
	filters_[1].parent = nullptr;
	EXPECT_FALSE(reference_parent(known.at(1).id));
}

TEST_F(FilterRegistry, AFilterThatIsGoingAwayIsStillListed)
{
	filters_[0].refuses_references = true;
	filters_[1].refuses_references = true;
	filters_[1].parent = nullptr;
	EXPECT_EQ(registered_filter_names(), (Names{"A", "filter b", "C"}));
}

TEST_F(FilterRegistry, AFilterMayLeaveWhileItIsUpdated)
{
	host_double().on_call("obs_source_update", [&] { unregister_filter(filters_[0].handle()); });
	update_all_filters(changes_);
	EXPECT_EQ(registered_filter_names(), (Names{"B", "C"}));
	EXPECT_EQ(updates().size(), 3u);
}

} // namespace
