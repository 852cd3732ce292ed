// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/json_file.h"

#include "kit/scratch.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {

using namespace kalvio;
using namespace kalvio::test;

constexpr std::uintmax_t limit = 4096;

class JsonFile : public testing::Test {
protected:
	bool save(int value) const
	{
		const OBSDataAutoRelease object = obs_data_create();
		obs_data_set_int(object, "value", value);
		return save_json_file(object, path, limit);
	}
	// The number that is read; -1 without an object.
	int read() const
	{
		const OBSDataAutoRelease object = read_json_file(path, limit);
		return object ? static_cast<int>(obs_data_get_int(object, "value")) : -1;
	}
	std::string write(const char *name, const std::string &text) { return folder.write(name, text); }
	bool exists(const char *name) const { return std::filesystem::exists(folder.path() / name); }

	ScratchFolder folder;
	std::string path = folder.file("a.json");
};

TEST_F(JsonFile, ComesBackAsItWasSaved)
{
	EXPECT_EQ(read(), -1);
	EXPECT_TRUE(save(1));
	EXPECT_EQ(read(), 1);
	EXPECT_TRUE(save(2));
	EXPECT_EQ(read(), 2);
	EXPECT_FALSE(exists("a.json.tmp"));
}

TEST_F(JsonFile, TheOneBeforeIsRead_WhenTheFileIsMissingOrDamaged)
{
	ASSERT_TRUE(save(1) && save(2));
	for (const char *damage : {"", "{", "not json"}) {
		write("a.json", damage);
		EXPECT_EQ(read(), 1) << damage;
	}
	write("a.json", std::string(limit + 1, ' '));
	EXPECT_EQ(read(), 1);
	std::filesystem::remove(folder.path() / "a.json");
	EXPECT_EQ(read(), 1);
}

TEST_F(JsonFile, ADamagedFileDoesNotReplaceItsBackup)
{
	ASSERT_TRUE(save(1) && save(2));
	write("a.json", "{");
	ASSERT_TRUE(save(3));
	EXPECT_EQ(read(), 3);
	write("a.json", "");
	EXPECT_EQ(read(), 1);
}

TEST_F(JsonFile, AFileThatWasLeftHalfWrittenIsNotRead)
{
	ASSERT_TRUE(save(1));
	write("a.json.tmp", "{\"value\": 9");
	EXPECT_EQ(read(), 1);
	EXPECT_TRUE(save(2));
	EXPECT_EQ(read(), 2);
}

TEST_F(JsonFile, SavingSaysSo_WhenItCannotWrite)
{
	ASSERT_TRUE(save(1));
	std::filesystem::create_directory(folder.path() / "a.json.tmp");
	EXPECT_FALSE(save(2));
	EXPECT_EQ(read(), 1);
}

TEST_F(JsonFile, AFolderWithItsNameStaysAndIsNotReplaced)
{
	for (const bool empty : {true, false}) {
		std::filesystem::create_directories(folder.path() / "a.json");
		if (!empty)
			write("a.json/inside", "");
		EXPECT_FALSE(save(1)) << empty;
		EXPECT_TRUE(std::filesystem::is_directory(folder.path() / "a.json")) << empty;
		EXPECT_FALSE(exists("a.json.bak")) << empty;
	}
}

TEST_F(JsonFile, AFolderThatMayNotBeLookedIntoIsNoObstacle)
{
	path = folder.file(std::string(300, 'a').c_str()); // longer than any file's name may be
	EXPECT_FALSE(save(1));
	EXPECT_EQ(read(), -1);
}

} // namespace
