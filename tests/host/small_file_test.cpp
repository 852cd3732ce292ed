// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/small_file.h"

#include "kit/scratch.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

using namespace kalvio;
using namespace kalvio::test;

class SmallFile : public testing::Test {
protected:
	bool is_small(const char *name, std::uintmax_t bytes = 10) const
	{
		return is_small_file(folder_.file(name).c_str(), bytes);
	}

	ScratchFolder folder_;
};

TEST_F(SmallFile, HasAtMostThatManyBytes)
{
	folder_.write("a", "123456789");
	EXPECT_TRUE(is_small("a", 9));
	EXPECT_FALSE(is_small("a", 8));
	folder_.write("empty", "");
	EXPECT_TRUE(is_small("empty", 0));
}

TEST_F(SmallFile, IsAFileAndNotAFolder)
{
	std::filesystem::create_directories(folder_.path() / "folder");
	EXPECT_FALSE(is_small("folder"));
	EXPECT_FALSE(is_small("missing"));
	EXPECT_FALSE(is_small("missing/below"));
	EXPECT_FALSE(is_small_file("", 10));
}

TEST_F(SmallFile, MayHaveAnyName)
{
	const char *name = "stra\xc3\x9f"
			   "e \xe6\xb5\xb7";
	folder_.write(name, "x");
	EXPECT_TRUE(is_small(name));
}

TEST_F(SmallFile, MayBeAskedForByANameThatIsNoUtf8)
{
	EXPECT_FALSE(is_small_file("\xff\xfe", 10));
}

} // namespace
