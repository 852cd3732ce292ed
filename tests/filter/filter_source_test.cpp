// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/filter_source.h"

#include "filter/filter_fixture.h"
#include "filter/filter_registry.h"
#include "kit/heap_probe.h"
#include "params/parameter_schema.h"

#include <cstring>
#include <stdexcept>

namespace {

using namespace kalvio;
using namespace kalvio::test;

using Names = std::vector<std::string>;
using Labels = std::vector<std::string>;

// --- The registration record

TEST(FilterSource, IsAVideoFilterAndNothingElse)
{
	const obs_source_info info = filter_source_info();
	EXPECT_STREQ(info.id, "kalvio_filter");
	EXPECT_EQ(info.type, OBS_SOURCE_TYPE_FILTER);
	EXPECT_EQ(info.output_flags, static_cast<uint32_t>(OBS_SOURCE_VIDEO));
}

TEST(FilterSource, HasNineCallbacksAndLeavesEverythingElseZero)
{
	obs_source_info info = filter_source_info();
	EXPECT_NE(info.get_name, nullptr);
	EXPECT_NE(info.create, nullptr);
	EXPECT_NE(info.destroy, nullptr);
	EXPECT_NE(info.get_width, nullptr);
	EXPECT_NE(info.get_height, nullptr);
	EXPECT_NE(info.get_defaults, nullptr);
	EXPECT_NE(info.get_properties, nullptr);
	EXPECT_NE(info.update, nullptr);
	EXPECT_NE(info.video_render, nullptr);

	info.id = nullptr;
	info.type = OBS_SOURCE_TYPE_INPUT; // 0
	info.output_flags = 0;
	info.get_name = nullptr;
	info.create = nullptr;
	info.destroy = nullptr;
	info.get_width = nullptr;
	info.get_height = nullptr;
	info.get_defaults = nullptr;
	info.get_properties = nullptr;
	info.update = nullptr;
	info.video_render = nullptr;
	const obs_source_info zero = {};
	EXPECT_EQ(std::memcmp(&info, &zero, sizeof(zero)), 0);
}

TEST(FilterSource, ItsDefaultsAreThoseOfTheSchemaItself)
{
	const OBSDataAutoRelease expected = obs_data_create();
	register_defaults(expected);
	const OBSDataAutoRelease defaults = obs_data_create();
	filter_source_info().get_defaults(defaults);
	int keys = 0;
	for (obs_data_item_t *item = obs_data_first(expected); item; obs_data_item_next(&item)) {
		const char *key = obs_data_item_get_name(item);
		EXPECT_TRUE(obs_data_has_default_value(defaults, key)) << key;
		EXPECT_EQ(obs_data_get_default_double(defaults, key), obs_data_get_default_double(expected, key))
			<< key;
		++keys;
	}
	EXPECT_EQ(keys, 75);
}

// --- Exceptions: none reaches the host

class FilterExceptions : public FilterFixture {
protected:
	~FilterExceptions() override { cancel_heap_failure(); }

	void expect_error_line()
	{
		std::vector<LogLine> lines = log_.product_lines();
		std::erase_if(lines, [](const LogLine &line) { return line.level != LOG_ERROR; });
		EXPECT_EQ(lines.size(), 1u);
	}
};

TEST_F(FilterExceptions, OutOfMemoryWhileRenderingShowsTheSourceAndTheNextFrameWorks)
{
	create();
	fail_next_heap_allocation(16 * 8 * 4); // the pixel buffer, with the staging surface mapped
	const std::vector<Drawn> screen = render();
	EXPECT_FALSE(heap_failure_is_pending());
	EXPECT_EQ(labels_of(screen), Labels{"Camera"});
	EXPECT_FALSE(is_locked(instance()));
	expect_error_line();

	forget();
	EXPECT_EQ(labels_of(render()), Labels{"texture 1"});
}

TEST_F(FilterExceptions, OutOfMemoryForTheSecondBufferShowsTheSourceAndTheNextFrameWorks)
{
	FilterInstance &filter = create();
	filter.input_pixels.reserve(16 * 8 * 4);
	fail_next_heap_allocation(16 * 8 * 4);
	EXPECT_EQ(labels_of(render()), Labels{"Camera"});
	EXPECT_FALSE(heap_failure_is_pending());
	EXPECT_EQ(labels_of(render()), Labels{"texture 1"});
}

TEST_F(FilterExceptions, OutOfMemoryWhileTheEngineIsMadeInAFrameShowsTheSource)
{
	remove_bundle();
	create();
	data_.write("resource.kld");
	host_double().throw_in("obs_find_module_file");
	EXPECT_EQ(labels_of(render()), Labels{"Camera"});
	EXPECT_FALSE(is_locked(instance()));
	expect_error_line();
	EXPECT_EQ(labels_of(render()), Labels{"texture 1"});
}

TEST_F(FilterExceptions, AnythingThrownWhileRenderingIsCaught)
{
	create();
	host_double().on_call("obs_filter_get_target", [] { throw 5; });
	EXPECT_EQ(labels_of(render()), Labels{"Camera"});
	expect_error_line();
}

TEST_F(FilterExceptions, CreateThatThrowsMakesNoFilterAndLeavesNoEngine)
{
	host_double().throw_in("obs_source_get_settings"); // the engine exists by then
	EXPECT_EQ(filter_.create_filter(info_), nullptr);
	EXPECT_EQ(registered_filter_names(), Names());
	EXPECT_EQ(live_engine_count(), 0);
}

// The host never calls destroy for a filter that create did not make: its entry would stay for ever.
TEST_F(FilterExceptions, CreateThatThrowsAtItsEndIsNotListed)
{
	set_frontend_ready(true);
	on_show_dock([] { throw std::bad_alloc(); });
	const bool was_created = filter_.create_filter(info_) != nullptr;
	EXPECT_EQ(registered_filter_names(), was_created ? Names{"Camera"} : Names());
	expect_error_line();
}

TEST_F(FilterExceptions, UpdateThatThrowsLeavesTheFilterUsable)
{
	create();
	host_double().throw_in("obs_find_module_file");
	update_string("filter_id", "vivid");
	EXPECT_FALSE(is_locked(instance()));
	expect_error_line();
	EXPECT_EQ(labels_of(render()), Labels{"texture 1"});
}

TEST_F(FilterExceptions, AResourceWhoseLoadThrewIsLoadedByTheNextUpdate)
{
	create();
	const std::string vivid = data_.write("filters/vivid/vivid.kld");
	host_double().throw_in("obs_find_module_file");
	update_string("filter_id", "vivid");
	update_nothing();
	EXPECT_EQ(call_journal().calls_named("kl_set_filter"), (std::vector<Call>{{"kl_set_filter", {vivid}}}));
}

TEST_F(FilterExceptions, TheSizesAreZeroWhenTheyThrow)
{
	create();
	host_double().throw_in("obs_source_get_base_width");
	EXPECT_EQ(info_.get_width(filter_.data), 0u);
	host_double().throw_in("obs_source_get_base_height");
	EXPECT_EQ(info_.get_height(filter_.data), 0u);
}

TEST_F(FilterExceptions, PropertiesThatThrowAreNull)
{
	create();
	host_double().throw_in("obs_source_get_settings");
	EXPECT_EQ(info_.get_properties(filter_.data), nullptr);
	expect_error_line();
}

TEST_F(FilterExceptions, TheButtonCatchesWhatTheDockThrows)
{
	on_show_dock([] { throw std::runtime_error("no dock"); });
	obs_properties_t *properties = info_.get_properties(nullptr);
	EXPECT_FALSE(obs_property_button_clicked(obs_properties_get(properties, "open_panel"), nullptr));
	obs_properties_destroy(properties);
	expect_error_line();
}

} // namespace
