// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_source.h"
#include "filter/panel_hooks.h"
#include "kalvio_config.h"
#include "kit/allocation_check.h"
#include "kit/call_journal.h"
#include "kit/host_double.h"
#include "kit/log_capture.h"
#include "kit/recording_engine.h"
#include "kit/scratch.h"
#include "kit/seam_doubles.h"

#include <cstring>
#include <gtest/gtest.h>
#include <obs-module.h>

// Declared by the macros of the host's header, which the module does not use.
extern "C" {
void obs_module_set_pointer(obs_module_t *module);
uint32_t obs_module_ver(void);
const char *obs_module_author(void);
}

namespace {

using namespace kalvio;
using namespace kalvio::test;

using Calls = std::vector<Call>;
using Names = std::vector<std::string>;

// The module as the host has it after obs_module_set_pointer, with a data folder of the test's.
class EntryPoints : public testing::Test {
protected:
	EntryPoints()
	{
		host_double().reset();
		reset_seams();
		reset_recording_engine();
		host_double().set_data_folder(data_.path().string());
		obs_module_set_pointer(module_);
		call_journal().reset();
	}
	~EntryPoints() override
	{
		obs_module_free_locale();
		EXPECT_EQ(host_double().misuse(), Names());
		EXPECT_EQ(allocations_.outstanding(), 0);
	}

	// A locale file with one text under the filter's name and one that is the locale's own.
	void write_locale(const std::string &locale, const std::string &filter_name)
	{
		data_.write("locale/" + locale + ".ini",
			    "KalvioFilter=\"" + filter_name + "\"\nOnly." + locale + "=\"yes\"\n");
	}

	static std::string text(const char *key) { return obs_module_text(key); }

	char handle_ = 0;
	obs_module_t *module_ = reinterpret_cast<obs_module_t *>(&handle_);
	ScratchFolder data_;
	AllocationCheck allocations_;
	LogCapture log_;
};

// --- What the module says of itself

TEST_F(EntryPoints, TheVersionIsThatOfTheHostsHeaders)
{
	EXPECT_EQ(obs_module_ver(), static_cast<uint32_t>(LIBOBS_API_VER));
}

TEST_F(EntryPoints, TheModuleHasItsNameAuthorAndDescription)
{
	EXPECT_STREQ(obs_module_name(), "Kalvio");
	EXPECT_STREQ(obs_module_author(), "Kalvio");
	EXPECT_STREQ(obs_module_description(), "Kalvio beauty filter");
}

TEST_F(EntryPoints, TheHandleIsTheOneThatWasSet)
{
	EXPECT_EQ(obs_current_module(), module_);
	obs_module_set_pointer(nullptr);
	EXPECT_EQ(obs_current_module(), nullptr);
}

// --- Texts

TEST_F(EntryPoints, BeforeALocaleIsSetATextIsItsKey)
{
	const char *key = "KalvioFilter";
	EXPECT_EQ(obs_module_text(key), key);
	const char *out = nullptr;
	EXPECT_FALSE(obs_module_get_string(key, &out));
}

TEST_F(EntryPoints, ALocaleIsLoadedWithEnglishBelowIt)
{
	write_locale("en-US", "Kalvio Beauty");
	obs_module_set_locale("de-DE");
	EXPECT_EQ(call_journal().calls(),
		  (Calls{{"obs_module_load_locale", {Argument::address(module_), "en-US", "de-DE"}}}));
}

TEST_F(EntryPoints, ALocaleHasItsOwnTextsAndTheEnglishOnesThatItLacks)
{
	write_locale("en-US", "Kalvio Beauty");
	write_locale("uk-UA", "Краса Kalvio");
	obs_module_set_locale("uk-UA");
	EXPECT_EQ(text("KalvioFilter"), "Краса Kalvio");
	EXPECT_EQ(text("Only.uk-UA"), "yes");
	EXPECT_EQ(text("Only.en-US"), "yes");
	EXPECT_EQ(text("Unknown.Key"), "Unknown.Key");
}

TEST_F(EntryPoints, ALocaleWithoutAFileIsEnglish)
{
	write_locale("en-US", "Kalvio Beauty");
	obs_module_set_locale("eo");
	EXPECT_EQ(text("KalvioFilter"), "Kalvio Beauty");
}

TEST_F(EntryPoints, WithoutAnyLocaleFileTextsAreTheirKeysAndNothingIsLogged)
{
	obs_module_set_locale("de-DE");
	EXPECT_EQ(text("KalvioFilter"), "KalvioFilter");
	EXPECT_EQ(text("Kalvio.PropertiesHint"), "Kalvio.PropertiesHint");
	EXPECT_EQ(text("Kalvio.OpenPanel"), "Kalvio.OpenPanel");
	EXPECT_STREQ(filter_source_info().get_name(nullptr), "KalvioFilter");
	EXPECT_EQ(log_.lines(), std::vector<LogLine>());
}

TEST_F(EntryPoints, AnotherLocaleTakesThePlaceOfTheFirst)
{
	write_locale("en-US", "Kalvio Beauty");
	write_locale("uk-UA", "Краса Kalvio");
	obs_module_set_locale("uk-UA");
	obs_module_set_locale("en-US");
	EXPECT_EQ(text("KalvioFilter"), "Kalvio Beauty");
	EXPECT_EQ(text("Only.uk-UA"), "Only.uk-UA");
}

TEST_F(EntryPoints, AFailedLoadTakesThePlaceOfTheFirstToo)
{
	write_locale("en-US", "Kalvio Beauty");
	obs_module_set_locale("en-US");
	host_double().fail("obs_module_load_locale");
	obs_module_set_locale("de-DE");
	EXPECT_EQ(text("KalvioFilter"), "KalvioFilter");
}

TEST_F(EntryPoints, AfterTheLocaleIsFreedATextIsItsKey)
{
	write_locale("en-US", "Kalvio Beauty");
	obs_module_set_locale("en-US");
	obs_module_free_locale();
	EXPECT_EQ(text("KalvioFilter"), "KalvioFilter");
	obs_module_free_locale(); // once more does no harm
}

TEST_F(EntryPoints, TheHostCanAskForATextItself)
{
	write_locale("en-US", "Kalvio Beauty");
	obs_module_set_locale("en-US");
	const char *out = nullptr;
	EXPECT_TRUE(obs_module_get_string("KalvioFilter", &out));
	EXPECT_STREQ(out, "Kalvio Beauty");
	EXPECT_FALSE(obs_module_get_string("Unknown.Key", &out));
}

// --- Life

TEST_F(EntryPoints, LoadLogsReadsTheDismissalAndRegistersTheFilterInThisOrder)
{
	EXPECT_TRUE(obs_module_load());
	EXPECT_EQ(call_journal().calls(),
		  (Calls{{"log", {LOG_INFO, "[Kalvio] loading OBS filter MVP"}},
			 {"load_update_dismissal", {}},
			 {"obs_register_source_s", {"kalvio_filter", sizeof(obs_source_info)}}}));
}

TEST_F(EntryPoints, LoadConnectsTheFilterWithThePanel)
{
	panel_hooks = {};
	obs_module_load();
	set_frontend_ready(true);
	call_journal().reset();
	panel_hooks.show_dock();
	panel_hooks.schedule_prop_center();
	EXPECT_TRUE(panel_hooks.frontend_ready());
	EXPECT_EQ(names_of(call_journal().calls(CallOrigin::Seam)),
		  (Names{"show_dock", "schedule_prop_center", "frontend_ready"}));
}

TEST_F(EntryPoints, LoadRegistersTheWholeRecord)
{
	obs_module_load();
	const auto registrations = host_double().registrations();
	ASSERT_EQ(registrations.size(), 1u);
	const obs_source_info expected = filter_source_info();
	EXPECT_EQ(std::memcmp(&registrations[0].info, &expected, sizeof(expected)), 0);
	EXPECT_EQ(registrations[0].size, sizeof(obs_source_info));
}

TEST_F(EntryPoints, LoadSucceedsWithoutABundleAndWithAnEngineThatCannotBeMade)
{
	host_double().set_data_folder("");
	set_engine_script({.failing_creations = EngineScript::always});
	EXPECT_TRUE(obs_module_load());
	EXPECT_EQ(call_journal().calls(CallOrigin::Engine), Calls());
}

TEST_F(EntryPoints, LoadRegistersTheFilterAlsoWhenTheDismissalCannotBeRead)
{
	on_load_update_dismissal([] { throw std::bad_alloc(); });
	EXPECT_TRUE(obs_module_load());
	EXPECT_EQ(host_double().registrations().size(), 1u);
}

TEST_F(EntryPoints, PostLoadStartsTheDockAndNothingElse)
{
	obs_module_load();
	call_journal().reset();
	obs_module_post_load();
	EXPECT_EQ(call_journal().calls(),
		  (Calls{{"log", {LOG_INFO, std::string("[Kalvio] version ") + version}}, {"start_dock_host", {}}}));
}

TEST_F(EntryPoints, UnloadStopsTheDockThenTheUpdateServiceAndLogsLast)
{
	obs_module_load();
	obs_module_post_load();
	call_journal().reset();
	obs_module_unload();
	EXPECT_EQ(
		call_journal().calls(),
		(Calls{{"stop_dock_host", {}}, {"stop_update_service", {}}, {"log", {LOG_INFO, "[Kalvio] unloaded"}}}));
}

TEST_F(EntryPoints, UnloadWithoutPostLoadLogsToo)
{
	obs_module_load();
	obs_module_unload();
	EXPECT_EQ(log_.count({LOG_INFO, "[Kalvio] unloaded"}), 1u);
}

TEST_F(EntryPoints, UnloadLeavesTheFiltersToTheHost)
{
	data_.write("resource.kld");
	obs_module_load();
	FakeSource filter("Filter");
	filter.create_filter(host_double().registrations()[0].info);
	obs_module_unload();
	EXPECT_EQ(live_engine_count(), 1);
	filter.destroy_filter();
	EXPECT_EQ(live_engine_count(), 0);
}

} // namespace
