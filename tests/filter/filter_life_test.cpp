// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_life.h"

#include "filter/filter_fixture.h"
#include "filter/filter_registry.h"
#include "filter/panel_hooks.h"

namespace {

using namespace kalvio;
using namespace kalvio::test;

using Calls = std::vector<Call>;
using Lines = std::vector<LogLine>;
using Names = std::vector<std::string>;

class FilterLife : public FilterFixture {};

// --- Create

TEST_F(FilterLife, CreateMakesTheEngineAppliesTwiceRegistersAndAsksForTheFrontEnd)
{
	filter_.create_filter(info_);
	const Names names = names_of(call_journal().calls());
	// seven calls make the engine; the set and the background; the set again; whether to show the dock
	ASSERT_EQ(names.size(), 7u + 64u + 1u + 64u + 1u);
	EXPECT_EQ(names[0], "update_is_forced");
	EXPECT_EQ(names[6], "obs_source_get_settings");
	EXPECT_EQ(names[7], "kl_set_smoothing");
	EXPECT_EQ(names[71], "kl_clear_virtual_background");
	EXPECT_EQ(names[72], "kl_set_smoothing");
	EXPECT_EQ(names[135], "kl_clear_chroma_key");
	EXPECT_EQ(names[136], "frontend_ready");
	EXPECT_EQ(registered_filter_names(), Names{"Camera"});
}

TEST_F(FilterLife, CreateAppliesTheGivenSettingsAfterTheStoredOnes)
{
	info_.get_defaults(filter_.settings);
	obs_data_set_double(filter_.settings, "smoothing", 0.25);
	const OBSDataAutoRelease given = obs_data_create();
	info_.get_defaults(given);
	obs_data_set_double(given, "smoothing", 0.5);
	obs_data_set_bool(given, "enabled", false);

	filter_.info = info_;
	filter_.data = info_.create(given, filter_.handle());
	EXPECT_EQ(call_journal().calls_named("kl_set_smoothing"),
		  (Calls{{"kl_set_smoothing", {0.25f}}, {"kl_set_smoothing", {0.5f}}}));
	EXPECT_FALSE(instance().enabled);
}

TEST_F(FilterLife, CreateLoadsEachResourceOnce)
{
	data_.write("filters/vivid/vivid.kld");
	obs_data_set_string(filter_.settings, "filter_id", "vivid");
	filter_.create_filter(info_);
	EXPECT_EQ(call_journal().count("kl_set_filter"), 1u);
	EXPECT_EQ(call_journal().count("kl_clear_virtual_background"), 1u);
}

TEST_F(FilterLife, CreateWithoutABundleWarnsListsTheFilterAndKeepsItEnabled)
{
	remove_bundle();
	obs_data_set_bool(filter_.settings, "enabled", false);
	filter_.create_filter(info_);
	EXPECT_EQ(log_.lines(), (Lines{{LOG_ERROR, "[Kalvio] resource.kld not found"},
				       {LOG_WARNING, "[Kalvio] filter created without engine (passthrough)"}}));
	EXPECT_EQ(registered_filter_names(), Names{"Camera"});
	EXPECT_TRUE(instance().enabled);
	EXPECT_FALSE(instance().engine);
}

TEST_F(FilterLife, CreateWithAFailingEngineWarnsAndListsTheFilter)
{
	set_engine_script({.failing_creations = EngineScript::always});
	filter_.create_filter(info_);
	EXPECT_EQ(log_.lines(), (Lines{{LOG_ERROR, "[Kalvio] kl_engine_create failed"},
				       {LOG_WARNING, "[Kalvio] filter created without engine (passthrough)"}}));
	EXPECT_EQ(registered_filter_names(), Names{"Camera"});
}

TEST_F(FilterLife, CreateDuringAForcedUpdateWarnsOfThePassThrough)
{
	set_update_forced(true);
	filter_.create_filter(info_);
	EXPECT_EQ(log_.lines(), (Lines{{LOG_WARNING, "[Kalvio] filter created without engine (passthrough)"}}));
	EXPECT_EQ(live_engine_count(), 0);
}

TEST_F(FilterLife, CreateWithoutASourceIsNotListed)
{
	info_.get_defaults(filter_.settings);
	void *data = info_.create(filter_.settings, nullptr);
	ASSERT_NE(data, nullptr);
	EXPECT_EQ(registered_filter_names(), Names());
	EXPECT_EQ(live_engine_count(), 1);
	info_.destroy(data);
}

TEST_F(FilterLife, CreateOfADisabledFilterMakesItsEngine)
{
	obs_data_set_bool(filter_.settings, "enabled", false);
	filter_.create_filter(info_);
	EXPECT_EQ(live_engine_count(), 1);
	EXPECT_FALSE(instance().enabled);
}

TEST_F(FilterLife, CreateDoesNotTakeTheInstanceLock)
{
	bool was_locked = true;
	host_double().on_call("obs_source_get_settings", [&] {
		const Call created = call_journal().calls_named("kl_engine_create").front();
		auto *engine = static_cast<const kl_engine *>(created.object);
		was_locked = is_locked(*static_cast<FilterInstance *>(engine_event_user_data(engine)));
	});
	filter_.create_filter(info_);
	EXPECT_FALSE(was_locked);
}

TEST_F(FilterLife, AFilterWithoutAPanelLivesAsAnyOther)
{
	panel_hooks = {};
	filter_.create_filter(info_);
	EXPECT_EQ(registered_filter_names(), Names{"Camera"});
	EXPECT_EQ(names_of(call_journal().calls(CallOrigin::Seam)), Names{"update_is_forced"});
}

TEST_F(FilterLife, AFreshInstanceHasNothingYet)
{
	const FilterInstance fresh;
	EXPECT_EQ(fresh.source, nullptr);
	EXPECT_FALSE(fresh.engine);
	EXPECT_TRUE(fresh.enabled);
	EXPECT_EQ(fresh.resource_path, "");
	EXPECT_EQ(fresh.gpu.render_target, nullptr);
	EXPECT_EQ(fresh.gpu.staging_surface, nullptr);
	EXPECT_EQ(fresh.gpu.upload_texture, nullptr);
	EXPECT_EQ(fresh.gpu.width, 0u);
	EXPECT_EQ(fresh.gpu.height, 0u);
	EXPECT_TRUE(fresh.input_pixels.empty());
	EXPECT_TRUE(fresh.output_pixels.empty());
	EXPECT_FALSE(fresh.processing_logged);
	EXPECT_EQ(fresh.failure_count, 0u);
}

TEST_F(FilterLife, TwoFiltersHaveTwoEnginesEachReported)
{
	FakeSource other("Other filter");
	filter_.create_filter(info_);
	other.create_filter(info_);
	EXPECT_EQ(live_engine_count(), 2);
	EXPECT_EQ(log_.count({LOG_INFO, "[Kalvio] engine created, resource=" + bundle_}), 2u);
	EXPECT_NE(instance().engine, static_cast<FilterInstance *>(other.data)->engine);
	other.destroy_filter();
	EXPECT_EQ(live_engine_count(), 1);
}

// --- The dock

TEST_F(FilterLife, AddingAFilterInARunningHostShowsTheDockOnceItIsListed)
{
	set_frontend_ready(true);
	Names listed;
	on_show_dock([&] { listed = registered_filter_names(); });
	filter_.create_filter(info_);
	EXPECT_EQ(call_journal().count("show_dock"), 1u);
	EXPECT_EQ(listed, Names{"Camera"});
	EXPECT_EQ(names_of(call_journal().calls(CallOrigin::Seam)),
		  (Names{"update_is_forced", "frontend_ready", "show_dock"}));
}

TEST_F(FilterLife, FiltersThatAreLoadedAtStartLeaveTheDockAlone)
{
	filter_.create_filter(info_);
	EXPECT_EQ(call_journal().count("show_dock"), 0u);
}

TEST_F(FilterLife, TheDockIsShownAlsoForAFilterWithoutAnEngine)
{
	set_frontend_ready(true);
	remove_bundle();
	filter_.create_filter(info_);
	EXPECT_EQ(call_journal().count("show_dock"), 1u);
}

// --- Update

TEST_F(FilterLife, UpdateSendsTheWholeSetAndTheChangedResources)
{
	create();
	update_double("whitening", 0.5);
	const Calls calls = call_journal().calls(CallOrigin::Engine);
	EXPECT_EQ(calls.size(), 64u);
	EXPECT_EQ(call_journal().calls_named("kl_set_whitening"), (Calls{{"kl_set_whitening", {0.5f}}}));
	forget();

	data_.write("filters/vivid/vivid.kld");
	update_string("filter_id", "vivid");
	const Names names = names_of(call_journal().calls(CallOrigin::Engine));
	ASSERT_EQ(names.size(), 66u);
	EXPECT_EQ(names[0], "kl_set_smoothing");
	EXPECT_EQ(names[64], "kl_set_filter");
	EXPECT_EQ(names[65], "kl_set_filter_intensity");
}

TEST_F(FilterLife, UpdateHoldsTheInstanceLockWhileItApplies)
{
	FilterInstance &filter = create();
	bool was_locked = false;
	host_double().on_call("obs_find_module_file", [&] { was_locked = is_locked(filter); });
	update_string("filter_id", "vivid");
	EXPECT_TRUE(was_locked);
	EXPECT_FALSE(is_locked(filter));
}

TEST_F(FilterLife, UpdateCopiesEnabledAndKeepsTheEngineOfADisabledFilter)
{
	create();
	const kl_engine *engine = instance().engine.get();
	update_bool("enabled", false);
	EXPECT_FALSE(instance().enabled);
	EXPECT_EQ(instance().engine.get(), engine);
	update_bool("enabled", true);
	EXPECT_TRUE(instance().enabled);
	EXPECT_EQ(call_journal().count("kl_engine_create"), 0u);
}

TEST_F(FilterLife, UpdateThatMakesTheEngineAppliesTwice)
{
	remove_bundle();
	create();
	data_.write("resource.kld");
	update_double("smoothing", 0.5);
	EXPECT_EQ(call_journal().calls_named("kl_set_smoothing"),
		  (Calls{{"kl_set_smoothing", {0.5f}}, {"kl_set_smoothing", {0.5f}}}));
	EXPECT_EQ(call_journal().count("kl_clear_virtual_background"), 1u);
}

TEST_F(FilterLife, UpdateWithoutAnEngineAppliesNothing)
{
	remove_bundle();
	create();
	update_bool("enabled", false);
	EXPECT_TRUE(instance().enabled);
	EXPECT_EQ(call_journal().calls(CallOrigin::Engine), Calls());
	EXPECT_EQ(log_.lines(), (Lines{{LOG_ERROR, "[Kalvio] resource.kld not found"}}));
	EXPECT_FALSE(is_locked(instance()));
}

TEST_F(FilterLife, TheSettingsOfAFilterWithoutAnEngineAreKeptForLater)
{
	remove_bundle();
	create();
	update_double("smoothing", 0.5);
	data_.write("resource.kld");
	render();
	EXPECT_EQ(call_journal().calls_named("kl_set_smoothing"), (Calls{{"kl_set_smoothing", {0.5f}}}));
}

TEST_F(FilterLife, UpdateDuringAForcedUpdateDestroysTheEngineAndAppliesNothing)
{
	create();
	set_update_forced(true);
	update_bool("enabled", false);
	EXPECT_EQ(names_of(call_journal().calls(CallOrigin::Engine)), Names{"kl_engine_destroy"});
	EXPECT_TRUE(instance().enabled);
}

TEST_F(FilterLife, UpdateOfNothingDoesNothing)
{
	info_.update(nullptr, filter_.settings);
	EXPECT_EQ(call_journal().calls(), Calls());
}

// --- Destroy

TEST_F(FilterLife, DestroyLeavesTheListThenReleasesTheGpuObjectsThenTheEngine)
{
	create();
	render();
	forget();
	Names listed = {"not asked"};
	host_double().on_call("obs_enter_graphics", [&] { listed = registered_filter_names(); });
	filter_.destroy_filter();
	EXPECT_EQ(listed, Names());
	EXPECT_EQ(call_journal().calls(), (Calls{{"obs_enter_graphics", {}},
						 {"gs_texrender_destroy", {"render target 1"}},
						 {"gs_stagesurface_destroy", {"staging surface 1"}},
						 {"gs_texture_destroy", {"texture 1"}},
						 {"obs_leave_graphics", {}},
						 {"kl_engine_destroy", {}}}));
}

TEST_F(FilterLife, DestroyOfAFilterThatNeverRanReleasesNothing)
{
	remove_bundle();
	create();
	filter_.destroy_filter();
	EXPECT_EQ(call_journal().calls(), (Calls{{"obs_enter_graphics", {}}, {"obs_leave_graphics", {}}}));
}

TEST_F(FilterLife, DestroyOfNothingDoesNothing)
{
	info_.destroy(nullptr);
	EXPECT_EQ(call_journal().calls(), Calls());
}

TEST_F(FilterLife, FiltersComeAndGoWithoutARest)
{
	for (int round = 0; round < 20; ++round) {
		FakeSource filter("Filter");
		filter.put_on(camera_);
		filter.create_filter(info_);
		host_double().render([&] { info_.video_render(filter.data, nullptr); });
		filter.destroy_filter();
	}
	EXPECT_EQ(live_engine_count(), 0);
	EXPECT_EQ(host_double().live_gpu_objects(), 0);
	EXPECT_EQ(registered_filter_names(), Names());
}

// --- Name and size

TEST_F(FilterLife, TheNameIsTheModulesText)
{
	EXPECT_STREQ(info_.get_name(nullptr), "KalvioFilter");
	set_module_text("KalvioFilter", "Kalvio Beauty");
	EXPECT_STREQ(info_.get_name(nullptr), "Kalvio Beauty");
}

TEST_F(FilterLife, TheSizeIsTheBaseSizeOfTheTarget)
{
	create();
	EXPECT_EQ(info_.get_width(filter_.data), 16u);
	EXPECT_EQ(info_.get_height(filter_.data), 8u);
	EXPECT_EQ(call_journal().calls(), (Calls{{"obs_filter_get_target", {"Kalvio filter"}},
						 {"obs_source_get_base_width", {"Camera"}},
						 {"obs_filter_get_target", {"Kalvio filter"}},
						 {"obs_source_get_base_height", {"Camera"}}}));
}

TEST_F(FilterLife, TheSizeIsZeroWithoutATargetOrAnInstance)
{
	create();
	filter_.target = nullptr;
	EXPECT_EQ(info_.get_width(filter_.data), 0u);
	EXPECT_EQ(info_.get_height(filter_.data), 0u);
	EXPECT_EQ(info_.get_width(nullptr), 0u);
	EXPECT_EQ(info_.get_height(nullptr), 0u);
}

} // namespace
