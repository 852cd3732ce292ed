// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/module_files.h"

#include "kit/allocation_check.h"
#include "kit/call_journal.h"
#include "kit/host_double.h"
#include "kit/module_double.h"
#include "kit/scratch.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using namespace kalvio;
using namespace kalvio::test;

class ModuleFiles : public testing::Test {
protected:
	ModuleFiles()
	{
		host_double().reset();
		host_double().set_data_folder(data_.path().generic_string());
		call_journal().reset();
	}
	~ModuleFiles() override { EXPECT_EQ(allocations_.outstanding(), 0); }

	ScratchFolder data_;
	AllocationCheck allocations_;
};

TEST_F(ModuleFiles, AModuleFileIsLookedForWithTheModulesHandle)
{
	const std::string path = data_.write("some/file.txt");
	EXPECT_EQ(resolve_module_file("some/file.txt"), path);
	EXPECT_EQ(call_journal().calls(CallOrigin::Host),
		  (std::vector<Call>{
			  {"obs_find_module_file", {Argument::address(module_double_handle()), "some/file.txt"}}}));
}

TEST_F(ModuleFiles, AModuleFileThatIsNotThereResolvesToNothing)
{
	EXPECT_EQ(resolve_module_file("some/file.txt"), "");
	host_double().set_data_folder("");
	EXPECT_EQ(resolve_module_file("some/file.txt"), "");
}

TEST_F(ModuleFiles, AModuleFileThatTheHostNamesButThatIsGoneResolvesToNothing)
{
	host_double().set_finds_missing_files(true);
	EXPECT_EQ(resolve_module_file("some/file.txt"), "");
}

TEST_F(ModuleFiles, AModuleFileUnderANonAsciiFolderIsFound)
{
	const std::string path = data_.write("Дані ユーザー/resource.kld");
	host_double().set_data_folder(data_.file("Дані ユーザー"));
	EXPECT_EQ(resolve_module_file("resource.kld"), path);
}

} // namespace
