// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/host_double.h"
#include "kit/log_capture.h"
#include "kit/recording_engine.h"
#include "module/elf_exports.h"

#include <algorithm>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <obs.h>

// The module keeps nothing in these tests: the host has no configuration folder for it.
char *obs_module_get_config_path(obs_module_t * /*module*/, const char * /*file*/)
{
	return nullptr;
}

namespace {

using namespace kalvio::test;

using Names = std::vector<std::string>;

constexpr const char *module_path = KALVIO_TEST_MODULE_FILE;

TEST(ModuleFile, ExportsExactlyTheElevenNamesThatTheHostLooksUp)
{
	EXPECT_EQ(read_elf_names(module_path).exported,
		  (Names{"obs_module_author", "obs_module_description", "obs_module_free_locale",
			 "obs_module_get_string", "obs_module_load", "obs_module_name", "obs_module_post_load",
			 "obs_module_set_locale", "obs_module_set_pointer", "obs_module_unload", "obs_module_ver"}));
}

TEST(ModuleFile, FindsItsEngineBesideItself)
{
	const ElfNames names = read_elf_names(module_path);
	EXPECT_EQ(names.run_path, "$ORIGIN:$ORIGIN/../obs-kalvio");
	EXPECT_NE(std::find(names.needed.begin(), names.needed.end(), "libkalvio.so"), names.needed.end());
}

// The module with its entry points, loaded as the host does it. It stays loaded, as its registry of filters does, which
// outlives everything by intention and would look like a leak without the module.
class LoadedModule : public testing::Test {
protected:
	void SetUp() override
	{
		reset_recording_engine();
		host_double().reset();
		call_journal().reset();
		library_ = dlopen(module_path, RTLD_LAZY | RTLD_LOCAL);
		ASSERT_NE(library_, nullptr) << dlerror();
	}
	template <class Function>
	Function *function(const char *name)
	{
		auto *found = reinterpret_cast<Function *>(dlsym(library_, name));
		EXPECT_NE(found, nullptr) << name;
		return found;
	}

	void *library_ = nullptr;
	LogCapture log_;
};

TEST_F(LoadedModule, IsOfTheApiVersionThatItWasBuiltWith)
{
	EXPECT_EQ(function<uint32_t()>("obs_module_ver")(), static_cast<uint32_t>(LIBOBS_API_VER));
}

TEST_F(LoadedModule, NamesItself)
{
	EXPECT_STREQ(function<const char *()>("obs_module_name")(), "Kalvio");
	EXPECT_STREQ(function<const char *()>("obs_module_author")(), "Kalvio");
	EXPECT_STREQ(function<const char *()>("obs_module_description")(), "Kalvio beauty filter");
}

TEST_F(LoadedModule, LoadingItDoesNothingYet)
{
	EXPECT_EQ(call_journal().calls(), std::vector<Call>());
	EXPECT_EQ(log_.lines(), std::vector<LogLine>());
}

TEST_F(LoadedModule, RegistersAFilterThatCallsTheEngineInFrontOfIt)
{
	char handle = 0;
	function<void(obs_module_t *)>("obs_module_set_pointer")(reinterpret_cast<obs_module_t *>(&handle));
	EXPECT_TRUE(function<bool()>("obs_module_load")());
	ASSERT_EQ(host_double().registrations().size(), 1u);

	host_double().set_finds_missing_files(false);
	FakeSource camera("Camera");
	FakeSource filter("Filter");
	filter.put_on(camera);
	camera.set_size(4, 4);
	filter.create_filter(host_double().registrations()[0].info);
	const std::vector<Drawn> screen = host_double().render([&] { filter.info.video_render(filter.data, nullptr); });
	filter.destroy_filter();
	ASSERT_EQ(screen.size(), 1u);
	EXPECT_EQ(screen[0].picture, camera.picture);
	EXPECT_EQ(call_journal().count("kl_engine_create"), 1u) << "the bundle lies in the build tree's data folder";
	EXPECT_EQ(call_journal().count("kl_process_rgba"), 1u);
	EXPECT_EQ(live_engine_count(), 0);

	function<void()>("obs_module_unload")();
	EXPECT_EQ(log_.product_lines().back(), (LogLine{LOG_INFO, "[Kalvio] unloaded"}));
}

} // namespace
