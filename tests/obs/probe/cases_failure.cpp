// SPDX-License-Identifier: GPL-2.0-or-later
#include "driver.h"
#include "log_tap.h"
#include "probe_case.h"
#include "report.h"

#include <QFile>
#include <obs-module.h>

namespace kalvio::probe {

namespace {

constexpr const char *bundle_missing = "[Kalvio] resource.kld not found";

void missing_bundle_is_survived()
{
	const OBSSourceAutoRelease source = scene_source();
	check(wait_until([] { return count_lines(LOG_ERROR, bundle_missing) >= 3; }),
	      "every frame asks for the bundle and says that it is missing");
	check(count_lines(LOG_WARNING, "[Kalvio] filter created without engine (passthrough)") == 1,
	      "one warning for the filter without engine");
	check_unfiltered(source, "bundle missing");
	check_no_frames_are_processed();

	const QString data = QString::fromUtf8(obs_get_module_data_path(obs_get_module("obs-kalvio")));
	check(QFile::copy(setting("KALVIO_PROBE_BUNDLE"), data + "/resource.kld"), "the bundle is put in its place");
	check_frames_are_processed();
	check_filtered(source, "bundle there");
	const int complaints = count_lines(LOG_ERROR, bundle_missing);
	check_frames_are_processed();
	check(count_lines(LOG_ERROR, bundle_missing) == complaints, "the module complains no more");
}

void broken_bundle_is_survived()
{
	const OBSSourceAutoRelease source = scene_source();
	check(wait_until([] { return count_lines(LOG_ERROR, "[Kalvio] kl_engine_create failed") >= 3; }),
	      "every frame tries to create the engine and says that it failed");
	check(count_lines(LOG_ERROR, bundle_missing) == 0, "the bundle itself was found");
	check_unfiltered(source, "bundle broken");
	check_no_frames_are_processed();
}

void missing_picture_is_survived()
{
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease filter = kalvio_filter_of(source);
	check(filter, "the filter is there");
	check(obs_source_get_width(source) == 0, "the source has no size");
	check_no_frames_are_processed();

	// The picture comes later, as when a drive is plugged in and the user chooses the file anew.
	const OBSDataAutoRelease settings = obs_data_create();
	obs_data_set_string(settings, "file", setting("KALVIO_PROBE_PICTURE").toUtf8().constData());
	obs_source_update(source, settings);
	check_frames_are_processed();
	check_filtered(source, "picture there");

	// And it goes again.
	obs_data_set_string(settings, "file", "/nowhere/picture.png");
	obs_source_update(source, settings);
	check(wait_until([&] { return obs_source_get_width(source) == 0; }), "the source has no size again");
	check_no_frames_are_processed();
}

void wrong_settings_are_survived()
{
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease filter = kalvio_filter_of(source);
	const OBSDataAutoRelease wrong = obs_data_create_from_json(
		R"({"smoothing": "much", "whitening": [1, 2], "smoothing_style": 99, "face_thin": 1e300, "eyeliner_color": -7,)"
		R"( "filter_id": "no such filter", "sticker_id": "no such sticker", "bg_fill": 2, "bg_preset": 5,)"
		R"( "bg_image": "/nowhere.png", "chroma": 77, "chroma_similarity": -3})");
	check(wrong, "the settings are JSON");
	obs_source_update(filter, wrong);
	check_frames_are_processed(5);
	check(!screenshot(source).isNull(), "the source is still drawn");
	const OBSDataAutoRelease good = strong_settings();
	obs_source_reset_settings(filter, good);
	check_frames_are_processed();
	check_filtered(source, "good settings again");
}

constexpr ProbeCase cases[] = {
	{"MissingBundleIsSurvived", missing_bundle_is_survived, true},
	{"BrokenBundleIsSurvived", broken_bundle_is_survived, true},
	{"MissingPictureIsSurvived", missing_picture_is_survived},
	{"WrongSettingsAreSurvived", wrong_settings_are_survived, true},
};

} // namespace

std::span<const ProbeCase> failure_cases()
{
	return cases;
}

} // namespace kalvio::probe
