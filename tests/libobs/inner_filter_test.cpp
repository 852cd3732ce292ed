// SPDX-License-Identifier: GPL-2.0-or-later
#include "libobs/inner_filter_test.h"

#include "filter/filter_registry.h"
#include "filter/filter_source.h"
#include "kit/seam_doubles.h"

#include <filesystem>
#include <fstream>
#include <obs-module.h>
#include <stdexcept>

namespace kalvio::test {

namespace {

obs_module_t *opened_module = nullptr;

} // namespace

void InnerFilterTest::SetUp()
{
	reset_recording_engine();
	reset_seams();
	call_journal().reset();
	plugin_.add_placeholder_bundle();
	LibobsTest::SetUp();
	opened_module = session().module();
	const obs_source_info info = filter_source_info();
	obs_register_source_s(&info, sizeof(info));
}

void InnerFilterTest::TearDown()
{
	LibobsTest::TearDown();
	EXPECT_EQ(live_engine_count(), 0);
	EXPECT_EQ(engine_misuse(), std::vector<std::string>());
	EXPECT_EQ(registered_filter_names(), std::vector<std::string>());
}

SessionOptions InnerFilterTest::with_plugin() const
{
	SessionOptions options;
	options.plugin = plugin_.files();
	options.init_module = false;
	options.post_load = false;
	return options;
}

std::string InnerFilterTest::add_data_file(const std::string &relative_path) const
{
	const std::filesystem::path path = plugin_.files().data_folder / relative_path;
	std::filesystem::create_directories(path.parent_path());
	if (!std::ofstream(path))
		throw std::runtime_error("cannot write " + path.string());
	return path.string();
}

} // namespace kalvio::test

obs_module_t *obs_current_module(void)
{
	return kalvio::test::opened_module;
}

const char *obs_module_text(const char *lookup_string)
{
	return lookup_string;
}
