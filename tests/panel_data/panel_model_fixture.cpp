// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel_model_fixture.h"

#include "filter/filter_registry.h"
#include "kit/history_double.h"

#include <obs.hpp>

namespace kalvio::test {

PanelModelTest::PanelModelTest()
{
	host_double().reset();
	history_double().reset();
	set_config_folder(folder.file("config"));
	set_update_status({});
	panel_model() = {};
	ui_preferences() = {};
}

PanelModelTest::~PanelModelTest()
{
	remove_all_filters();
	EXPECT_TRUE(host_double().misuse().empty());
}

FakeSource &PanelModelTest::add_filter(const std::string &source_name, double smoothing)
{
	auto placed = std::make_unique<Placed>();
	placed->source = std::make_unique<FakeSource>(source_name);
	placed->filter = std::make_unique<FakeSource>("Kalvio Beauty");
	placed->filter->parent = placed->source.get();
	register_defaults(placed->filter->settings);
	obs_data_set_double(placed->filter->settings, "smoothing", smoothing);
	placed->filter->data = placed.get();
	placed->filter->info.update = [](void *data, obs_data_t *) {
		++static_cast<Placed *>(data)->updates;
	};

	FakeSource &filter = *placed->filter;
	register_filter(filter.handle());
	placed_.emplace(&filter, std::move(placed));
	return filter;
}

void PanelModelTest::remove_filter(FakeSource &filter)
{
	unregister_filter(filter.handle());
	placed_.erase(&filter);
}

void PanelModelTest::remove_all_filters()
{
	while (!placed_.empty())
		remove_filter(*placed_.begin()->first);
}

double PanelModelTest::smoothing_of(FakeSource &filter)
{
	return obs_data_get_double(filter.settings, "smoothing");
}

int PanelModelTest::take_updates(FakeSource &filter)
{
	filter.tick();
	return std::exchange(placed_.at(&filter)->updates, 0);
}

void PanelModelTest::drive_all(bool all)
{
	const bool before = std::exchange(ui_preferences().apply_global, all);
	select_target(before, panel_model().selected_index);
}

void PanelModelTest::choose(int index)
{
	const bool before = std::exchange(ui_preferences().apply_global, false);
	const int index_before = std::exchange(panel_model().selected_index, index);
	select_target(before, index_before);
}

bool PanelModelTest::saved_apply_global() const
{
	const OBSDataAutoRelease file = obs_data_create_from_json_file(folder.file("config/ui.json").c_str());
	return file && obs_data_get_bool(file, "apply_global");
}

} // namespace kalvio::test
