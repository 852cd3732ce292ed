// SPDX-License-Identifier: GPL-2.0-or-later
#include "source_tree.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <ostream>
#include <regex>
#include <set>

// Which component may include which, and that no files include each other in a circle.
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

const std::set<std::string> components = {"module", "filter", "panel", "params", "update", "host", "platform"};

// The component that an include names, or "".
std::string component_of(const std::string &include)
{
	const std::string first = include.substr(0, include.find('/'));
	return components.contains(first) && include.find('/') != std::string::npos ? first : "";
}

std::vector<Include> into_other_components(const std::string &component, const std::set<std::string> &allowed)
{
	std::vector<Include> wrong;
	for (const Include &include : includes_in(root / "src" / component)) {
		const std::string other = component_of(include.name);
		if (!other.empty() && other != component && !allowed.contains(other) && !allowed.contains(include.name))
			wrong.push_back(include);
	}
	return wrong;
}

bool is_of_qt(const std::string &include)
{
	return std::regex_match(include, std::regex("Q[A-Za-z0-9]+|Q[A-Za-z0-9]+/.*|q[a-z]+\\.h"));
}

bool is_of_obs(const std::string &include)
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

// --- Circles

// A header and its source are one unit: "filter/frame_path" of filter/frame_path.h and filter/frame_path.cpp.
std::string unit_of(const fs::path &file)
{
	return fs::path(file).replace_extension().generic_string();
}

using Graph = std::map<std::string, std::set<std::string>>;

// What each unit of a source folder includes of the same folder.
Graph units_in(const fs::path &folder)
{
	Graph graph;
	for (const Include &include : includes_in(folder)) {
		const std::string from = unit_of(fs::relative(root / include.file, folder));
		if (fs::exists(folder / include.name) && unit_of(include.name) != from)
			graph[from].insert(unit_of(include.name));
	}
	return graph;
}

// Erases units until none is left that is `unneeded` beside the rest.
template <class Predicate>
void erase_each(Graph &graph, Predicate unneeded)
{
	for (auto unit = graph.begin(); unit != graph.end();) {
		if (unneeded(*unit)) {
			graph.erase(unit);
			unit = graph.begin();
		} else {
			++unit;
		}
	}
}

// The units of all circles, and those on a way from one circle to another: what is left when units that include none of
// the rest are taken away, and then units that none of the rest includes.
Graph circles_in(Graph graph)
{
	erase_each(graph, [&graph](const auto &unit) {
		return std::ranges::none_of(unit.second, [&](const std::string &name) { return graph.contains(name); });
	});
	erase_each(graph, [&graph](const auto &unit) {
		return std::ranges::none_of(graph,
					    [&](const auto &other) { return other.second.contains(unit.first); });
	});
	return graph;
}

// --- The checks see what they check

TEST(Components, AreAllThereAndHaveSources)
{
	std::set<std::string> folders;
	for (const auto &entry : fs::directory_iterator(root / "src")) {
		if (entry.is_directory())
			folders.insert(entry.path().filename().string());
	}
	EXPECT_EQ(folders, components);
	for (const std::string &component : components)
		EXPECT_FALSE(includes_in(root / "src" / component).empty()) << component;
}

TEST(Components, ShowTheirKnownNeighbors)
{
	EXPECT_EQ(component_of("panel/dock/dock_host.h"), "panel");
	EXPECT_EQ(component_of("util/platform.h"), "");
	EXPECT_TRUE(is_of_qt("QWidget") && is_of_qt("QtTest/QTest") && !is_of_qt("algorithm"));
	EXPECT_TRUE(is_of_obs("obs-data.h") && is_of_obs("util/base.h") && !is_of_obs("platform.h"));
}

TEST(Components, AreFoundInACircle)
{
	const Graph circle = {{"a", {"b"}}, {"b", {"c"}}, {"c", {"b"}}, {"d", {}}};
	EXPECT_EQ(circles_in(circle), (Graph{{"b", {"c"}}, {"c", {"b"}}}));
	EXPECT_EQ(circles_in({{"a", {"b", "c"}}, {"b", {"c"}}}), Graph());
	EXPECT_TRUE(units_in(root / "src").at("filter/frame_path").contains("filter/frame_guard"));
}

// --- One direction

TEST(Components, ModuleUsesFilterHostAndTheOuterHeadersOfPanelAndUpdate)
{
	EXPECT_EQ(
		into_other_components("module", {"filter", "host", "panel/dock/dock_host.h", "update/update_check.h"}),
		None());
}

TEST(Components, FilterUsesParamsHostPlatformAndTheUpdateState)
{
	EXPECT_EQ(into_other_components("filter", {"params", "host", "update/update_check.h", "platform/platform.h"}),
		  None());
}

TEST(Components, PanelUsesParamsHostFourHeadersOfTheFilterAndTheUpdateState)
{
	EXPECT_EQ(into_other_components("panel", {"params", "host", "filter/effects_hotkeys.h",
						  "filter/engine_capabilities.h", "filter/filter_registry.h",
						  "filter/original_view.h", "update/update_check.h", "platform"}),
		  None());
}

// Texts, values, what pages are made of, pages, the sets with names, the whole panel, and the dock that it is in.
TEST(Components, FoldersOfThePanelIncludeOnlyThoseBelow)
{
	const std::vector<std::string> order = {"text", "model", "widgets", "pages", "looks", "", "dock"};
	const auto height_of = [&order](const fs::path &file) {
		return std::ranges::find(order, file.parent_path().string()) - order.begin();
	};
	for (const Include &include : includes_in(root / "src/panel")) {
		const fs::path file = fs::relative(root / include.file, root / "src/panel");
		EXPECT_LT(height_of(file), std::ssize(order)) << include.file;
		if (component_of(include.name) == "panel") {
			EXPECT_LE(height_of(fs::relative(include.name, "panel")), height_of(file)) << include;
		}
	}
}

TEST(Components, ParamsUsesHostAlone)
{
	EXPECT_EQ(into_other_components("params", {"host"}), None());
}

TEST(Components, UpdateUsesHostAndPlatformAlone)
{
	EXPECT_EQ(into_other_components("update", {"host", "platform"}), None());
}

TEST(Components, HostUsesNoOtherComponent)
{
	EXPECT_EQ(into_other_components("host", {}), None());
}

TEST(Components, PlatformUsesNoOtherComponentAndNotObs)
{
	EXPECT_EQ(into_other_components("platform", {}), None());
	EXPECT_EQ(matching(root / "src/platform", is_of_obs), None());
}

TEST(Components, QtIsInThePanelAlone)
{
	for (const std::string &component : components) {
		if (component != "panel") {
			EXPECT_EQ(matching(root / "src" / component, is_of_qt), None());
		}
	}
	EXPECT_EQ(matching(root / "engine", is_of_qt), None());
}

TEST(Components, ThePanelsOuterHeaderIsFreeOfQt)
{
	std::vector<Include> wrong = matching(root / "src/panel", is_of_qt);
	std::erase_if(wrong, [](const Include &include) { return include.file != "src/panel/dock/dock_host.h"; });
	EXPECT_EQ(wrong, None());
}

TEST(Components, TheEngineKnowsNeitherObsNorAnyComponent)
{
	EXPECT_EQ(matching(root / "engine", is_of_obs), None());
	std::vector<Include> wrong = includes_in(root / "engine");
	std::erase_if(wrong, [](const Include &include) { return component_of(include.name).empty(); });
	EXPECT_EQ(wrong, None());
}

TEST(Components, TheEngineIsKnownByItsHeaderAlone)
{
	const fs::path engine_sources = root / "engine/src";
	std::vector<Include> wrong = includes_in(root / "src");
	std::erase_if(wrong, [&](const Include &include) { return !fs::exists(engine_sources / include.name); });
	EXPECT_EQ(wrong, None());
}

TEST(Components, HaveNoFilesThatIncludeEachOther)
{
	EXPECT_EQ(circles_in(units_in(root / "src")), Graph());
	EXPECT_EQ(circles_in(units_in(root / "engine/src")), Graph());
}

} // namespace
