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
	const ScopedEnvironment unset("TMPDIR", std::nullopt);
	EXPECT_EQ(temporary_folder(), "/tmp/");
	const ScopedEnvironment empty("TMPDIR", "");
	EXPECT_EQ(temporary_folder(), "/tmp/");
}

TEST(TemporaryFolder, MayBeNonAsciiAndLong)
{
	const std::string folder = "/домівка/一時/" + std::string(300, 'x');
	const ScopedEnvironment tmpdir("TMPDIR", folder);
	EXPECT_EQ(temporary_folder(), folder + "/");
}

} // namespace
