// SPDX-License-Identifier: GPL-2.0-or-later
#include "driver.h"
#include "frame_views.h"
#include "probe_case.h"
#include "report.h"

#include <QApplication>
#include <QElapsedTimer>
#include <algorithm>
#include <chrono>
#include <obs-frontend-api.h>
#include <random>
#include <thread>

namespace kalvio::probe {

namespace {

constexpr uint32_t frames_looked_at = 60;

// What OBS draws of the source at present: at least `views` a frame, of which the engine gets one.
void check_frames_are_processed_once(obs_source_t *source, uint32_t views, const QString &when)
{
	const FrameViews seen(source);
	check(wait_until([&] { return seen.frames() > frames_looked_at; }), "OBS goes on drawing: " + when);
	check(seen.most_views() >= views, QString("a frame shows the source in %1 views: ").arg(views) + when,
	      QString::number(seen.most_views()));
	check(seen.most_engine_calls() == 1, "no frame is processed twice: " + when,
	      QString::number(seen.most_engine_calls()));
}

void studio_mode_processes_a_frame_once()
{
	const OBSSourceAutoRelease source = scene_source();
	check_frames_are_processed();
	obs_frontend_set_preview_program_mode(true);
	check(obs_frontend_preview_program_mode_active(), "studio mode is on");
	check_frames_are_processed_once(source, 2, "studio mode");
	obs_frontend_preview_program_trigger_transition();
	check_frames_are_processed_once(source, 2, "studio mode after a transition");
	obs_frontend_set_preview_program_mode(false);
	check_filtered(source, "after studio mode");
}

QWidget *open_window(const char *class_name)
{
	for (QWidget *const window : QApplication::topLevelWidgets())
		if (window->inherits(class_name) && window->isVisible())
			return window;
	return nullptr;
}

void multiview_processes_a_frame_once()
{
	const OBSSourceAutoRelease source = scene_source();
	check_frames_are_processed();
	obs_frontend_open_projector("Multiview", -1, "", "");
	check(wait_until([] { return open_window("OBSProjector"); }), "the multiview opens");
	check_frames_are_processed_once(source, 2, "multiview");
	obs_frontend_set_preview_program_mode(true);
	check_frames_are_processed_once(source, 4, "multiview in studio mode");
	obs_frontend_set_preview_program_mode(false);
	if (QWidget *const multiview = open_window("OBSProjector"))
		multiview->close();
	check(wait_until([] { return !open_window("OBSProjector"); }), "the multiview closes");
	check_filtered(source, "after the multiview");
}

int removals_wanted()
{
	const QString wanted = setting("KALVIO_PROBE_REMOVALS");
	return wanted.isEmpty() ? 300 : wanted.toInt();
}

// Adds and removes filters of one source, each at any moment of OBS's frames, and changes their settings meanwhile.
class RemovalsOnAir {
public:
	explicit RemovalsOnAir(obs_source_t *source) : source_(source) {}

	void add_and_remove()
	{
		const OBSSourceAutoRelease filter = add_filter(source_, "On air");
		pass_any_time();
		change_settings(filter);
		pass_any_time();
		change_settings(filter);
		obs_source_filter_remove(source_, filter);
	}

private:
	// Settings that the filter was made with: OBS sets them where they lie.
	void change_settings(obs_source_t *filter)
	{
		set_setting(filter, "smoothing", static_cast<double>(random_() % 100) / 100.0);
		set_setting(filter, "whitening", static_cast<double>(random_() % 100) / 100.0);
	}

	// The moment of a removal is what is tried out here; nothing is waited for.
	void pass_any_time()
	{
		std::this_thread::sleep_for(std::chrono::microseconds(random_() % (random_() % 4 ? 3000 : 20000)));
	}

	obs_source_t *source_;
	std::mt19937 random_{1};
};

void filter_is_removed_on_air()
{
	const OBSSourceAutoRelease source = scene_source();
	OBSSourceAutoRelease own = kalvio_filter_of(source);
	check_frames_are_processed();
	obs_source_filter_remove(source, own);
	own = nullptr;

	const FrameCount before = frame_count();
	QElapsedTimer time;
	time.start();
	RemovalsOnAir removals(source);
	for (int removed = 0; removed < removals_wanted(); ++removed) {
		removals.add_and_remove();
		// The dock's poll and whatever OBS does about a filter.
		if (removed % 20 == 0)
			QApplication::processEvents();
	}
	const FrameCount after = frame_count();
	report({{"removals", removals_wanted()}, {"milliseconds", time.elapsed()}});

	check(after.engines_ever - before.engines_ever == static_cast<uint64_t>(removals_wanted()),
	      "every filter had an engine", QString::number(after.engines_ever - before.engines_ever));
	check(after.processed > before.processed, "frames were processed meanwhile",
	      QString::number(after.processed - before.processed));
	check(after.failed == before.failed, "no frame failed", QString::number(after.failed - before.failed));
	check(wait_until([] { return frame_count().engines == 0; }), "no engine is left",
	      QString::number(frame_count().engines));
	check_unfiltered(source, "all filters removed");
	check_no_frames_are_processed();
	const OBSSourceAutoRelease again = add_filter(source, "Again");
	check_frames_are_processed();
	check_filtered(source, "a filter again");
}

constexpr ProbeCase cases[] = {
	{"FilterIsRemovedOnAir", filter_is_removed_on_air},
	{"StudioModeProcessesAFrameOnce", studio_mode_processes_a_frame_once},
	{"MultiviewProcessesAFrameOnce", multiview_processes_a_frame_once},
};

} // namespace

std::span<const ProbeCase> live_cases()
{
	return cases;
}

} // namespace kalvio::probe
