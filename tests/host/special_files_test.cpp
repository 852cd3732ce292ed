// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/small_file.h"

#include "kit/scratch.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sys/stat.h>

// Files of kinds that only POSIX systems have.
namespace {

using namespace kalvio;
using namespace kalvio::test;

TEST(SpecialFile, IsNoSmallFile)
{
	const ScratchFolder folder;
	const std::string pipe = folder.file("pipe");
	ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
	EXPECT_FALSE(is_small_file(pipe.c_str(), 10));
	EXPECT_FALSE(is_small_file("/dev/zero", 10));
}

TEST(SpecialFile, MayBeALinkToASmallFile)
{
	const ScratchFolder folder;
	std::filesystem::create_symlink(folder.write("file"), folder.file("link"));
	EXPECT_TRUE(is_small_file(folder.file("link").c_str(), 10));
	std::filesystem::create_symlink(folder.file("loop"), folder.file("loop"));
	EXPECT_FALSE(is_small_file(folder.file("loop").c_str(), 10));
}

} // namespace
