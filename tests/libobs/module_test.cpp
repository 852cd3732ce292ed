// SPDX-License-Identifier: GPL-2.0-or-later
#include "libobs/recording_test.h"

#include <algorithm>
#include <dlfcn.h>
#include <filesystem>
#include <util/bmem.h>

// The module as the host loads, names, localises and unloads it.
namespace kalvio::test {

namespace {

const LogLine loading = {LOG_INFO, "[Kalvio] loading OBS filter MVP"};
const LogLine unloaded = {LOG_INFO, "[Kalvio] unloaded"};

template <class Function>
Function *exported(obs_module_t *module, const char *name)
{
	return reinterpret_cast<Function *>(dlsym(obs_get_module_lib(module), name));
}

std::vector<std::string> filter_types()
{
	std::vector<std::string> types;
	const char *id = nullptr;
	for (size_t i = 0; obs_enum_filter_types(i, &id); i++)
		types.emplace_back(id);
	return types;
}

std::string label_of(obs_properties_t *properties, const char *name)
{
	return obs_property_description(obs_properties_get(properties, name));
}

struct PropertiesDeleter {
	void operator()(obs_properties_t *properties) const { obs_properties_destroy(properties); }
};
using PropertiesPtr = std::unique_ptr<obs_properties_t, PropertiesDeleter>;

// A session that the test starts itself.
class ModuleTest : public RecordingTest {
protected:
	std::optional<SessionOptions> initial_session() override { return std::nullopt; }

	void start_with_locale(const std::string &locale)
	{
		SessionOptions options = with_plugin();
		options.locale = locale;
		start(options);
	}
};

TEST_F(ModuleTest, HostReadsNameAuthorAndDescription)
{
	start(with_plugin());

	EXPECT_STREQ(obs_get_module_name(session().module()), "Kalvio");
	EXPECT_STREQ(obs_get_module_author(session().module()), "Kalvio");
	EXPECT_STREQ(obs_get_module_description(session().module()), "Kalvio beauty filter");
}

TEST_F(ModuleTest, VersionIsThatOfTheHeadersItWasBuiltWith)
{
	start(with_plugin());

	const auto version = exported<uint32_t()>(session().module(), "obs_module_ver");
	ASSERT_NE(version, nullptr);
	EXPECT_EQ(version(), uint32_t{LIBOBS_API_VER});
}

TEST_F(ModuleTest, FilterTypeIsRegisteredAsAVideoFilter)
{
	start(with_plugin());

	EXPECT_EQ(std::ranges::count(filter_types(), "kalvio_filter"), 1);
	EXPECT_EQ(obs_get_source_output_flags("kalvio_filter"), uint32_t{OBS_SOURCE_VIDEO});
	EXPECT_EQ(log().count(loading), 1U);
}

TEST_F(ModuleTest, LoadsWithoutResourceBundle)
{
	std::filesystem::remove(plugin().bundle());

	start(with_plugin()); // throws when the module's load returns false

	EXPECT_EQ(std::ranges::count(filter_types(), "kalvio_filter"), 1);
	EXPECT_EQ(log().count(bundle_not_found), 0U);
}

TEST_F(ModuleTest, DefaultsReachTheHost)
{
	start(with_plugin());

	const OBSDataAutoRelease defaults = obs_get_source_defaults("kalvio_filter");
	EXPECT_TRUE(obs_data_get_bool(defaults, "enabled"));
	EXPECT_EQ(obs_data_get_int(defaults, "smoothing_style"), 1);
	EXPECT_EQ(obs_data_get_double(defaults, "filter_intensity"), 0.5);
	EXPECT_STREQ(obs_data_get_string(defaults, "bg_preset"), "office");
}

TEST_F(ModuleTest, EnglishNameIsShown)
{
	start_with_locale("en-US");

	EXPECT_STREQ(obs_source_get_display_name("kalvio_filter"), "Kalvio Beauty");
}

TEST_F(ModuleTest, LocaleOfItsOwnIsShown)
{
	start_with_locale("de-DE");

	const OBSSourceAutoRelease filter = create_filter("Beauty");
	const PropertiesPtr german(obs_source_properties(filter));
	EXPECT_NE(label_of(german.get(), "open_panel"), "Open Retouch Console");
	EXPECT_NE(label_of(german.get(), "open_panel"), "Kalvio.OpenPanel");
}

TEST_F(ModuleTest, LocaleWithoutFileFallsBackToEnglish)
{
	start_with_locale("fi-FI");

	const OBSSourceAutoRelease filter = create_filter("Beauty");
	const PropertiesPtr properties(obs_source_properties(filter));
	EXPECT_STREQ(obs_source_get_display_name("kalvio_filter"), "Kalvio Beauty");
	EXPECT_EQ(label_of(properties.get(), "open_panel"), "Open Retouch Console");
}

TEST_F(ModuleTest, WithoutLocaleFilesTheKeysAreShown)
{
	std::filesystem::remove_all(plugin().files().data_folder / "locale");
	start(with_plugin());

	const OBSSourceAutoRelease filter = create_filter("Beauty");
	const PropertiesPtr properties(obs_source_properties(filter));
	EXPECT_STREQ(obs_source_get_display_name("kalvio_filter"), "KalvioFilter");
	EXPECT_EQ(label_of(properties.get(), "panel_hint"), "Kalvio.PropertiesHint");
	EXPECT_EQ(label_of(properties.get(), "open_panel"), "Kalvio.OpenPanel");
}

TEST_F(ModuleTest, LocaleCanChangeWhileTheModuleIsLoaded)
{
	start_with_locale("de-DE");

	obs_set_locale("en-US"); // calls every module's set_locale

	const OBSSourceAutoRelease filter = create_filter("Beauty");
	const PropertiesPtr properties(obs_source_properties(filter));
	EXPECT_EQ(label_of(properties.get(), "open_panel"), "Open Retouch Console");
}

TEST_F(ModuleTest, PropertiesForgetAStoredHint)
{
	start(with_plugin());
	const OBSSourceAutoRelease filter = create_filter("Beauty", settings_from(R"({"panel_hint": "old text"})"));

	const PropertiesPtr properties(obs_source_properties(filter));

	const OBSDataAutoRelease settings = obs_source_get_settings(filter);
	EXPECT_STREQ(obs_data_get_string(settings, "panel_hint"), "");
}

TEST_F(ModuleTest, PropertiesButtonWorksWithoutUserInterface)
{
	start(with_plugin());
	const OBSSourceAutoRelease filter = create_filter("Beauty");
	const PropertiesPtr properties(obs_source_properties(filter));

	EXPECT_FALSE(obs_property_button_clicked(obs_properties_get(properties.get(), "open_panel"), filter.Get()));
}

TEST_F(ModuleTest, UnloadWithoutPostLoadIsClean)
{
	SessionOptions options = with_plugin();
	options.post_load = false;
	start(options);

	stop();

	EXPECT_EQ(log().count(unloaded), 1U);
}

TEST_F(ModuleTest, UnloadIsLoggedAfterEverythingElseOfOurs)
{
	start(with_plugin());
	OBSSourceAutoRelease source = create_picture_source("Camera", pattern_picture(8, 8));
	OBSSourceAutoRelease filter = add_filter(source);
	render(source);
	filter = nullptr;
	source = nullptr;

	stop();

	EXPECT_EQ(log().product_lines().back(), unloaded);
}

// The host frees the texts first; nothing promises that it stays so.
TEST_F(ModuleTest, TextsMayBeFreedAfterUnload)
{
	SessionOptions options = with_plugin();
	options.init_module = false;
	start(options);
	obs_module_t *module = session().module();

	EXPECT_TRUE(exported<bool()>(module, "obs_module_load")());
	exported<void()>(module, "obs_module_unload")();
	exported<void()>(module, "obs_module_free_locale")();

	EXPECT_EQ(log().count(unloaded), 1U);
}

TEST_F(ModuleTest, TextsMayBeFreedBeforeUnload)
{
	SessionOptions options = with_plugin();
	options.init_module = false;
	start(options);
	obs_module_t *module = session().module();

	EXPECT_TRUE(exported<bool()>(module, "obs_module_load")());
	exported<void()>(module, "obs_module_free_locale")();
	exported<void()>(module, "obs_module_unload")();

	EXPECT_EQ(log().count(unloaded), 1U);
}

TEST_F(ModuleTest, TwentyLoadAndUnloadCyclesLeaveNothingBehind)
{
	const Picture picture = pattern_picture(16, 16);
	for (int cycle = 1; cycle <= 20; cycle++) {
		SCOPED_TRACE(cycle);
		start(with_plugin());
		{
			const OBSSourceAutoRelease source = create_picture_source("Camera", picture);
			const OBSSourceAutoRelease filter = add_filter(source);
			EXPECT_EQ(render(source), processed(picture));
		}
		stop(); // checks the host's allocations
		EXPECT_EQ(live_engine_count(), 0);
	}
	EXPECT_EQ(log().count(unloaded), 20U);
}

// A module in a folder that no ASCII name fits.
class ForeignFolderTest : public ModuleTest {
protected:
	const PluginCopy foreign_ = PluginCopy("d\u00e9 \u76ee\u5f55 sp");
	const ScratchFolder empty_;

	void start_foreign()
	{
		SessionOptions options;
		options.plugin = foreign_.files();
		start(options);
	}
};

TEST_F(ForeignFolderTest, TextsAreRead)
{
	start_foreign();

	EXPECT_STREQ(obs_source_get_display_name("kalvio_filter"), "Kalvio Beauty");
}

TEST_F(ForeignFolderTest, BundleInTheDataFolderIsFound)
{
	foreign_.add_placeholder_bundle();
	start_foreign();
	const Picture picture = pattern_picture(16, 16);
	const OBSSourceAutoRelease source = create_picture_source("Camera", picture);
	const OBSSourceAutoRelease filter = add_filter(source);

	EXPECT_EQ(render(source), processed(picture));
	EXPECT_EQ(log().count({LOG_INFO, "[Kalvio] engine created, resource=" + foreign_.bundle().string()}), 1U);
}

TEST_F(ForeignFolderTest, BundleBesideTheModuleIsFound)
{
	const std::filesystem::path beside = foreign_.files().module_file.parent_path() / "resource.kld";
	foreign_.add_placeholder_bundle();
	std::filesystem::rename(foreign_.bundle(), beside);
	start_foreign();

	const OBSSourceAutoRelease filter = create_filter("Beauty");

	EXPECT_EQ(log().count({LOG_INFO, "[Kalvio] engine created, resource=" + beside.string()}), 1U);
}

TEST_F(ForeignFolderTest, BundleOfADevelopmentTreeIsFound)
{
	foreign_.add_placeholder_bundle();
	SessionOptions options;
	options.plugin = foreign_.files();
	options.plugin.data_folder = empty_.path(); // what the host takes for the data folder
	start(options);

	const OBSSourceAutoRelease filter = create_filter("Beauty");

	const std::filesystem::path folder = foreign_.files().module_file.parent_path();
	EXPECT_EQ(log().count({LOG_INFO,
			       "[Kalvio] engine created, resource=" + folder.string() + "/../../data/resource.kld"}),
		  1U);
}

} // namespace

} // namespace kalvio::test
