// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/version.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace kalvio::test {

namespace {

constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();

struct ReadVersion {
	std::string_view text;
	Version expected;
};

constexpr ReadVersion read_versions[] = {
	{"1.0.12", {{1, 0, 12}}},
	{"v1.0.12", {{1, 0, 12}}},
	{"V1.1", {{1, 1, 0}}},
	{"7", {{7, 0, 0}}},
	{"1.", {{1, 0, 0}}},
	{"1.2.", {{1, 2, 0}}},
	{"1..2", {{1, 0, 0}}},
	{"1.x.3", {{1, 0, 0}}},
	{"1.0.12.5", {{1, 0, 12}}},
	{"1.0.12.", {{1, 0, 12}}},
	{"1.0.12-beta", {{1, 0, 12}}},
	{"1.0-beta.12", {{1, 0, 0}}},
	{"1.0.12 ", {{1, 0, 12}}},
	{"1,2", {{1, 0, 0}}},
	{"001.02.0003", {{1, 2, 3}}},
	{"0", {{0, 0, 0}}},
	{"1.2.3\n4", {{1, 2, 3}}},
	{"18446744073709551615.0.1", {{largest, 0, 1}}},
	{"18446744073709551616.0.1", {{largest, 0, 1}}},
	{"18446744073709551609.0.0", {{18446744073709551609U, 0, 0}}},
	{"99999999999999999999.0.0", {{largest, 0, 0}}},
	{"1.99999999999999999999999999999999999999.2", {{1, largest, 2}}},
};

constexpr std::string_view no_versions[] = {
	"", "v", "V", "vv1.0", "abc", ".", ".1", "-1.0", "+1", " 1.0", "v 1", "v.1", "\xD9\xA1.0",
};

} // namespace

TEST(Version, ReadsUpToThreeComponentsAndStopsAtTheFirstMisfit)
{
	for (const ReadVersion &row : read_versions)
		EXPECT_EQ(parse_version(row.text), row.expected) << row.text;
}

TEST(Version, ReadsNothing_WhenNoDigitBeginsIt)
{
	for (const std::string_view text : no_versions)
		EXPECT_EQ(parse_version(text), std::nullopt) << text;
}

TEST(Version, ReadsNoFurtherThanItsText)
{
	const std::string text = "1.0.129";
	EXPECT_EQ(parse_version(std::string_view(text).substr(0, 6)), (Version{{1, 0, 12}}));
	EXPECT_EQ(parse_version(std::string_view("1.0\0.5", 6)), (Version{{1, 0, 0}}));
}

TEST(Version, SaturatesOnALongRunOfDigits)
{
	EXPECT_EQ(parse_version(std::string(1 << 20, '9')), (Version{{largest, 0, 0}}));
	EXPECT_EQ(parse_version(std::string(1 << 20, '0') + "3"), (Version{{3, 0, 0}}));
}

TEST(Version, ComparesMajorBeforeMinorBeforePatch)
{
	EXPECT_TRUE(is_older("1.9.9", "2.0.0"));
	EXPECT_TRUE(is_older("1.1.9", "1.2.0"));
	EXPECT_TRUE(is_older("1.0.9", "1.0.12"));
	EXPECT_FALSE(is_older("2.0.0", "1.9.9"));
	EXPECT_FALSE(is_older("1.2.0", "1.1.9"));
	EXPECT_FALSE(is_older("1.0.12", "1.0.9"));
}

TEST(Version, IsNotOlderThanItself)
{
	EXPECT_FALSE(is_older("1.0.12", "1.0.12"));
	EXPECT_FALSE(is_older("1.0.12", "v1.0.12"));
	EXPECT_FALSE(is_older("1.0.12", "1.0.12.5"));
	EXPECT_FALSE(is_older("1.0", "1.0.0"));
}

TEST(Version, IsNeverOlderThanWhatIsNoVersion)
{
	EXPECT_FALSE(is_older("1.0.12", "abc"));
	EXPECT_FALSE(is_older("1.0.12", ""));
	EXPECT_FALSE(is_older("abc", "abc"));
}

TEST(Version, IsOlderThanEveryVersion_WhenItIsNone)
{
	EXPECT_TRUE(is_older("abc", "0.0.0"));
	EXPECT_TRUE(is_older("", "1.0.12"));
}

} // namespace kalvio::test
