// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/scratch.h"
#include "platform/platform.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <spawn.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>

// Calls of the system that fail on demand. This program defines them and so is asked before the system's library, to
// which each goes on unless a test lets it fail.
namespace {

using namespace kalvio;
using namespace kalvio::test;

struct Fault {
	int failures_left = 0; // -1: always
	int error = 0;
	int calls = 0;

	bool strikes()
	{
		calls++;
		if (failures_left > 0)
			failures_left--;
		else if (failures_left == 0)
			return false;
		errno = error;
		return true;
	}
};

Fault spawn_fault;
Fault wait_fault;
Fault folder_fault;
Fault access_fault;

template <class Function>
Function *library(const char *name)
{
	void *symbol = dlsym(RTLD_NEXT, name);
	if (!symbol)
		std::abort();
	return reinterpret_cast<Function *>(symbol);
}

} // namespace

#define LIBRARY(name) (library<decltype(name)>(#name))

#pragma GCC visibility push(default)
extern "C" {

int posix_spawn(pid_t *child, const char *path, const posix_spawn_file_actions_t *actions,
		const posix_spawnattr_t *attributes, char *const arguments[], char *const environment[])
{
	static const auto forward = LIBRARY(posix_spawn);
	return spawn_fault.strikes() ? spawn_fault.error
				     : forward(child, path, actions, attributes, arguments, environment);
}

pid_t waitpid(pid_t child, int *status, int options)
{
	static const auto forward = LIBRARY(waitpid);
	return wait_fault.strikes() ? -1 : forward(child, status, options);
}

int dladdr(const void *address, Dl_info *info) noexcept
{
	static const auto forward = LIBRARY(dladdr);
	return folder_fault.strikes() ? 0 : forward(address, info);
}

int access(const char *path, int mode) noexcept
{
	static const auto forward = LIBRARY(access);
	return access_fault.strikes() ? -1 : forward(path, mode);
}

} // extern "C"
#pragma GCC visibility pop

namespace {

class ProcessFaults : public testing::Test {
protected:
	ProcessFaults()
	{
		const std::string opener = desktop_.write("xdg-open", "#!/bin/sh\n");
		std::filesystem::permissions(opener, std::filesystem::perms::owner_all);
	}
	~ProcessFaults() override { spawn_fault = wait_fault = folder_fault = access_fault = {}; }

	static bool open() { return open_url("https://kalvio.example/"); }

	static bool has_child()
	{
		wait_fault = {};
		return waitpid(-1, nullptr, WNOHANG) != -1;
	}

	ScratchFolder desktop_;
	ScopedEnvironment path_{"PATH", desktop_.path().string()};
};

TEST_F(ProcessFaults, AShellThatDoesNotStartOpensNothingAndIsNotWaitedFor)
{
	for (const int times : {1, -1}) {
		spawn_fault = {times, EAGAIN};
		wait_fault = {};
		EXPECT_FALSE(open());
		EXPECT_EQ(wait_fault.calls, 0);
	}
	spawn_fault = {};
	EXPECT_TRUE(open());
	EXPECT_FALSE(has_child());
}

TEST_F(ProcessFaults, ASignalWhileTheShellIsWaitedForLeavesNoChild)
{
	wait_fault = {3, EINTR};
	EXPECT_TRUE(open());
	EXPECT_EQ(wait_fault.calls, 4);
	EXPECT_FALSE(has_child());
}

TEST_F(ProcessFaults, AShellThatNobodyMayWaitForCountsAsNotOpened)
{
	wait_fault = {-1, ECHILD};
	EXPECT_FALSE(open());
	EXPECT_EQ(wait_fault.calls, 1);
	wait_fault = {};
	EXPECT_GT(waitpid(-1, nullptr, 0), 0); // the fault kept it from being waited for
	EXPECT_TRUE(open());
}

TEST_F(ProcessFaults, AModuleWhoseFolderIsUnknownHasNone)
{
	folder_fault.failures_left = 1;
	EXPECT_EQ(module_folder(), "");
	EXPECT_NE(module_folder(), "");
	folder_fault.failures_left = -1;
	EXPECT_EQ(module_folder(), "");
}

TEST_F(ProcessFaults, ARunTimeFolderThatMayNotBeWrittenIsNotUsed)
{
	const ScopedEnvironment chosen("TMPDIR", "");
	const ScopedEnvironment runtime("XDG_RUNTIME_DIR", desktop_.path().string());
	access_fault = {1, EACCES};
	EXPECT_EQ(temporary_folder(), "/tmp/");
	EXPECT_EQ(temporary_folder(), desktop_.path().string() + "/");
}

} // namespace
