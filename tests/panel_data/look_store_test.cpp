// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/looks/look_store.h"

#include "kit/config_double.h"
#include "kit/host_double.h"
#include "kit/scratch.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>

// Looks in files: what is kept, what is refused, and that nothing is lost.
namespace {

using namespace kalvio;
using namespace kalvio::test;

class LookStore : public testing::Test {
protected:
	LookStore() { set_config_folder(folder.file("config")); }

	std::string store_path() const { return folder.file("config/looks.json"); }

	static std::vector<std::string> names()
	{
		std::vector<std::string> found;
		for (const StoredLook &look : user_looks())
			found.push_back(look.name);
		return found;
	}

	static LookResult save(std::string name, float smoothing = 0.5f)
	{
		ParameterSet set;
		set.skin.smoothing = smoothing;
		return save_look(name, set);
	}

	LookResult import_text(const std::string &text)
	{
		std::string name;
		return import_user_look(folder.write("import.json", text), name);
	}

	static std::string content(const std::string &path)
	{
		std::ifstream in(path, std::ios::binary);
		return {std::istreambuf_iterator<char>(in), {}};
	}

	ScratchFolder folder;
};

using Names = std::vector<std::string>;

TEST_F(LookStore, KeepsTheWholeSetUnderItsName)
{
	ParameterSet set;
	set.enabled = false;
	set.skin.smoothing = 0.37f;
	set.reshape[5] = -0.5f;
	set.makeup.blush.strength = 1.0f;
	set.background.image = "/home/me/beach.jpg";
	set.filter = {"vivid", 0.25f};
	set.sticker_id = "petals";
	std::string name = "  Evening \n stream ";
	ASSERT_EQ(save_look(name, set), LookResult::Done);
	EXPECT_EQ(name, "Evening stream");
	const std::vector<StoredLook> looks = user_looks();
	ASSERT_EQ(looks.size(), 1u);
	set.enabled = true; // no part of a look
	EXPECT_EQ(looks[0].parameters, set);
}

TEST_F(LookStore, NamesAreUniquePlainAndShort)
{
	for (int i = 0; i < 3; ++i)
		save("A");
	save(std::string(500, 'x'));
	save("");
	EXPECT_EQ(names(), (Names{"A", "A (2)", "A (3)", std::string(longest_look_name, 'x'), "Look"}));
}

TEST_F(LookStore, LooksAreRenamedAndDeletedByName)
{
	save("A", 0.1f);
	save("B", 0.2f);
	std::string to = "B";
	EXPECT_EQ(rename_look("A", to), LookResult::Done);
	EXPECT_EQ(to, "B (2)");
	EXPECT_EQ(delete_look("B"), LookResult::Done);
	EXPECT_EQ(names(), Names{"B (2)"});
	EXPECT_EQ(user_looks()[0].parameters.skin.smoothing, 0.1f);
	EXPECT_EQ(delete_look("B"), LookResult::NotALook);
	EXPECT_EQ(rename_look("B", to), LookResult::NotALook);
	std::string same = " B (2) ";
	EXPECT_EQ(rename_look("B (2)", same), LookResult::Done);
	EXPECT_EQ(names(), Names{"B (2)"});
}

TEST_F(LookStore, AnExportedLookComesBackWithoutThePathOfAPicture)
{
	ParameterSet set;
	set.skin.rosiness = 0.75f;
	set.background.image = "/home/me/beach.jpg";
	std::string name = "Mine";
	save_look(name, set);
	const std::string path = folder.file("mine.json");
	ASSERT_EQ(export_user_look("Mine", path), LookResult::Done);
	EXPECT_EQ(content(path).find("beach"), std::string::npos);
	EXPECT_FALSE(std::filesystem::exists(path + ".bak"));
	std::string imported;
	ASSERT_EQ(import_user_look(path, imported), LookResult::Done);
	EXPECT_EQ(imported, "Mine (2)");
	set.background.image.clear();
	EXPECT_EQ(user_looks()[1].parameters, set);
	EXPECT_EQ(user_looks()[0].parameters.background.image, "/home/me/beach.jpg");
	EXPECT_EQ(export_user_look("Nobody", path), LookResult::NotALook);
	EXPECT_EQ(export_user_look("Mine", folder.file("no/such/folder.json")), LookResult::NotWritten);
}

TEST_F(LookStore, UnknownKeysAreKept)
{
	folder.write(
		"config/looks.json",
		R"({"kalvio_looks": 1, "theme": "x", "looks": [{"name": "A", "tag": 7, "settings": {"later": 1}}]})");
	save("B");
	std::string to = "C";
	rename_look("A", to);
	const std::string file = content(store_path());
	for (const char *kept : {"\"theme\"", "\"tag\"", "\"later\""})
		EXPECT_NE(file.find(kept), std::string::npos) << kept;
	export_user_look("C", folder.file("c.json"));
	EXPECT_NE(content(folder.file("c.json")).find("\"later\""), std::string::npos);
}

TEST_F(LookStore, FilesThatAreNoWholeLookAreRefusedAndNothingIsLost)
{
	save("A");
	const std::string before = content(store_path());
	std::string name;
	EXPECT_EQ(import_user_look(folder.file("missing.json"), name), LookResult::Unreadable);
	EXPECT_EQ(import_user_look(folder.path().generic_string(), name), LookResult::Unreadable);
	EXPECT_EQ(import_user_look("", name), LookResult::Unreadable);
	for (const char *text : {"", "{", "null", "[]", "5", "{}", "\xff\xfe", R"({"kalvio_look": 1})",
				 R"({"kalvio_look": 1, "settings": 5})", R"({"kalvio_look": "1", "settings": {}})",
				 R"({"kalvio_look": 0, "settings": {}})", R"({"kalvio_look": -1, "settings": {}})",
				 R"({"kalvio_look": 1, "settings": {"smoothing": 0.5)"})
		EXPECT_EQ(import_text(text), LookResult::NotALook) << text;
	EXPECT_EQ(import_text(R"({"kalvio_look": 2, "settings": {}})"), LookResult::Newer);
	EXPECT_EQ(import_text(R"({"kalvio_look": 1, "settings": {}, "x": ")" + std::string(largest_look_bytes, 'x') +
			      "\"}"),
		  LookResult::TooLarge);
	EXPECT_EQ(import_text(std::string(60000, '[')), LookResult::NotALook);
	EXPECT_EQ(content(store_path()), before);
}

TEST_F(LookStore, HostileValuesAreMadeSafe)
{
	ASSERT_EQ(import_text(R"({"kalvio_look": 1, "name": "<b>\u0007x</b>", "settings": {"enabled": false,
		"smoothing": 1000, "sharpening": 1e300, "whitening": -5, "face_thin": -7, "smoothing_style": 99, "whitening_style": -1,
		"rosiness": "much", "chroma": 2147483648, "bg_fill": 4, "filter_id": "../../../etc/passwd",
		"sticker_id": "//host/share", "bg_preset": "..", "bg_image": "//host/share/a.png"}})"),
		  LookResult::Done);
	const StoredLook look = user_looks()[0];
	EXPECT_EQ(look.name, "<b> x</b>");
	ParameterSet expected;
	expected.skin.smoothing = 1.0f;
	expected.reshape[0] = -1.0f;
	EXPECT_EQ(look.parameters, expected);
	EXPECT_EQ(content(store_path()).find("share/a.png"), std::string::npos);
}

TEST_F(LookStore, ADamagedStoreIsPutAsideBeforeItIsWritten)
{
	folder.write("config/looks.json", "{\"kalvio_looks\": 1, \"looks\": [{\"na");
	EXPECT_TRUE(user_looks().empty());
	EXPECT_EQ(save("A"), LookResult::Done);
	EXPECT_EQ(names(), Names{"A"});
	EXPECT_EQ(content(store_path() + ".damaged"), "{\"kalvio_looks\": 1, \"looks\": [{\"na");
}

TEST_F(LookStore, ADamagedStoreWithABackupIsReadFromThat)
{
	save("A");
	save("B");
	folder.write("config/looks.json", "{");
	EXPECT_EQ(names(), Names{"A"});
}

TEST_F(LookStore, AStoreOfALaterVersionIsReadAndNotWritten)
{
	const std::string text = R"({"kalvio_looks": 2, "looks": [{"name": "A", "settings": {"smoothing": 0.5}}]})";
	folder.write("config/looks.json", text);
	EXPECT_EQ(names(), Names{"A"});
	EXPECT_EQ(save("B"), LookResult::Newer);
	EXPECT_EQ(delete_look("A"), LookResult::Newer);
	EXPECT_EQ(content(store_path()), text);
}

TEST_F(LookStore, ThereIsALimitToTheirNumber)
{
	std::string text = R"({"kalvio_looks": 1, "looks": [)";
	for (int i = 0; i < 200; ++i)
		text += (i ? ",{\"name\":\"L" : "{\"name\":\"L") + std::to_string(i) + "\"}";
	folder.write("config/looks.json", text + "]}");
	EXPECT_EQ(save("one more"), LookResult::TooMany);
	EXPECT_EQ(names().size(), 200u);
}

TEST_F(LookStore, WithoutAConfigurationFolderNothingIsWritten)
{
	set_config_folder({});
	EXPECT_EQ(save("A"), LookResult::NotWritten);
	EXPECT_TRUE(user_looks().empty());
}

TEST_F(LookStore, AFolderThatCannotBeMadeLosesNothing)
{
	const std::string blocker = folder.write("config", "a file where the folder should be");
	EXPECT_EQ(save("A"), LookResult::NotWritten);
	EXPECT_EQ(content(blocker), "a file where the folder should be");
	std::filesystem::remove(blocker);
	EXPECT_EQ(save("A"), LookResult::Done);
	EXPECT_EQ(names(), Names{"A"});
}

TEST_F(LookStore, ADamagedStoreThatCannotBePutAsideIsNotLost)
{
	folder.write("config/looks.json", "{ damaged");
	folder.write("config/looks.json.damaged/inside", "");
	EXPECT_EQ(save("A"), LookResult::NotWritten);
	EXPECT_EQ(content(store_path()), "{ damaged");
	std::filesystem::remove_all(folder.file("config/looks.json.damaged"));
	EXPECT_EQ(save("A"), LookResult::Done);
	EXPECT_EQ(content(folder.file("config/looks.json.damaged")), "{ damaged");
}

TEST_F(LookStore, OurOwnLooksAreWholeAndDiffer)
{
	host_double().set_data_folder(KALVIO_TEST_DATA_SOURCE);
	const std::vector<StoredLook> looks = built_in_looks();
	ASSERT_EQ(looks.size(), 6u);
	for (const StoredLook &look : looks) {
		EXPECT_NE(look.parameters, ParameterSet()) << look.name;
		EXPECT_EQ(std::ranges::count(looks, look.parameters, &StoredLook::parameters), 1) << look.name;
	}
	EXPECT_EQ(looks[2].parameters.filter.id, "tender");
	host_double().set_data_folder({});
	EXPECT_TRUE(built_in_looks().empty());
}

} // namespace
