// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_properties.h"

#include "filter/filter_fixture.h"

#include <memory>

namespace {

using namespace kalvio;
using namespace kalvio::test;

struct PropertiesDeleter {
	void operator()(obs_properties_t *properties) const { obs_properties_destroy(properties); }
};
using Properties = std::unique_ptr<obs_properties_t, PropertiesDeleter>;

class FilterProperties : public FilterFixture {
protected:
	Properties get(void *data) { return Properties(info_.get_properties(data)); }

	static std::vector<std::string> names(const Properties &properties)
	{
		std::vector<std::string> result;
		obs_property_t *property = obs_properties_first(properties.get());
		while (property) {
			result.push_back(obs_property_name(property));
			obs_property_next(&property);
		}
		return result;
	}
};

TEST_F(FilterProperties, HoldAHintAndAButton)
{
	create();
	EXPECT_EQ(names(get(filter_.data)), (std::vector<std::string>{"panel_hint", "open_panel"}));
}

TEST_F(FilterProperties, TheHintIsAnInformationThatDoesNotWrap)
{
	const Properties properties = get(nullptr);
	obs_property_t *hint = obs_properties_get(properties.get(), "panel_hint");
	EXPECT_EQ(obs_property_get_type(hint), OBS_PROPERTY_TEXT);
	EXPECT_EQ(obs_property_text_type(hint), OBS_TEXT_INFO);
	EXPECT_FALSE(obs_property_text_info_word_wrap(hint));
}

TEST_F(FilterProperties, TheButtonIsAButton)
{
	const Properties properties = get(nullptr);
	EXPECT_EQ(obs_property_get_type(obs_properties_get(properties.get(), "open_panel")), OBS_PROPERTY_BUTTON);
}

TEST_F(FilterProperties, TheLabelsAreTheModulesTexts)
{
	set_module_text("Kalvio.PropertiesHint", "Усі ефекти — на панелі");
	set_module_text("Kalvio.OpenPanel", "パネルを開く");
	const Properties properties = get(nullptr);
	EXPECT_STREQ(obs_property_description(obs_properties_get(properties.get(), "panel_hint")),
		     "Усі ефекти — на панелі");
	EXPECT_STREQ(obs_property_description(obs_properties_get(properties.get(), "open_panel")), "パネルを開く");
}

TEST_F(FilterProperties, WithoutTextsTheLabelsAreTheKeys)
{
	const Properties properties = get(nullptr);
	EXPECT_STREQ(obs_property_description(obs_properties_get(properties.get(), "panel_hint")),
		     "Kalvio.PropertiesHint");
	EXPECT_STREQ(obs_property_description(obs_properties_get(properties.get(), "open_panel")), "Kalvio.OpenPanel");
}

TEST_F(FilterProperties, BuildingTheViewClearsATextStoredUnderTheHint)
{
	create();
	obs_data_set_string(filter_.settings, "panel_hint", "an old hint");
	get(filter_.data);
	EXPECT_STREQ(obs_data_get_string(filter_.settings, "panel_hint"), "");
	EXPECT_TRUE(obs_data_has_user_value(filter_.settings, "panel_hint"));
}

TEST_F(FilterProperties, WithNothingStoredUnderTheHintNothingIsWritten)
{
	create();
	get(filter_.data);
	EXPECT_FALSE(obs_data_has_user_value(filter_.settings, "panel_hint"));
}

TEST_F(FilterProperties, WorkWithoutAnInstanceOrItsSource)
{
	FilterInstance without_source;
	EXPECT_EQ(names(get(&without_source)), (std::vector<std::string>{"panel_hint", "open_panel"}));
	EXPECT_EQ(names(get(nullptr)), (std::vector<std::string>{"panel_hint", "open_panel"}));
	EXPECT_EQ(call_journal().count("obs_source_get_settings"), 0u);
}

TEST_F(FilterProperties, BuildingTheViewHasItCenteredOnceAndLeavesTheInstanceUnlocked)
{
	FilterInstance &filter = create();
	const std::lock_guard lock(filter.mutex); // building the view must not wait for it
	get(filter_.data);
	EXPECT_EQ(names_of(call_journal().calls(CallOrigin::Seam)), std::vector<std::string>{"schedule_prop_center"});
}

TEST_F(FilterProperties, PressingTheButtonShowsTheDockAndLeavesTheViewAsItIs)
{
	const Properties properties = get(nullptr);
	obs_property_t *button = obs_properties_get(properties.get(), "open_panel");
	for (int press = 1; press <= 2; ++press) {
		EXPECT_FALSE(obs_property_button_clicked(button, nullptr));
		EXPECT_EQ(call_journal().count("show_dock"), static_cast<size_t>(press));
	}
}

} // namespace
