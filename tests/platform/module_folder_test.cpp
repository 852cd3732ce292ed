// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/scratch.h"
#include "platform/platform.h"

#include <array>
#include <dlfcn.h>
#include <filesystem>
#include <gtest/gtest.h>

namespace {

using namespace kalvio::test;

// Copies the probe there, loads it and asks it.
std::string folder_told_by_a_module_in(const std::filesystem::path &folder)
{
	std::filesystem::create_directories(folder);
	const std::filesystem::path file = folder / "probe.so";
	std::filesystem::copy_file(KALVIO_TEST_PROBE_FILE, file);
	void *library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
	if (!library)
		return dlerror();
	std::array<char, 4096> buffer = {};
	const auto ask = reinterpret_cast<size_t (*)(char *, size_t)>(dlsym(library, "probe_module_folder"));
	ask(buffer.data(), buffer.size() - 1);
	dlclose(library);
	return buffer.data();
}

TEST(ModuleFolder, IsWhereTheModuleFileLiesWithoutATrailingSeparator)
{
	const ScratchFolder scratch;
	EXPECT_EQ(folder_told_by_a_module_in(scratch.path() / "bin/64bit"), scratch.file("bin/64bit"));
}

TEST(ModuleFolder, MayHaveAnyCharacters)
{
	const ScratchFolder scratch;
	for (const char *name : {"Плагіни", "プラグイン 配置", "a b'c\"d", "été"})
		EXPECT_EQ(folder_told_by_a_module_in(scratch.path() / name), scratch.file(name));
}

TEST(ModuleFolder, MayBeLong)
{
	const ScratchFolder scratch;
	const std::filesystem::path deep =
		scratch.path() / std::string(200, 'a') / std::string(200, 'b') / std::string(200, 'c');
	EXPECT_EQ(folder_told_by_a_module_in(deep), deep.string());
}

TEST(ModuleFolder, IsThatOfTheCallerNotOfTheProgram)
{
	const ScratchFolder scratch;
	EXPECT_NE(folder_told_by_a_module_in(scratch.path()), kalvio::module_folder());
}

TEST(PathSeparator, IsASlash)
{
	EXPECT_EQ(kalvio::path_separator, "/");
}

} // namespace
