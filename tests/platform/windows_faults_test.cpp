// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/windows_faults.h"
#include "platform/platform.h"

#include <gtest/gtest.h>

// Calls of Windows that fail once and always. What follows from no folder and from no browser is the same on every
// system.
namespace {

using namespace kalvio;
using namespace kalvio::test;

class WindowsFaults : public testing::Test {
protected:
	static void SetUpTestSuite() { watch_windows_calls_of(); }
	WindowsFaults() { reset_windows_faults(); }
	~WindowsFaults() override { reset_windows_faults(); }

	static bool open() { return open_url("https://kalvio.example/"); }
};

TEST_F(WindowsFaults, AModuleThatIsNotFoundHasNoFolder)
{
	make_windows_fail("GetModuleHandleExA", 1);
	EXPECT_EQ(module_folder(), "");
	EXPECT_NE(module_folder(), "");
	make_windows_fail("GetModuleHandleExA");
	for (int call = 0; call < 3; ++call)
		EXPECT_EQ(module_folder(), "");
	EXPECT_EQ(windows_calls("GetModuleHandleExA"), 5);
}

// A path is converted in two calls, the first of which asks for its length.
TEST_F(WindowsFaults, AFolderWhoseNameCannotBeConvertedIsUnknown)
{
	for (const auto &folder : {module_folder, temporary_folder}) {
		for (const int passed : {0, 1}) {
			make_windows_fail("WideCharToMultiByte", 1, passed);
			EXPECT_EQ(folder(), "") << passed;
			EXPECT_NE(folder(), "") << passed;
			for (int call = 0; call < 3; ++call) {
				make_windows_fail("WideCharToMultiByte", every_time, passed);
				EXPECT_EQ(folder(), "") << passed;
			}
			reset_windows_faults();
		}
	}
}

// As a path is, an address is converted in two calls.
TEST_F(WindowsFaults, AnAddressThatCannotBeConvertedIsNotOpened)
{
	for (const int passed : {0, 1}) {
		for (const int times : {1, every_time}) {
			make_windows_fail("MultiByteToWideChar", times, passed);
			EXPECT_FALSE(open()) << passed;
		}
	}
	EXPECT_EQ(windows_calls("MultiByteToWideChar"), 6);
	EXPECT_EQ(windows_calls("ShellExecuteW"), 0);
}

// Without memory, without a file, refused, without a browser, and the greatest of the numbers that mean a failure.
TEST_F(WindowsFaults, AnAddressThatTheShellRefusesIsNotOpenedAndNotTriedAgain)
{
	for (const WindowsResult refusal : {0, 2, 5, 31, 32}) {
		reset_windows_faults();
		make_windows_fail("ShellExecuteW", every_time, 0, refusal);
		EXPECT_FALSE(open()) << refusal;
		EXPECT_FALSE(open()) << refusal;
		EXPECT_EQ(windows_calls("ShellExecuteW"), 2) << refusal;
	}
	// The least that means success: it stands for a browser, so that none is opened here.
	make_windows_fail("ShellExecuteW", every_time, 0, 33);
	EXPECT_TRUE(open());
}

} // namespace
