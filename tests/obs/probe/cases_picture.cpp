// SPDX-License-Identifier: GPL-2.0-or-later
#include "driver.h"
#include "panel_driver.h"
#include "probe_case.h"
#include "report.h"
#include "test_clip.h"

#include <QSlider>

namespace kalvio::probe {

namespace {

void filter_processes_picture()
{
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease filter = kalvio_filter_of(source);
	if (!check(filter, "the scene's source has the filter"))
		return;
	check_frames_are_processed();
	check_filtered(source, "filter on");
	obs_source_set_enabled(filter, false);
	check_no_frames_are_processed();
	check_unfiltered(source, "filter switched off in OBS");
	obs_source_set_enabled(filter, true);
	check_frames_are_processed();
	check_filtered(source, "filter on again");
}

void neutral_filter_keeps_every_pixel()
{
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease filter = kalvio_filter_of(source);
	const OBSDataAutoRelease no_settings = obs_data_create();
	obs_source_reset_settings(filter, no_settings);
	check_frames_are_processed();
	check_unfiltered(source, "all settings at their defaults");
}

void enabled_setting_off_keeps_every_pixel()
{
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease filter = kalvio_filter_of(source);
	check_frames_are_processed();
	set_setting(filter, "enabled", false);
	// The host hands a setting over at its next tick: look only when the frames have stopped.
	check(wait_until([last = uint64_t(0), drawn = uint32_t(0)]() mutable {
		      const uint32_t frames = obs_get_total_frames();
		      if (frames < drawn + 3)
			      return false;
		      const bool stopped = drawn != 0 && frame_count().processed == last;
		      last = frame_count().processed;
		      drawn = frames;
		      return stopped;
	      }),
	      "processing stops");
	check_no_frames_are_processed();
	check_unfiltered(source, "\"enabled\" is false");
	set_setting(filter, "enabled", true);
	check_frames_are_processed();
	check_filtered(source, "\"enabled\" is true again");
}

void changed_setting_changes_picture()
{
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease filter = kalvio_filter_of(source);
	check_frames_are_processed();
	const QImage strong = screenshot(source);
	const OBSDataAutoRelease no_settings = obs_data_create();
	obs_source_reset_settings(filter, no_settings);
	set_setting(filter, "whitening", 0.3);
	check_frames_are_processed();
	const QImage weak = screenshot(source);
	check(largest_difference(strong, weak) > 0 && !weak.isNull(), "another setting gives another picture");
	check_filtered(source, "weak whitening");
}

bool is_still(uint64_t frame, uint64_t frames)
{
	for (uint64_t back = 0; back < frames; ++back) {
		if (kalvio_probe_changed_pixels(frame - back) > 0)
			return false;
	}
	return true;
}

// The face is followed already, and at rest.
void shape_slider_changes_the_next_frame()
{
	constexpr uint64_t frames_to_settle = 60;
	constexpr uint64_t frames_at_rest = 20;
	check_frames_are_processed(frames_to_settle);
	check(wait_until([] { return is_still(frame_count().processed, frames_at_rest); }), "the picture is at rest");
	show_page(1);
	QSlider *slider = nullptr;
	for (auto *candidate : panel()->findChildren<QSlider *>())
		if (candidate->isVisible() && candidate->value() == 10)
			slider = candidate;
	if (!check(slider, "the page of the face has the slider that the scene has moved"))
		return;
	const uint64_t before = frame_count().processed;
	slider->setValue(slider->maximum());
	check_frames_are_processed(frames_at_rest);
	uint64_t changed = before + 1;
	while (changed < before + frames_at_rest && kalvio_probe_changed_pixels(changed) == 0)
		++changed;
	// The frame that OBS had begun is the first.
	check(changed <= before + 2, "the next frame has the new shape",
	      QString("frame %1 after it").arg(changed - before));
	check(kalvio_probe_changed_pixels(changed) > 50, "for everybody to see",
	      QString::number(kalvio_probe_changed_pixels(changed)));
	check(kalvio_probe_changed_pixels(changed + 2) == 0, "and it does not come little by little",
	      QString::number(kalvio_probe_changed_pixels(changed + 2)));
}

void async_video_is_processed()
{
	const QImage picture = source_file_picture().copy(0, 0, 160, 90);
	const QString file = output_file("clip.y4m");
	check(write_test_clip(file, picture, 30), "the clip is written");
	const OBSDataAutoRelease settings = obs_data_create();
	obs_data_set_string(settings, "local_file", file.toUtf8().constData());
	obs_data_set_bool(settings, "is_local_file", true);
	obs_data_set_bool(settings, "looping", true);
	const OBSSourceAutoRelease video = obs_source_create("ffmpeg_source", "Clip", settings, nullptr);
	const OBSSceneAutoRelease scene = current_scene();
	obs_scene_add(scene, video);
	check(wait_until([&] { return obs_source_get_width(video) == 160; }), "the clip plays",
	      QString::number(obs_source_get_width(video)));
	const QImage unfiltered = screenshot(video);

	// Only the clip is to be counted.
	const OBSSourceAutoRelease picture_source = scene_source();
	const OBSSourceAutoRelease picture_filter = kalvio_filter_of(picture_source);
	obs_source_set_enabled(picture_filter, false);
	check_no_frames_are_processed();

	const OBSSourceAutoRelease filter = add_filter(video, "On the clip");
	check_frames_are_processed(15);
	const int difference = largest_difference(screenshot(video), unfiltered);
	check(difference >= 8 && difference <= 255, "the video is visibly changed", QString::number(difference));
	obs_source_filter_remove(video, filter);
	check(largest_difference(screenshot(video), unfiltered) == 0, "the video is as before without the filter");
}

void size_change_is_followed()
{
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease filter = kalvio_filter_of(source);
	check_frames_are_processed();
	const QImage original = source_file_picture();
	// Odd, larger, one pixel, and the first again.
	for (const QSize size : {QSize(201, 151), QSize(640, 360), QSize(1, 1), original.size()}) {
		const QString label = QString("%1x%2").arg(size.width()).arg(size.height());
		const QString file = output_file("size-" + label + ".png");
		original.scaled(size).save(file);
		const OBSDataAutoRelease settings = obs_data_create();
		obs_data_set_string(settings, "file", file.toUtf8().constData());
		obs_source_update(source, settings);
		check(wait_until([&] {
			      return obs_source_get_width(source) == uint32_t(size.width()) &&
				     obs_source_get_height(source) == uint32_t(size.height());
		      }),
		      "the source has the size " + label);
		check_frames_are_processed();
		const QImage filtered = screenshot(source);
		obs_source_set_enabled(filter, false);
		const QImage unfiltered = screenshot(source);
		obs_source_set_enabled(filter, true);
		check(filtered.size() == size && unfiltered.size() == size, "both pictures have the size " + label);
		const int difference = largest_difference(filtered, unfiltered);
		check(difference > 0 && difference <= 255, "the picture is changed at " + label,
		      QString::number(difference));
	}
}

constexpr ProbeCase cases[] = {
	{"FilterProcessesPicture", filter_processes_picture},
	{"NeutralFilterKeepsEveryPixel", neutral_filter_keeps_every_pixel},
	{"EnabledSettingOffKeepsEveryPixel", enabled_setting_off_keeps_every_pixel},
	{"ShapeSliderChangesTheNextFrame", shape_slider_changes_the_next_frame},
	{"ChangedSettingChangesPicture", changed_setting_changes_picture},
	{"AsyncVideoIsProcessed", async_video_is_processed},
	{"SizeChangeIsFollowed", size_change_is_followed},
	// Source name and picture path are not ASCII in this run; nothing else is different.
	{"NonAsciiNamesWork", filter_processes_picture},
};

} // namespace

std::span<const ProbeCase> picture_cases()
{
	return cases;
}

} // namespace kalvio::probe
