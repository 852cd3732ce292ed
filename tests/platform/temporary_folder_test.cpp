// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/scratch.h"
#include "platform/platform.h"

#include <gtest/gtest.h>

namespace {

using namespace kalvio::test;
using kalvio::temporary_folder;

TEST(TemporaryFolder, IsTheOneOfTheEnvironmentWithATrailingSeparator)
{
	const ScopedEnvironment tmpdir("TMPDIR", "/var/some where");
	EXPECT_EQ(temporary_folder(), "/var/some where/");
}

TEST(TemporaryFolder, KeepsATrailingSeparatorSingle)
{
	const ScopedEnvironment tmpdir("TMPDIR", "/var/somewhere/");
	EXPECT_EQ(temporary_folder(), "/var/somewhere/");
}

TEST(TemporaryFolder, IsTheUsualOneWithoutAnEnvironment)
{
	const ScopedEnvironment no_runtime("XDG_RUNTIME_DIR", std::nullopt);
	const ScopedEnvironment unset("TMPDIR", std::nullopt);
	EXPECT_EQ(temporary_folder(), "/tmp/");
	const ScopedEnvironment empty("TMPDIR", "");
	const ScopedEnvironment empty_runtime("XDG_RUNTIME_DIR", "");
	EXPECT_EQ(temporary_folder(), "/tmp/");
}

TEST(TemporaryFolder, IsTheUsersOwnWhereTheEnvironmentHasOne)
{
	const ScratchFolder own;
	const ScopedEnvironment unset("TMPDIR", std::nullopt);
	const ScopedEnvironment runtime("XDG_RUNTIME_DIR", own.path().string());
	EXPECT_EQ(temporary_folder(), own.path().string() + "/");
	const ScopedEnvironment chosen("TMPDIR", "/var/somewhere");
	EXPECT_EQ(temporary_folder(), "/var/somewhere/");
}

TEST(TemporaryFolder, IsNotOneThatIsNotThere)
{
	const ScopedEnvironment unset("TMPDIR", std::nullopt);
	const ScopedEnvironment runtime("XDG_RUNTIME_DIR", "/no/such/folder");
	EXPECT_EQ(temporary_folder(), "/tmp/");
}

TEST(TemporaryFolder, MayBeNonAsciiAndLong)
{
	const std::string folder = "/домівка/一時/" + std::string(300, 'x');
	const ScopedEnvironment tmpdir("TMPDIR", folder);
	EXPECT_EQ(temporary_folder(), folder + "/");
}

} // namespace
