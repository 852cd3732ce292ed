// SPDX-License-Identifier: GPL-2.0-or-later
#include "dock_fixture.h"

#include "filter/filter_registry.h"
#include "kit/config_double.h"
#include "kit/host_hotkeys.h"
#include "panel/model/panel_model.h"

#include <filesystem>

// Calls of the host's front end and of the file system that fail under a living panel.
namespace kalvio::test {
namespace {

constexpr const char *off = "Kalvio.AllEffectsOff";

class DockFaults : public DockTest {
protected:
	DockFaults() { register_filter(filter.handle()); }
	~DockFaults() override
	{
		unregister_filter(filter.handle());
		refuse_hotkeys(false);
	}

	// Without what the update check says at any moment.
	std::vector<LogLine> lines() const
	{
		std::vector<LogLine> lines = log.product_lines();
		std::erase_if(lines,
			      [](const LogLine &line) { return line.text.starts_with("[Kalvio] update check"); });
		return lines;
	}

	// A change in the panel arrives at the filter, and the log has no line but that of the dock.
	void expect_panel_works()
	{
		fire(*poll_timer());
		panel_model().parameters.skin.smoothing = 0.75F;
		pushParameters();
		EXPECT_EQ(obs_data_get_double(filter.settings, "smoothing"), 0.75);
		EXPECT_EQ(lines(), (std::vector<LogLine>{{LOG_INFO, "[Kalvio] Qt dock added"}}));
	}

	FakeSource filter{"Camera"};
};

TEST_F(DockFaults, AHostWithoutAPlaceInItsMenuHasTheDock)
{
	frontend->refuses_menu_entries = true;
	start();
	EXPECT_EQ(frontend->tools_titles.size(), 1U);
	EXPECT_FALSE(frontend->tools_entry());
	expect_panel_works();
}

TEST_F(DockFaults, AHostThatGivesNoHotkeysHasTheDockAndTheirBindingsStay)
{
	const std::string text = R"({"Kalvio.AllEffectsOff":[{"key":"OBS_KEY_F9"}]})";
	const std::string path = folder.write("config/hotkeys.json", text);
	refuse_hotkeys(true);
	start();
	EXPECT_FALSE(has_hotkey(off));
	expect_panel_works();
	restart();
	EXPECT_FALSE(has_hotkey(off));
	quit();

	refuse_hotkeys(false);
	frontend = std::make_unique<FrontendDouble>();
	start();
	EXPECT_EQ(bound_key(off), "OBS_KEY_F9");
}

TEST_F(DockFaults, BindingsThatCannotBeWrittenAreWrittenAtTheEnd)
{
	const std::string blocker = folder.write("config", "a file where the folder should be");
	start();
	bind_hotkey(off, "OBS_KEY_F9");
	for (int poll = 0; poll < 20; ++poll)
		fire(*poll_timer());
	expect_panel_works();
	EXPECT_TRUE(std::filesystem::is_regular_file(blocker));

	std::filesystem::remove(blocker);
	restart();
	EXPECT_EQ(bound_key(off), "OBS_KEY_F9");
}

TEST_F(DockFaults, BindingsThatCanNeverBeWrittenAreSilent)
{
	folder.write("config", "a file where the folder should be");
	start();
	bind_hotkey(off, "OBS_KEY_F9");
	expect_panel_works();
	log.clear();
	quit();
	EXPECT_EQ(lines(), std::vector<LogLine>());
}

TEST_F(DockFaults, AHostWithoutASceneIsFollowedAgainWhenItHasOne)
{
	write_preferences(R"({"follow_sources": true})");
	FakeSource camera("Camera's source");
	filter.put_on(camera);
	frontend->program_items = {{camera.handle(), true}};
	frontend->has_no_scene = true;
	start();
	for (const bool is_studio_mode : {false, true}) {
		frontend->is_studio_mode = is_studio_mode;
		fire(*poll_timer());
	}
	EXPECT_EQ(panel_model().followed_source, "");
	frontend->is_studio_mode = false;
	frontend->has_no_scene = false;
	fire(*poll_timer());
	EXPECT_EQ(panel_model().followed_source, "Camera's source");
	filter.remove_from_source();
}

} // namespace
} // namespace kalvio::test
