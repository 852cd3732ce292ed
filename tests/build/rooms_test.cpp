// SPDX-License-Identifier: GPL-2.0-or-later
#include "source_tree.h"

#include <gtest/gtest.h>
#include <ostream>
#include <regex>
#include <set>

// Which room may include which: there is one way through the house.
namespace {

using namespace kalvio::test;

struct Include {
	std::string file; // relative to the root
	std::string name; // as written, without the brackets or quotes

	bool operator==(const Include &) const = default;
	friend std::ostream &operator<<(std::ostream &out, const Include &include)
	{
		return out << include.file << " includes " << include.name;
	}
};

std::vector<Include> includes_in(const fs::path &folder)
{
	static const std::regex line(R"((^|\n)[ \t]*#[ \t]*include[ \t]*[<"]([^>"\n]+)[>"])");
	std::vector<Include> includes;
	for (const fs::path &file : sources_in(folder)) {
		const std::string content = content_of(file);
		for (std::sregex_iterator it(content.begin(), content.end(), line), end; it != end; ++it)
			includes.push_back({fs::relative(file, root).string(), (*it)[2]});
	}
	return includes;
}

const std::set<std::string> rooms = {"module", "filter", "panel", "params", "update", "platform"};

// The room that an include names, or "".
std::string room_of(const std::string &include)
{
	const std::string first = include.substr(0, include.find('/'));
	return rooms.contains(first) && include.find('/') != std::string::npos ? first : "";
}

std::vector<Include> into_other_rooms_than(const std::string &room, const std::set<std::string> &allowed)
{
	std::vector<Include> wrong;
	for (const Include &include : includes_in(root / "src" / room)) {
		const std::string other = room_of(include.name);
		if (!other.empty() && other != room && !allowed.contains(other) && !allowed.contains(include.name))
			wrong.push_back(include);
	}
	return wrong;
}

bool is_of_qt(const std::string &include)
{
	return std::regex_match(include, std::regex("Q[A-Za-z0-9]+|Q[A-Za-z0-9]+/.*|q[a-z]+\\.h"));
}

bool is_of_the_host(const std::string &include)
{
	return std::regex_match(include, std::regex("obs.*|(util|graphics|callback|media-io)/.*\\.h"));
}

std::vector<Include> matching(const fs::path &folder, bool (*is_wrong)(const std::string &))
{
	std::vector<Include> wrong = includes_in(folder);
	std::erase_if(wrong, [is_wrong](const Include &include) { return !is_wrong(include.name); });
	return wrong;
}

using None = std::vector<Include>;

// --- The checks see what they check

TEST(Rooms, AreAllThereAndHaveSources)
{
	std::set<std::string> folders;
	for (const auto &entry : fs::directory_iterator(root / "src")) {
		if (entry.is_directory())
			folders.insert(entry.path().filename().string());
	}
	EXPECT_EQ(folders, rooms);
	for (const std::string &room : rooms)
		EXPECT_FALSE(includes_in(root / "src" / room).empty()) << room;
}

TEST(Rooms, ShowTheirKnownNeighbours)
{
	EXPECT_EQ(room_of("panel/dock_host.h"), "panel");
	EXPECT_EQ(room_of("util/platform.h"), "");
	EXPECT_TRUE(is_of_qt("QWidget") && is_of_qt("QtTest/QTest") && !is_of_qt("algorithm"));
	EXPECT_TRUE(is_of_the_host("obs-data.h") && is_of_the_host("util/base.h") && !is_of_the_host("platform.h"));
}

// --- One way through

TEST(Rooms, ModuleUsesFilterAndTheEndsOfPanelAndUpdate)
{
	EXPECT_EQ(into_other_rooms_than("module", {"filter", "panel/dock_host.h", "update/update_check.h"}), None());
}

TEST(Rooms, FilterUsesParamsAndTheSeamsOfPanelUpdateAndPlatform)
{
	EXPECT_EQ(into_other_rooms_than(
			  "filter", {"params", "panel/dock_host.h", "update/update_check.h", "platform/platform.h"}),
		  None());
}

TEST(Rooms, PanelUsesParamsTheRegistryTheShimAndTheUpdateState)
{
	EXPECT_EQ(into_other_rooms_than("panel", {"params", "filter/callback_shim.h", "filter/filter_registry.h",
						  "update/update_check.h", "platform"}),
		  None());
}

TEST(Rooms, ParamsUsesNoOtherRoom)
{
	EXPECT_EQ(into_other_rooms_than("params", {}), None());
}

TEST(Rooms, UpdateUsesThePlatformAlone)
{
	EXPECT_EQ(into_other_rooms_than("update", {"platform"}), None());
}

TEST(Rooms, PlatformUsesNoOtherRoomAndNotTheHost)
{
	EXPECT_EQ(into_other_rooms_than("platform", {}), None());
	EXPECT_EQ(matching(root / "src/platform", is_of_the_host), None());
}

TEST(Rooms, QtIsInThePanelAlone)
{
	for (const std::string &room : rooms) {
		if (room != "panel") {
			EXPECT_EQ(matching(root / "src" / room, is_of_qt), None());
		}
	}
	EXPECT_EQ(matching(root / "engine", is_of_qt), None());
}

TEST(Rooms, ThePanelsSeamIsFreeOfQt)
{
	std::vector<Include> wrong = matching(root / "src/panel", is_of_qt);
	std::erase_if(wrong, [](const Include &include) { return include.file != "src/panel/dock_host.h"; });
	EXPECT_EQ(wrong, None());
}

TEST(Rooms, TheEngineKnowsNeitherTheHostNorAnyRoom)
{
	EXPECT_EQ(matching(root / "engine", is_of_the_host), None());
	std::vector<Include> wrong = includes_in(root / "engine");
	std::erase_if(wrong, [](const Include &include) { return room_of(include.name).empty(); });
	EXPECT_EQ(wrong, None());
}

TEST(Rooms, TheEngineIsKnownByItsHeaderAlone)
{
	const fs::path engine_sources = root / "engine/src";
	std::vector<Include> wrong = includes_in(root / "src");
	std::erase_if(wrong, [&](const Include &include) { return !fs::exists(engine_sources / include.name); });
	EXPECT_EQ(wrong, None());
}

} // namespace
