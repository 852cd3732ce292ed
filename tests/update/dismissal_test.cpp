// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/dismissal.h"

#include "kit/allocation_check.h"
#include "kit/log_capture.h"
#include "kit/scratch.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>

namespace kalvio::test {

namespace {

class DismissalTest : public testing::Test {
protected:
	void expect_none(const std::string &file)
	{
		const Dismissal dismissal = load_dismissal(file);
		EXPECT_EQ(dismissal.version, "") << file;
		EXPECT_EQ(dismissal.until, 0) << file;
	}

	ScratchFolder folder;
	LogCapture log;
};

std::string content(const std::string &file)
{
	std::ifstream in(std::filesystem::path(std::u8string(file.begin(), file.end())), std::ios::binary);
	return {std::istreambuf_iterator<char>(in), {}};
}

} // namespace

TEST_F(DismissalTest, ComesBackAsItWasSaved)
{
	const std::string file = folder.file("update_dismiss.json");
	ASSERT_TRUE(save_dismissal(file, {"1.0.13 \xE7\x9B\xAE \"\\", 1'800'086'400}));
	const Dismissal dismissal = load_dismissal(file);
	EXPECT_EQ(dismissal.version, "1.0.13 \xE7\x9B\xAE \"\\");
	EXPECT_EQ(dismissal.until, 1'800'086'400);
}

TEST_F(DismissalTest, IsOneJsonObjectWithVersionAndUntil)
{
	const std::string file = folder.file("update_dismiss.json");
	ASSERT_TRUE(save_dismissal(file, {"1.0.13", 1'800'086'400}));
	std::string text = content(file);
	std::erase_if(text, [](char c) { return c == ' ' || c == '\n'; });
	// The host's versions differ in the order.
	EXPECT_TRUE(text == R"({"until":1800086400,"version":"1.0.13"})" ||
		    text == R"({"version":"1.0.13","until":1800086400})")
		<< text;
}

TEST_F(DismissalTest, CreatesItsFolders)
{
	const std::string file = folder.file("a/b/c/update_dismiss.json");
	EXPECT_TRUE(save_dismissal(file, {"1.0.13", 5}));
	EXPECT_EQ(load_dismissal(file).version, "1.0.13");
}

TEST_F(DismissalTest, ReplacesTheOneBefore)
{
	const std::string file = folder.file("update_dismiss.json");
	ASSERT_TRUE(save_dismissal(file, {"1.0.13 with a longer name", 5}));
	ASSERT_TRUE(save_dismissal(file, {"1.0.14", 6}));
	EXPECT_EQ(load_dismissal(file).version, "1.0.14");
	EXPECT_EQ(load_dismissal(file).until, 6);
}

TEST_F(DismissalTest, IsNone_WhenThereIsNoFile)
{
	expect_none(folder.file("update_dismiss.json"));
	expect_none(folder.file("no/such/folder/update_dismiss.json"));
	expect_none("");
}

TEST_F(DismissalTest, IsNone_WhenAFolderHasItsName)
{
	folder.write("update_dismiss.json/inside");
	expect_none(folder.file("update_dismiss.json"));
}

TEST_F(DismissalTest, IsNone_WhenTheFileIsBroken)
{
	for (const char *text : {"", " ", "{", "\"version\"", R"({"version": "1.0.13", "until": 18000864)", "not json",
				 "\xFF\xFE", R"({"version": "1.0.13", "until": 99999999999999999999})"})
		expect_none(folder.write("update_dismiss.json", text));
}

TEST_F(DismissalTest, IsNone_WhenTheFileIsHuge)
{
	expect_none(folder.write("update_dismiss.json",
				 R"({"version": "1.0.13", "until": 5})" + std::string(1 << 20, ' ')));
}

TEST_F(DismissalTest, ValuesOfAnotherTypeReadAsMissing)
{
	const Dismissal numbers = load_dismissal(folder.write("n.json", R"({"version": 5, "until": "1800086400"})"));
	EXPECT_EQ(numbers.version, "");
	EXPECT_EQ(numbers.until, 0);
	const Dismissal containers = load_dismissal(folder.write("c.json", R"({"version": ["1.0.13"], "until": {}})"));
	EXPECT_EQ(containers.version, "");
	EXPECT_EQ(containers.until, 0);
}

TEST_F(DismissalTest, TakesEveryTimeThatFits)
{
	EXPECT_EQ(load_dismissal(folder.write("a.json", R"({"until": 9223372036854775807})")).until,
		  std::numeric_limits<std::int64_t>::max());
	EXPECT_EQ(load_dismissal(folder.write("b.json", R"({"until": -9223372036854775808})")).until,
		  std::numeric_limits<std::int64_t>::min());
}

TEST_F(DismissalTest, SavingSaysSo_WhenItCannotWrite)
{
	EXPECT_FALSE(save_dismissal("", {"1.0.13", 5}));
	EXPECT_FALSE(save_dismissal("update_dismiss.json", {"1.0.13", 5}));
	folder.write("update_dismiss.json/inside");
	EXPECT_FALSE(save_dismissal(folder.file("update_dismiss.json"), {"1.0.13", 5}));
	// A file where a folder has to be; even the superuser cannot write below it.
	folder.write("file");
	EXPECT_FALSE(save_dismissal(folder.file("file/update_dismiss.json"), {"1.0.13", 5}));
}

TEST_F(DismissalTest, KeepsNothingOfTheHosts)
{
	const AllocationCheck allocations;
	const std::string file = folder.file("update_dismiss.json");
	save_dismissal(file, {"1.0.13", 5});
	(void)load_dismissal(file);
	(void)load_dismissal(folder.write("broken", "{"));
	EXPECT_EQ(allocations.outstanding(), 0);
}

} // namespace kalvio::test
