// SPDX-License-Identifier: GPL-2.0-or-later
#include "driver.h"
#include "probe_case.h"
#include "report.h"

#include <obs-frontend-api.h>

namespace kalvio::probe {

namespace {

int filters_on(obs_source_t *source)
{
	int count = 0;
	obs_source_enum_filters(
		source, [](obs_source_t *, obs_source_t *, void *n) { ++*static_cast<int *>(n); }, &count);
	return count;
}

// Filters are freed on a thread of OBS's own, some time after the last reference is gone.
void check_engines(uint64_t expected, const QString &when)
{
	wait_until([&] { return frame_count().engines == expected; });
	check(frame_count().engines == expected, "one engine a filter: " + when,
	      QString::number(frame_count().engines));
}

OBSSourceAutoRelease add_picture_source(const char *name)
{
	const OBSDataAutoRelease settings = obs_data_create();
	obs_data_set_string(settings, "file", setting("KALVIO_PROBE_PICTURE").toUtf8().constData());
	obs_source_t *const source = obs_source_create("image_source", name, settings, nullptr);
	const OBSSceneAutoRelease scene = current_scene();
	obs_scene_add(scene, source);
	return source;
}

void filters_come_and_go()
{
	const OBSSourceAutoRelease source = scene_source();
	check_engines(1, "at the start");
	for (int round = 0; round < 10; ++round) {
		OBSSourceAutoRelease first = kalvio_filter_of(source);
		obs_source_filter_remove(source, first);
		first = nullptr;
		check_engines(0, "filter removed");
		const OBSSourceAutoRelease again = add_filter(source, "Again");
		check_frames_are_processed(1);
	}
	check_engines(1, "after ten rounds");
	check_filtered(source, "after ten rounds");
	OBSSourceAutoRelease last = kalvio_filter_of(source);
	obs_source_filter_remove(source, last);
	last = nullptr;
	check_unfiltered(source, "filter removed");
	check_no_frames_are_processed();
}

void copied_filters_work()
{
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease other = add_picture_source("Other");
	check(wait_until([&] { return obs_source_get_width(other) != 0; }), "the other source is there");
	check_unfiltered(other, "before copying");
	obs_source_copy_filters(other, source);
	check(filters_on(other) == 1, "the filter was copied", QString::number(filters_on(other)));
	check_engines(2, "after copying");
	check_filtered(other, "after copying");
	check(largest_difference(screenshot(source), screenshot(other)) == 0, "both sources look the same");

	// Each filter is its own: what happens to the copy leaves the first alone.
	const OBSSourceAutoRelease copy = kalvio_filter_of(other);
	obs_source_set_name(copy, "Renamed");
	obs_source_filter_remove(other, copy);
	check_unfiltered(other, "copy removed");
	check_filtered(source, "copy removed");
}

void duplicated_source_keeps_its_filter()
{
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease duplicate = obs_source_duplicate(source, "Duplicate", false);
	check(duplicate.Get() != source.Get() && filters_on(duplicate) == 1, "the duplicate has a filter of its own");
	const OBSSceneAutoRelease scene = current_scene();
	obs_sceneitem_t *const item = obs_scene_add(scene, duplicate);
	check_engines(2, "with the duplicate");
	check(wait_until([&] { return obs_source_get_width(duplicate) != 0; }), "the duplicate is shown");
	check_filtered(duplicate, "duplicate");
	obs_sceneitem_remove(item);
}

void two_filters_on_one_source_work()
{
	const OBSSourceAutoRelease source = scene_source();
	const QImage once = screenshot(source);
	const OBSSourceAutoRelease second = add_filter(source, "Second");
	check_engines(2, "two on one source");
	check_frames_are_processed(4);
	const QImage twice = screenshot(source);
	const int difference = largest_difference(once, twice);
	check(difference > 0 && difference <= 255, "the second filter works on the picture of the first",
	      QString::number(difference));
	obs_source_filter_set_order(source, second, OBS_ORDER_MOVE_TOP);
	check_frames_are_processed(4);
	check_filtered(source, "order changed");
}

void filter_on_scene_works()
{
	const OBSSourceAutoRelease source = scene_source();
	OBSSourceAutoRelease own = kalvio_filter_of(source);
	obs_source_filter_remove(source, own);
	own = nullptr;
	const OBSSourceAutoRelease scene = obs_frontend_get_current_scene();
	const QImage before = screenshot(scene);
	const OBSSourceAutoRelease filter = add_filter(scene, "On the scene");
	check_frames_are_processed();
	const int difference = largest_difference(before, screenshot(scene));
	check(difference >= 8 && difference <= 255, "the scene is visibly changed", QString::number(difference));
}

void studio_mode_works()
{
	const OBSSourceAutoRelease source = scene_source();
	for (const bool on : {true, false, true}) {
		obs_frontend_set_preview_program_mode(on);
		check(obs_frontend_preview_program_mode_active() == on, "studio mode switches");
		check_frames_are_processed(4);
	}
	obs_frontend_preview_program_trigger_transition();
	check_frames_are_processed(15);
	obs_frontend_set_preview_program_mode(false);
	check_filtered(source, "after studio mode");
}

constexpr ProbeCase cases[] = {
	{"FiltersComeAndGo", filters_come_and_go},
	{"CopiedFiltersWork", copied_filters_work},
	{"DuplicatedSourceKeepsItsFilter", duplicated_source_keeps_its_filter},
	{"TwoFiltersOnOneSourceWork", two_filters_on_one_source_work},
	{"FilterOnSceneWorks", filter_on_scene_works},
	{"StudioModeWorks", studio_mode_works},
};

} // namespace

std::span<const ProbeCase> filter_cases()
{
	return cases;
}

} // namespace kalvio::probe
