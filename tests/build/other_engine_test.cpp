// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/host_double.h"
#include "kit/log_capture.h"
#include "kit/recording_engine.h"
#include "kit/scratch.h"
#include "module/elf_exports.h"

#include <algorithm>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <obs.h>

// A module that was built with another engine library. The engine is a library here, not a part of this program.
char *obs_module_get_config_path(obs_module_t * /*module*/, const char * /*file*/)
{
	return nullptr;
}

namespace {

using namespace kalvio::test;

constexpr const char *module_path = KALVIO_TEST_MODULE_FILE;

TEST(ModuleWithAnotherEngine, NeedsThatEngineAndNotOurs)
{
	const ElfNames names = read_elf_names(module_path);
	const auto needs = [&names](const char *library) {
		return std::find(names.needed.begin(), names.needed.end(), library) != names.needed.end();
	};
	EXPECT_TRUE(needs("libkalvio_recording_engine_library.so"));
	EXPECT_FALSE(needs("libkalvio.so"));
}

TEST(ModuleWithAnotherEngine, HasItsEngineBesideItself)
{
	const std::filesystem::path folder = std::filesystem::path(module_path).parent_path();
	EXPECT_TRUE(std::filesystem::exists(folder / "libkalvio_recording_engine_library.so"));
	EXPECT_FALSE(std::filesystem::exists(folder / "libkalvio.so"));
	EXPECT_EQ(read_elf_names(module_path).run_path, "$ORIGIN:$ORIGIN/../obs-kalvio");
}

// The engine library lacks the calls that an engine need not have, and the module loads all the same (below).
TEST(ModuleWithAnotherEngine, NeedsNoCallThatAnEngineNeedNotHave)
{
	void *library = dlopen("libkalvio_recording_engine_library.so", RTLD_LAZY | RTLD_NOLOAD);
	ASSERT_NE(library, nullptr) << dlerror();
	EXPECT_NE(dlsym(library, "kl_process_rgba"), nullptr);
	EXPECT_EQ(dlsym(library, "kl_get_capabilities"), nullptr);
	dlclose(library);
}

TEST(ModuleWithAnotherEngine, SendsItItsFrames)
{
	void *library = dlopen(module_path, RTLD_NOW | RTLD_LOCAL);
	ASSERT_NE(library, nullptr) << dlerror();
	const auto load = reinterpret_cast<bool (*)()>(dlsym(library, "obs_module_load"));
	ASSERT_NE(load, nullptr);

	const ScratchFolder data;
	data.write("resource.kld");
	host_double().set_data_folder(data.path().string());
	set_engine_script({.output = EngineOutput::Invert});
	EXPECT_TRUE(load());
	ASSERT_EQ(host_double().registrations().size(), 1u);

	FakeSource camera("Camera");
	FakeSource filter("Filter");
	filter.put_on(camera);
	camera.set_size(4, 4);
	filter.create_filter(host_double().registrations()[0].info);
	const std::vector<Drawn> screen = host_double().render([&] { filter.info.video_render(filter.data, nullptr); });
	filter.destroy_filter();

	ASSERT_EQ(screen.size(), 1u);
	EXPECT_EQ(screen[0].picture.rgba[0], 255 - camera.picture.rgba[0]);
	EXPECT_EQ(call_journal().count("kl_engine_create"), 1u);
	EXPECT_EQ(call_journal().count("kl_process_rgba"), 1u);
	EXPECT_EQ(live_engine_count(), 0);
	EXPECT_EQ(engine_misuse(), std::vector<std::string>());
}

} // namespace
