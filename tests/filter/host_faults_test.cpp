// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_fixture.h"
#include "filter/filter_registry.h"

#include <ostream>

// Calls of the host that fail under a living filter, once and always: the source stays visible, the settings stay as
// they are, the log has its line and no other, and as soon as the call works again so does the filter.
namespace {

using namespace kalvio;
using namespace kalvio::test;

using Lines = std::vector<LogLine>;

enum class Shown {
	Processed,
	Unprocessed,
	Previous, // what came through last: a failure inside a function that returns nothing cannot be seen
	Nothing   // nor can this one
};

struct Fault {
	const char *function;
	Shown shown;
};

void PrintTo(const Fault &fault, std::ostream *out)
{
	*out << fault.function;
}

class HostFaults : public FilterFixture, public testing::WithParamInterface<Fault> {
protected:
	void SetUp() override
	{
		set_engine_script({.output = EngineOutput::Invert});
		create();
		update_double("smoothing", 0.25);
		last_ = render_new_picture();
		expect_picture(Shown::Processed, last_);
		stored_ = obs_data_get_json(filter_.settings);
		log_.clear();
	}

	// A frame of a picture that was not shown before.
	std::vector<Drawn> render_new_picture()
	{
		for (uint8_t &value : camera_.picture.rgba)
			value = static_cast<uint8_t>(value + 37);
		return render();
	}

	void expect_picture(Shown shown, const std::vector<Drawn> &screen) const
	{
		if (shown == Shown::Nothing) {
			EXPECT_TRUE(screen.empty());
			return;
		}
		ASSERT_EQ(screen.size(), 1U);
		if (shown == Shown::Processed)
			EXPECT_EQ(screen[0].picture, engine_inverted(camera_.picture));
		else if (shown == Shown::Unprocessed)
			EXPECT_EQ(screen[0].picture, camera_.picture);
		else
			EXPECT_EQ(screen[0].picture, last_.at(0).picture);
	}

	void expect_unharmed()
	{
		EXPECT_EQ(obs_data_get_json(filter_.settings), stored_);
		EXPECT_EQ(log_.lines(), Lines());
		EXPECT_FALSE(is_locked(instance()));
		EXPECT_TRUE(instance().enabled);
	}

	std::vector<Drawn> last_;
	std::string stored_;
};

TEST_P(HostFaults, AFailureIsOverWithItsFrame)
{
	host_double().fail(GetParam().function, 1);
	expect_picture(GetParam().shown, render_new_picture());
	expect_picture(Shown::Processed, render_new_picture());
	expect_unharmed();
}

TEST_P(HostFaults, AFailureThatStaysIsOverWhenItEnds)
{
	host_double().fail(GetParam().function);
	for (int frame = 0; frame < 20; ++frame)
		expect_picture(GetParam().shown, render_new_picture());
	expect_unharmed();

	host_double().fail(GetParam().function, 0);
	expect_picture(Shown::Processed, render_new_picture());
	expect_unharmed();
}

INSTANTIATE_TEST_SUITE_P(Each, HostFaults,
			 testing::Values(Fault{"obs_get_base_effect", Shown::Unprocessed},
					 Fault{"gs_effect_get_param_by_name", Shown::Unprocessed},
					 Fault{"gs_effect_loop", Shown::Unprocessed},
					 Fault{"gs_stage_texture", Shown::Previous},
					 Fault{"gs_texture_set_image", Shown::Previous},
					 Fault{"gs_clear", Shown::Processed}, Fault{"gs_draw_sprite", Shown::Nothing},
					 Fault{"obs_source_get_name", Shown::Processed},
					 Fault{"obs_filter_get_target", Shown::Unprocessed}),
			 [](const auto &instance) { return std::string(instance.param.function); });

// --- What is asked when a filter or its engine is made

class HostFaultsAtTheStart : public FilterFixture {
protected:
	void SetUp() override { set_engine_script({.output = EngineOutput::Invert}); }

	void expect_processed(const std::vector<Drawn> &screen) const
	{
		ASSERT_EQ(screen.size(), 1U);
		EXPECT_EQ(screen[0].picture, engine_inverted(camera_.picture));
	}
};

TEST_F(HostFaultsAtTheStart, AFilterWithoutAWeakReferenceWorks)
{
	host_double().fail("obs_source_get_weak_source");
	create();
	EXPECT_EQ(registered_filter_names(), std::vector<std::string>{"Camera"});
	expect_processed(render());
	filter_.destroy_filter();
	EXPECT_EQ(registered_filter_names(), std::vector<std::string>());
}

TEST_F(HostFaultsAtTheStart, ASourceThatSendsNoSignalsIsDrawn)
{
	host_double().fail("obs_source_get_signal_handler");
	create();
	expect_processed(render());
	expect_processed(render());
	EXPECT_EQ(log_.lines(), (Lines{{LOG_INFO, "[Kalvio] processing GPU frames 16x8"}}));
}

TEST_F(HostFaultsAtTheStart, AnEngineThatIsMadeWithoutStoredSettingsLeavesTheFilterOn)
{
	remove_bundle();
	create();
	update_double("smoothing", 0.25);
	data_.write("resource.kld");
	host_double().fail("obs_source_get_settings", 1);
	expect_processed(render());
	EXPECT_TRUE(instance().enabled);
	EXPECT_EQ(obs_data_get_double(filter_.settings, "smoothing"), 0.25);
}

// --- What the panel and the properties ask for

TEST_F(HostFaultsAtTheStart, SettingsThatCannotBeReadAreNotTakenForDefaults)
{
	create();
	update_double("smoothing", 0.25);
	const OBSDataAutoRelease read = obs_data_create();
	host_double().fail("obs_source_get_settings", 1);
	EXPECT_FALSE(read_filter_settings_at(0, read));
	EXPECT_TRUE(read_filter_settings_at(0, read));
	EXPECT_EQ(obs_data_get_double(read, "smoothing"), 0.25);
}

TEST_F(HostFaultsAtTheStart, AResetWithoutTheCurrentSettingsStillSetsTheGivenOnes)
{
	create();
	update_double("smoothing", 0.25);
	const OBSDataAutoRelease wanted = obs_data_create();
	obs_data_set_double(wanted, "smoothing", 0.75);
	host_double().fail("obs_source_get_settings", 1);
	reset_filter_settings(instance().id, wanted);
	EXPECT_EQ(obs_data_get_double(filter_.settings, "smoothing"), 0.75);
}

TEST_F(HostFaultsAtTheStart, PropertiesOfAFilterWhoseSettingsCannotBeReadAreShown)
{
	create();
	host_double().fail("obs_source_get_settings", 1);
	obs_properties_t *properties = info_.get_properties(filter_.data);
	ASSERT_NE(properties, nullptr);
	EXPECT_NE(obs_properties_get(properties, "open_panel"), nullptr);
	obs_properties_destroy(properties);
	EXPECT_EQ(log_.lines(), Lines());
}

TEST_F(HostFaultsAtTheStart, AFilterThatHasNoParentForAMomentIsLeftAlone)
{
	create();
	expect_processed(render());
	host_double().fail("obs_filter_get_parent", 1);
	EXPECT_TRUE(render().empty());
	expect_processed(render());
}

} // namespace
