// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/engine_session.h"

#include "filter/filter_fixture.h"
#include "kalvio_config.h"

namespace {

using namespace kalvio;
using namespace kalvio::test;

using Calls = std::vector<Call>;
using Lines = std::vector<LogLine>;

const LogLine bundle_missing = {LOG_ERROR, "[Kalvio] resource.kld not found"};
const LogLine creation_failed = {LOG_ERROR, "[Kalvio] kl_engine_create failed"};

// An instance of its own, not yet known to the host, so that each step of the session is seen by itself.
class EngineSession : public FilterFixture {
protected:
	EngineSession()
	{
		register_defaults();
		session_.source = filter_.handle();
	}

	void register_defaults() { info_.get_defaults(filter_.settings); }

	FilterInstance session_;
};

std::vector<std::string> engine_names()
{
	return names_of(call_journal().calls(CallOrigin::Engine));
}

TEST_F(EngineSession, ANewEngineIsConfiguredReportedAndGivenAllSettingsInThisOrder)
{
	ASSERT_TRUE(ensure_engine(session_));
	const std::vector<std::string> names = names_of(call_journal().calls());
	ASSERT_EQ(names.size(), 7u + 64u + 1u);
	EXPECT_EQ(std::vector<std::string>(names.begin(), names.begin() + 8),
		  (std::vector<std::string>{"update_is_forced", "obs_find_module_file", "kl_set_log_config",
					    "kl_engine_create", "kl_engine_set_event_callback", "log",
					    "obs_source_get_settings", "kl_set_smoothing"}));
	EXPECT_EQ(names[names.size() - 2], "kl_clear_chroma_key");
	EXPECT_EQ(names.back(), "kl_clear_virtual_background");
}

TEST_F(EngineSession, TheEngineIsMadeFromTheBundleAndTheApplicationsName)
{
	ensure_engine(session_);
	EXPECT_EQ(call_journal().calls_named("kl_engine_create"),
		  (Calls{{"kl_engine_create", {0, 0, nullptr, bundle_, application_id, 0}}}));
	EXPECT_EQ(session_.resource_path, bundle_);
	EXPECT_NE(std::string(application_id).find('.'), std::string::npos) << "reverse-domain";
}

TEST_F(EngineSession, TheCreationIsLoggedWithTheBundle)
{
	ensure_engine(session_);
	EXPECT_EQ(log_.lines(), (Lines{{LOG_INFO, "[Kalvio] engine created, resource=" + bundle_}}));
}

TEST_F(EngineSession, TheEngineIsGivenTheEventCallbackWithTheInstance)
{
	ensure_engine(session_);
	EXPECT_EQ(call_journal().calls_named("kl_engine_set_event_callback"),
		  (Calls{{"kl_engine_set_event_callback", {true, Argument::address(&session_)}}}));
}

TEST_F(EngineSession, TheStoredSettingsReachANewEngine)
{
	obs_data_set_double(filter_.settings, "smoothing", 0.75);
	obs_data_set_int(filter_.settings, "bg_fill", 1);
	obs_data_set_bool(filter_.settings, "enabled", false);
	ensure_engine(session_);
	EXPECT_EQ(call_journal().calls_named("kl_set_smoothing"), (Calls{{"kl_set_smoothing", {0.75f}}}));
	EXPECT_EQ(call_journal().count("kl_set_virtual_background_blur"), 1u);
	EXPECT_FALSE(session_.enabled);
}

TEST_F(EngineSession, WithoutASourceNoSettingsAreApplied)
{
	session_.source = nullptr;
	EXPECT_TRUE(ensure_engine(session_));
	EXPECT_EQ(engine_names(),
		  (std::vector<std::string>{"kl_set_log_config", "kl_engine_create", "kl_engine_set_event_callback"}));
	EXPECT_TRUE(session_.enabled);
}

TEST_F(EngineSession, AnEngineThatExistsIsLeftAlone)
{
	ensure_engine(session_);
	forget();
	EXPECT_TRUE(ensure_engine(session_));
	EXPECT_EQ(call_journal().calls(), (Calls{{"update_is_forced", {}}}));
}

// --- Log file

TEST_F(EngineSession, TheLogIsConfiguredBeforeEveryCreation)
{
	FilterInstance other;
	other.source = filter_.handle();
	ensure_engine(session_);
	ensure_engine(other);
	const std::vector<std::string> names = engine_names();
	EXPECT_EQ(std::count(names.begin(), names.end(), "kl_set_log_config"), 2);
	EXPECT_EQ(names[0], "kl_set_log_config");
	EXPECT_EQ(names[1], "kl_engine_create");
}

TEST_F(EngineSession, TheLogGoesIntoOneFileOfTheProcessWithFixedSwitches)
{
	ensure_engine(session_);
	FilterInstance later;
	set_temporary_folder("/elsewhere/");
	ensure_engine(later);

	// This process's first engine of all decided on the path.
	const Calls calls = call_journal().calls_named("kl_set_log_config");
	ASSERT_EQ(calls.size(), 2u);
	EXPECT_EQ(calls[0], (Call{"kl_set_log_config", {0, 1, 2, 0, "/tmp/kalvio-obs.log"}}));
	EXPECT_EQ(calls[1], calls[0]);
}

TEST_F(EngineSession, TheLogFileLiesInTheTemporaryFolderOrElseInTheWorkingFolder)
{
	EXPECT_EQ(engine_log_path("/some/folder/"), "/some/folder/kalvio-obs.log");
	EXPECT_EQ(engine_log_path(""), "kalvio-obs.log");
}

// --- Failures

TEST_F(EngineSession, WithoutABundleNoEngineFunctionIsCalled)
{
	remove_bundle();
	EXPECT_FALSE(ensure_engine(session_));
	EXPECT_EQ(engine_names(), std::vector<std::string>());
	EXPECT_EQ(log_.lines(), (Lines{bundle_missing}));
	EXPECT_EQ(session_.resource_path, "");
}

TEST_F(EngineSession, AMissingBundleIsLookedForAndReportedEveryTime)
{
	remove_bundle();
	for (int attempt = 0; attempt < 3; ++attempt)
		ensure_engine(session_);
	EXPECT_EQ(log_.lines(), (Lines{bundle_missing, bundle_missing, bundle_missing}));
	EXPECT_EQ(call_journal().count("obs_find_module_file"), 3u);
}

TEST_F(EngineSession, ABundleThatAppearsIsUsedAtTheNextCall)
{
	remove_bundle();
	ensure_engine(session_);
	data_.write("resource.kld");
	EXPECT_TRUE(ensure_engine(session_));
	EXPECT_EQ(session_.resource_path, bundle_);
}

TEST_F(EngineSession, ABundleThatTheHostNamesButThatIsGoneIsMissing)
{
	remove_bundle();
	host_double().set_finds_missing_files(true);
	EXPECT_FALSE(ensure_engine(session_));
	EXPECT_EQ(log_.lines(), (Lines{bundle_missing}));
}

TEST_F(EngineSession, AFailedCreationIsReportedAndKeepsNothing)
{
	set_engine_script({.failing_creations = EngineScript::always});
	EXPECT_FALSE(ensure_engine(session_));
	EXPECT_EQ(log_.lines(), (Lines{creation_failed}));
	EXPECT_FALSE(session_.engine);
	EXPECT_EQ(engine_names(), (std::vector<std::string>{"kl_set_log_config", "kl_engine_create"}));
	EXPECT_EQ(call_journal().count("obs_source_get_settings"), 0u);
}

TEST_F(EngineSession, AfterAFailedCreationTheNextCallStartsFromTheBeginning)
{
	set_engine_script({.failing_creations = 1});
	ensure_engine(session_);
	forget();
	EXPECT_TRUE(ensure_engine(session_));
	const std::vector<std::string> names = names_of(call_journal().calls());
	EXPECT_EQ(std::vector<std::string>(names.begin(), names.begin() + 4),
		  (std::vector<std::string>{"update_is_forced", "obs_find_module_file", "kl_set_log_config",
					    "kl_engine_create"}));
}

TEST_F(EngineSession, TheStatusOfLogAndCallbackIsIgnored)
{
	set_engine_script({.setter_status = KL_ERROR_INTERNAL});
	EXPECT_TRUE(ensure_engine(session_));
}

// An engine without its settings would show an unretouched picture until the next change of a setting.
TEST_F(EngineSession, AnEngineWhoseSettingsCouldNotBeAppliedIsNotKept)
{
	obs_data_set_double(filter_.settings, "smoothing", 0.75);
	host_double().throw_in("obs_source_get_settings");
	EXPECT_THROW(ensure_engine(session_), std::bad_alloc);
	EXPECT_EQ(live_engine_count(), 0);
	forget();
	EXPECT_TRUE(ensure_engine(session_));
	EXPECT_EQ(call_journal().calls_named("kl_set_smoothing"), (Calls{{"kl_set_smoothing", {0.75f}}}));
}

// --- Pause

TEST_F(EngineSession, AForcedUpdateDestroysTheEngineWithoutALine)
{
	ensure_engine(session_);
	forget();
	set_update_forced(true);
	EXPECT_FALSE(ensure_engine(session_));
	EXPECT_EQ(call_journal().calls(), (Calls{{"update_is_forced", {}}, {"kl_engine_destroy", {}}}));
	EXPECT_FALSE(session_.engine);
	EXPECT_EQ(log_.lines(), Lines());
}

TEST_F(EngineSession, WhileAnUpdateIsForcedNoEngineIsMade)
{
	set_update_forced(true);
	EXPECT_FALSE(ensure_engine(session_));
	EXPECT_EQ(call_journal().calls(), (Calls{{"update_is_forced", {}}}));
}

TEST_F(EngineSession, AfterThePauseEverythingIsLoadedAgain)
{
	const std::string vivid = data_.write("filters/vivid/vivid.kld");
	const std::string fox = data_.write("stickers/face/fox.kld");
	const std::string office = data_.write("backgrounds/office.jpg");
	obs_data_set_string(filter_.settings, "filter_id", "vivid");
	obs_data_set_string(filter_.settings, "sticker_id", "fox");
	obs_data_set_int(filter_.settings, "bg_fill", 2);
	ensure_engine(session_);
	set_update_forced(true);
	ensure_engine(session_);
	EXPECT_EQ(session_.resource_cache.filter_id, "");
	EXPECT_EQ(session_.resource_cache.fill_mode, -1);

	set_update_forced(false);
	forget();
	EXPECT_TRUE(ensure_engine(session_));
	EXPECT_EQ(call_journal().calls_named("kl_set_filter"), (Calls{{"kl_set_filter", {vivid}}}));
	EXPECT_EQ(call_journal().count("kl_set_filter_intensity"), 1u);
	EXPECT_EQ(call_journal().calls_named("kl_set_sticker"), (Calls{{"kl_set_sticker", {fox}}}));
	EXPECT_EQ(call_journal().calls_named("kl_set_virtual_background"),
		  (Calls{{"kl_set_virtual_background", {office}}}));
}

// --- Where the bundle is looked for

class BundleSearch : public FilterFixture {
protected:
	BundleSearch() { set_module_folder(module_.file("bin/64bit")); }

	ScratchFolder module_;
};

TEST_F(BundleSearch, TheDataFolderComesFirst)
{
	module_.write("bin/64bit/resource.kld");
	module_.write("data/resource.kld");
	EXPECT_EQ(find_resource_bundle(), bundle_);
}

TEST_F(BundleSearch, ThenTheFolderOfTheModuleFile)
{
	remove_bundle();
	const std::string beside = module_.write("bin/64bit/resource.kld");
	module_.write("data/resource.kld");
	EXPECT_EQ(find_resource_bundle(), beside);
}

TEST_F(BundleSearch, ThenTheDataFolderTwoLevelsAbove)
{
	remove_bundle();
	std::filesystem::create_directories(module_.path() / "bin/64bit");
	module_.write("data/resource.kld");
	EXPECT_EQ(find_resource_bundle(), module_.file("bin/64bit") + "/../../data/resource.kld");
}

TEST_F(BundleSearch, NowhereElse)
{
	remove_bundle();
	module_.write("bin/resource.kld");
	module_.write("resource.kld");
	EXPECT_EQ(find_resource_bundle(), "");
}

TEST_F(BundleSearch, AnUnknownModuleFolderEndsTheSearch)
{
	remove_bundle();
	set_module_folder("");
	const ScopedWorkingFolder working_folder(data_.path());
	data_.write("resource.kld");
	host_double().set_data_folder("");
	EXPECT_EQ(find_resource_bundle(), "");
}

TEST_F(BundleSearch, NonAsciiFoldersAreFine)
{
	remove_bundle();
	set_module_folder(module_.file("Модулі プラグイン"));
	const std::string beside = module_.write("Модулі プラグイン/resource.kld");
	EXPECT_EQ(find_resource_bundle(), beside);
}

// --- Events

class EngineEvents : public EngineSession {};

TEST_F(EngineEvents, AnEventIsALineWithItsCodeAndMessage)
{
	ensure_engine(session_);
	forget();
	ASSERT_TRUE(emit_engine_event(session_.engine.get(), 7, "models loaded"));
	ASSERT_TRUE(emit_engine_event(session_.engine.get(), -3, "50% %s"));
	EXPECT_EQ(log_.lines(), (Lines{{LOG_INFO, "[Kalvio] engine event 7 models loaded"},
				       {LOG_INFO, "[Kalvio] engine event -3 50% %s"}}));
}

TEST_F(EngineEvents, ANullMessageIsEmpty)
{
	on_engine_event(nullptr, 5, nullptr);
	EXPECT_EQ(log_.lines(), (Lines{{LOG_INFO, "[Kalvio] engine event 5 "}}));
}

TEST_F(EngineEvents, AnEventMayComeFromAnyThreadWhileTheInstanceIsLocked)
{
	ensure_engine(session_);
	forget();
	const std::lock_guard lock(session_.mutex);
	std::async(std::launch::async, [this] { emit_engine_event(session_.engine.get(), 1, "x"); }).get();
	EXPECT_EQ(log_.lines().size(), 1u);
}

} // namespace
