// SPDX-License-Identifier: GPL-2.0-or-later
#include "driver.h"
#include "probe_case.h"
#include "report.h"

#include <QGuiApplication>
#include <QScreen>

namespace kalvio::probe {

namespace {

// Leaves before.png and after.png, OBS's own screenshots of the source with the filter off and on, and window.png, OBS
// as the user sees it. Works for pictures and for video of any size.
void take_pictures()
{
	const OBSSourceAutoRelease source = scene_source();
	const OBSSourceAutoRelease filter = kalvio_filter_of(source);
	if (!check(filter, "the scene's source has the filter"))
		return;
	if (!check(wait_until([&] { return obs_source_get_width(source) != 0; }, 60000), "OBS can show the file",
		   setting("KALVIO_PROBE_PICTURE")))
		return;
	if (!check_frames_are_processed(30))
		return;
	const QRect window = main_window()->frameGeometry();
	const QPixmap shown = QGuiApplication::primaryScreen()->grabWindow(0, window.x(), window.y(), window.width(),
									   window.height());
	check(shown.save(output_file("window.png")), "window.png is taken");
	check(screenshot(source).save(output_file("after.png")), "after.png is taken");
	const FrameCount count = frame_count();
	obs_source_set_enabled(filter, false);
	check(screenshot(source).save(output_file("before.png")), "before.png is taken");

	const uint64_t calls = count.processed + count.failed;
	report({{"frames_processed", double(count.processed)},
		{"frames_failed", double(count.failed)},
		{"engine_ms_per_frame", calls ? double(count.engine_ns) / 1e6 / double(calls) : 0.0},
		{"width", int(obs_source_get_width(source))},
		{"height", int(obs_source_get_height(source))}});
}

constexpr ProbeCase cases[] = {
	{"TakePictures", take_pictures, true},
};

} // namespace

std::span<const ProbeCase> sample_cases()
{
	return cases;
}

} // namespace kalvio::probe
