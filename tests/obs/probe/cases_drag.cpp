// SPDX-License-Identifier: GPL-2.0-or-later
#include "driver.h"
#include "panel_driver.h"
#include "probe_case.h"
#include "report.h"
#include "user_events.h"

#include <QComboBox>
#include <QSlider>
#include <QTimer>
#include <algorithm>
#include <obs-frontend-api.h>
#include <vector>

// A slider that is dragged while OBS draws. It takes as long as it is asked to (KALVIO_PROBE_SECONDS a side) and wants
// a machine that does nothing else: it is in no list of tests.
namespace kalvio::probe {

namespace {

constexpr int filter_count = 40;
constexpr int rounds = 6;                // of both sides, in turns
constexpr int move_interval_ms = 8;      // as often as a common mouse reports
constexpr double tolerated_share = 0.01; // of the frames: what comes and goes with the rest of the machine

struct Frames {
	double drawn = 0;
	double lagged = 0;       // drawn too late for their turn
	double skipped = 0;      // not encoded in time
	double milliseconds = 0; // the mean of OBS's own average time of a frame
};

Frames frames_so_far()
{
	return {double(obs_get_total_frames()), double(obs_get_lagged_frames()),
		double(video_output_get_skipped_frames(obs_get_video())), 0};
}

// What OBS draws in `milliseconds`, with its event loop running.
Frames watch(int milliseconds)
{
	const Frames before = frames_so_far();
	double sum = 0;
	int samples = 0;
	QTimer sampler;
	QObject::connect(&sampler, &QTimer::timeout, &sampler, [&] {
		sum += double(obs_get_average_frame_time_ns()) / 1e6;
		++samples;
	});
	sampler.start(100);
	wait_until([] { return false; }, milliseconds);
	const Frames now = frames_so_far();
	return {now.drawn - before.drawn, now.lagged - before.lagged, now.skipped - before.skipped,
		samples ? sum / samples : 0};
}

void add(Frames &total, const Frames &part)
{
	total.drawn += part.drawn;
	total.lagged += part.lagged;
	total.skipped += part.skipped;
	total.milliseconds += part.milliseconds / rounds;
}

// The handle taken, pulled from end to end and back for as long as OBS is watched, and let go.
Frames watch_dragging(QSlider &slider, int milliseconds)
{
	send_mouse(slider, QEvent::MouseButtonPress, handle_of(slider));
	check(slider.isSliderDown(), "the press takes the slider's handle");
	int x = 0;
	int step = 3;
	QTimer hand;
	QObject::connect(&hand, &QTimer::timeout, &hand, [&] {
		x += step;
		if (x <= 0 || x >= slider.width())
			step = -step;
		send_mouse(slider, QEvent::MouseMove, QPointF(x, slider.height() / 2.0));
	});
	hand.setTimerType(Qt::PreciseTimer);
	hand.start(move_interval_ms);
	const Frames frames = watch(milliseconds);
	send_mouse(slider, QEvent::MouseButtonRelease, QPointF(x, slider.height() / 2.0));
	return frames;
}

// Small sources, each with a filter, all in the scene that is drawn.
std::vector<OBSSourceAutoRelease> add_filtered_sources()
{
	const OBSSceneAutoRelease scene = current_scene();
	std::vector<OBSSourceAutoRelease> filters;
	for (int i = 0; i < filter_count - 1; ++i) {
		const OBSDataAutoRelease settings = obs_data_create();
		obs_data_set_int(settings, "width", 64);
		obs_data_set_int(settings, "height", 36);
		const OBSSourceAutoRelease source =
			obs_source_create("color_source", ("Color " + std::to_string(i)).c_str(), settings, nullptr);
		obs_scene_add(scene, source);
		filters.push_back(add_filter(source, "Filter"));
	}
	const OBSSourceAutoRelease picture = scene_source();
	filters.push_back(kalvio_filter_of(picture));
	return filters;
}

QString as_text(const Frames &frames)
{
	return QString("%1 drawn, %2 lagged, %3 skipped, %4 ms a frame")
		.arg(frames.drawn)
		.arg(frames.lagged)
		.arg(frames.skipped)
		.arg(frames.milliseconds, 0, 'f', 2);
}

void slider_drag_drops_no_frame()
{
	const std::vector<OBSSourceAutoRelease> filters = add_filtered_sources();
	QSlider *const slider = smoothing_slider();
	if (!check(slider && slider->isVisible(), "the panel shows its first slider"))
		return;
	const auto *const selector = slider->window()->findChild<QComboBox *>();
	wait_until([] { return false; }, 3000);
	check(frame_count().processed > 0, "the filters are drawn");

	int steps = 0;
	QObject::connect(slider, &QSlider::valueChanged, slider, [&steps] { ++steps; });
	const int round_ms = std::max(setting("KALVIO_PROBE_SECONDS").toInt(), 6) * 1000 / rounds;
	Frames still;
	Frames dragging;
	const uint64_t processed_before = frame_count().processed;
	for (int round = 0; round < rounds; ++round) {
		add(still, watch(round_ms));
		add(dragging, watch_dragging(*slider, round_ms));
	}
	const auto processed = double(frame_count().processed - processed_before);

	int followed = 0;
	for (obs_source_t *filter : filters) {
		const OBSDataAutoRelease settings = obs_source_get_settings(filter);
		const double difference = obs_data_get_double(settings, "smoothing") - slider->value() / 100.0;
		followed += difference < 0.005 && difference > -0.005;
	}
	check(selector && followed == filter_count, "every filter has the slider's last value",
	      QString::number(followed));
	check(steps > rounds * 10, "the slider was dragged", QString("%1 steps").arg(steps));
	check(true, "the slider left alone", as_text(still));
	check(true, "the slider dragged", as_text(dragging));
	check(true, "frames of filters to a frame of OBS",
	      QString::number(processed / (still.drawn + dragging.drawn), 'f', 1));
	const double tolerated = tolerated_share * dragging.drawn;
	check(dragging.lagged <= still.lagged + tolerated, "dragging makes no frame late");
	check(dragging.skipped <= still.skipped + tolerated, "dragging makes OBS skip no frame");
	check(dragging.drawn >= still.drawn - tolerated, "dragging leaves no frame out");
}

constexpr ProbeCase cases[] = {
	{"SliderDragDropsNoFrame", slider_drag_drops_no_frame},
};

} // namespace

std::span<const ProbeCase> drag_cases()
{
	return cases;
}

} // namespace kalvio::probe
