// SPDX-License-Identifier: GPL-2.0-or-later
#include "dock_fixture.h"
#include "kit/config_double.h"

#include <filesystem>

using namespace kalvio;
using namespace kalvio::test;

namespace {

struct AreaCase {
	const char *json;
	Qt::DockWidgetArea area;
};

class SavedAreaTest : public DockTest, public testing::WithParamInterface<AreaCase> {};

// Files that give the dock no place of its own.
class UselessFileTest : public DockTest, public testing::WithParamInterface<const char *> {};

} // namespace

TEST_P(SavedAreaTest, DockGoesToTheSavedSide)
{
	write_preferences(GetParam().json);
	start();
	EXPECT_FALSE(dock().isFloating());
	EXPECT_EQ(frontend->window()->dockWidgetArea(&dock()), GetParam().area);
}

constexpr AreaCase area_cases[] = {
	{R"({"dock_floating": false, "dock_area": 1})", Qt::LeftDockWidgetArea},
	{R"({"dock_floating": false, "dock_area": 2})", Qt::RightDockWidgetArea},
	{R"({"dock_floating": false, "dock_area": 4})", Qt::TopDockWidgetArea},
	{R"({"dock_floating": false, "dock_area": 8})", Qt::BottomDockWidgetArea},
	{R"({"dock_floating": false, "dock_area": 0})", Qt::RightDockWidgetArea},
	{R"({"dock_floating": false, "dock_area": 3})", Qt::RightDockWidgetArea},
	{R"({"dock_floating": false, "dock_area": 16})", Qt::RightDockWidgetArea},
	{R"({"dock_floating": false, "dock_area": -1})", Qt::RightDockWidgetArea},
	{R"({"dock_floating": false, "dock_area": 4294967297})", Qt::RightDockWidgetArea},
	{R"({"dock_floating": false})", Qt::RightDockWidgetArea},
	{R"({"dock_area": 1, "dock_w": 300, "dock_h": 300})", Qt::RightDockWidgetArea}, // nothing says it was saved
	{R"({"dock_floating": "no", "dock_area": "left"})", Qt::RightDockWidgetArea},
};

INSTANTIATE_TEST_SUITE_P(Files, SavedAreaTest, testing::ValuesIn(area_cases));

TEST_P(UselessFileTest, DockGoesToTheRight)
{
	write_preferences(GetParam());
	start();
	EXPECT_FALSE(dock().isFloating());
	EXPECT_FALSE(dock().isHidden());
	EXPECT_EQ(frontend->window()->dockWidgetArea(&dock()), Qt::RightDockWidgetArea);
}

INSTANTIATE_TEST_SUITE_P(Files, UselessFileTest, testing::Values("", "{", "[]", "{}", "\xff", R"({"dock_floating": )"));

TEST_F(DockTest, FirstStartDocksOnTheRightAndWritesNothing)
{
	start();
	EXPECT_FALSE(dock().isFloating());
	EXPECT_EQ(frontend->window()->dockWidgetArea(&dock()), Qt::RightDockWidgetArea);
	fire(*poll_timer());
	EXPECT_FALSE(std::filesystem::exists(folder.file("config/ui.json")));
}

TEST_F(DockTest, ExitSavesThePlace)
{
	start();
	const int width = dock().width();
	const int height = dock().height();
	quit();
	const OBSDataAutoRelease file = preferences();
	ASSERT_TRUE(file);
	EXPECT_FALSE(obs_data_get_bool(file, "dock_floating"));
	EXPECT_EQ(obs_data_get_int(file, "dock_area"), Qt::RightDockWidgetArea);
	EXPECT_EQ(obs_data_get_int(file, "dock_w"), width);
	EXPECT_EQ(obs_data_get_int(file, "dock_h"), height);
}

TEST_F(DockTest, HostsMovesBeforeItHasLoadedAreNotSaved)
{
	write_preferences(R"({"dock_floating": false, "dock_area": 1, "dock_w": 400, "dock_h": 600})");
	start_dock_host();
	dock().setFloating(false);
	frontend->window()->addDockWidget(Qt::BottomDockWidgetArea, &dock());
	frontend->send(OBS_FRONTEND_EVENT_FINISHED_LOADING);
	EXPECT_EQ(obs_data_get_int(preferences(), "dock_area"), Qt::LeftDockWidgetArea);
	run_event_loop();
	EXPECT_EQ(frontend->window()->dockWidgetArea(&dock()), Qt::LeftDockWidgetArea);
	EXPECT_EQ(obs_data_get_int(preferences(), "dock_w"), 400);
}

TEST_F(DockTest, EachMoveIsSavedAtOnce)
{
	start();
	float_at(120, 140, 420, 640);
	dock_at(Qt::LeftDockWidgetArea);
	OBSDataAutoRelease file = preferences();
	EXPECT_FALSE(obs_data_get_bool(file, "dock_floating"));
	EXPECT_EQ(obs_data_get_int(file, "dock_area"), Qt::LeftDockWidgetArea);
	dock_at(Qt::BottomDockWidgetArea);
	file = preferences();
	EXPECT_EQ(obs_data_get_int(file, "dock_area"), Qt::BottomDockWidgetArea);
	dock().setFloating(true);
	file = preferences();
	EXPECT_TRUE(obs_data_get_bool(file, "dock_floating"));
	EXPECT_EQ(obs_data_get_int(file, "dock_area"), Qt::BottomDockWidgetArea);
}

TEST_F(DockTest, SavingKeepsTheOtherKeysOfTheFile)
{
	write_preferences(R"({"open_on_startup": false, "apply_global": true, "lang": "de", "later": 5})");
	start();
	quit();
	const OBSDataAutoRelease file = preferences();
	EXPECT_FALSE(obs_data_get_bool(file, "open_on_startup"));
	EXPECT_TRUE(obs_data_get_bool(file, "apply_global"));
	EXPECT_STREQ(obs_data_get_string(file, "lang"), "de");
	EXPECT_EQ(obs_data_get_int(file, "later"), 5);
}

TEST_F(DockTest, EachSideSurvivesARestart)
{
	start();
	for (const Qt::DockWidgetArea area :
	     {Qt::LeftDockWidgetArea, Qt::TopDockWidgetArea, Qt::BottomDockWidgetArea, Qt::RightDockWidgetArea}) {
		dock_at(area);
		restart();
		EXPECT_FALSE(dock().isFloating());
		EXPECT_EQ(frontend->window()->dockWidgetArea(&dock()), area);
	}
}

TEST_F(DockTest, DockedWidthSurvivesARestart)
{
	start();
	frontend->window()->resizeDocks({&dock()}, {500}, Qt::Horizontal);
	run_event_loop();
	ASSERT_EQ(dock().width(), 500);
	restart();
	EXPECT_EQ(dock().width(), 500);
}

TEST_F(DockTest, FloatingPlaceSurvivesARestart)
{
	start();
	float_at(120, 140, 420, 640);
	for (int i = 0; i < 3; ++i) {
		restart();
		EXPECT_TRUE(dock().isFloating());
		EXPECT_EQ(dock().geometry(), QRect(120, 140, 420, 640));
	}
}

TEST_F(DockTest, DockedAgainKeepsTheFloatingPosition)
{
	start();
	float_at(120, 140, 420, 640);
	dock_at(Qt::LeftDockWidgetArea);
	quit();
	const OBSDataAutoRelease file = preferences();
	EXPECT_EQ(obs_data_get_int(file, "dock_x"), 120);
	EXPECT_EQ(obs_data_get_int(file, "dock_y"), 140);
	EXPECT_EQ(obs_data_get_int(file, "dock_area"), Qt::LeftDockWidgetArea);
	EXPECT_NE(obs_data_get_int(file, "dock_h"), 640);
}

TEST_F(DockTest, DockThatWasDraggedShutKeepsTheHostsSize)
{
	start();
	const int usual_width = dock().width();
	for (const char *json : {R"({"dock_floating": false, "dock_area": 2, "dock_w": 80, "dock_h": 500})",
				 R"({"dock_floating": false, "dock_area": 2, "dock_w": 600, "dock_h": 80})"}) {
		quit();
		write_preferences(json);
		frontend = std::make_unique<FrontendDouble>();
		start();
		EXPECT_EQ(dock().width(), usual_width);
	}
}

TEST_F(DockTest, FloatingDockWithoutASizeKeepsTheHostsGeometry)
{
	write_preferences(R"({"dock_floating": true, "dock_x": 7, "dock_y": 9, "dock_w": 0, "dock_h": 400})");
	start();
	EXPECT_TRUE(dock().isFloating());
	EXPECT_NE(dock().pos(), QPoint(7, 9));
}

TEST_F(DockTest, FloatingPositionOffTheScreenIsTakenAsItIs)
{
	write_preferences(R"({"dock_floating": true, "dock_x": -3000, "dock_y": 5000, "dock_w": 400, "dock_h": 500})");
	start();
	// Within what a window's frame may take.
	EXPECT_NEAR(dock().x(), -3000, 4);
	EXPECT_NEAR(dock().y(), 5000, 4);
}

TEST_F(DockTest, AbsurdNumbersAreTamed)
{
	for (const char *json :
	     {R"({"dock_floating": true, "dock_x": 9e18, "dock_y": -9223372036854775808, "dock_w": 2147483647,
		  "dock_h": 9223372036854775807})",
	      R"({"dock_floating": false, "dock_area": 2, "dock_w": 2147483647, "dock_h": 2147483647})",
	      R"({"dock_floating": true, "dock_w": -1, "dock_h": -2147483648})",
	      R"({"dock_floating": false, "dock_w": "wide", "dock_h": {}})"}) {
		write_preferences(json);
		start();
		ASSERT_TRUE(frontend->dock());
		EXPECT_FALSE(dock().isHidden());
		EXPECT_LE(dock().width(), 1 << 14);
		EXPECT_LE(dock().height(), 1 << 14);
		quit();
		frontend = std::make_unique<FrontendDouble>();
	}
}

TEST_F(DockTest, FolderInPlaceOfTheFileIsNoObstacle)
{
	std::filesystem::create_directories(folder.file("config/ui.json"));
	start();
	EXPECT_FALSE(dock().isHidden());
	quit();
	EXPECT_TRUE(std::filesystem::is_directory(folder.file("config/ui.json")));
}

TEST_F(DockTest, MissingConfigurationFolderIsNoObstacle)
{
	set_config_folder("");
	start();
	float_at(100, 100, 400, 600);
	quit();
	EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}
