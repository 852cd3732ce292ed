// SPDX-License-Identifier: GPL-2.0-or-later
#include "driver.h"

#include "report.h"

#include <QEventLoop>
#include <QTimer>
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <dlfcn.h>
#include <obs-frontend-api.h>

namespace kalvio::probe {

namespace {

// Neighboring tones differ by less; a filter that changes nothing else is not "visible".
constexpr int visible_difference = 8;

void note_screenshot(enum obs_frontend_event event, void *taken)
{
	if (event == OBS_FRONTEND_EVENT_SCREENSHOT_TAKEN)
		*static_cast<std::atomic<bool> *>(taken) = true;
}

QString last_screenshot_file()
{
	char *const path = obs_frontend_get_last_screenshot();
	const QString text = QString::fromUtf8(path);
	bfree(path);
	return text;
}

QImage straight_rgba(const QString &file)
{
	return QImage(file).convertToFormat(QImage::Format_RGBA8888);
}

// Waits for `frames` drawn by OBS.
bool frames_are_drawn(uint32_t frames)
{
	const uint32_t drawn = obs_get_total_frames();
	return wait_until([&] { return obs_get_total_frames() >= drawn + frames; });
}

} // namespace

QMainWindow *main_window()
{
	return static_cast<QMainWindow *>(obs_frontend_get_main_window());
}

bool wait_until(const std::function<bool()> &condition, int timeout_ms)
{
	if (condition())
		return true;
	bool held = false;
	QEventLoop loop;
	QTimer poll;
	QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
		held = condition();
		if (held)
			loop.quit();
	});
	QTimer::singleShot(timeout_ms, &loop, &QEventLoop::quit);
	poll.start(10);
	loop.exec();
	return held || condition();
}

FrameCount frame_count()
{
	static auto *const read =
		reinterpret_cast<decltype(&kalvio_probe_frame_count)>(dlsym(RTLD_DEFAULT, "kalvio_probe_frame_count"));
	FrameCount count;
	if (read)
		read(&count);
	return count;
}

bool check_frames_are_processed(uint64_t frames)
{
	const FrameCount before = frame_count();
	const bool came = wait_until([&] { return frame_count().processed >= before.processed + frames; });
	const FrameCount now = frame_count();
	check(now.failed == before.failed, "no frame failed", QString::number(now.failed - before.failed));
	return check(came, "frames are processed", QString::number(now.processed - before.processed));
}

bool check_no_frames_are_processed(uint32_t frames)
{
	// The frame that is being drawn just now may still go to the engine.
	check(frames_are_drawn(2), "OBS draws the frame that it has begun");
	const FrameCount before = frame_count();
	check(frames_are_drawn(frames), "OBS goes on drawing");
	const FrameCount now = frame_count();
	return check(now.processed == before.processed, "no frame reaches the engine",
		     QString::number(now.processed - before.processed));
}

OBSSceneAutoRelease current_scene()
{
	const OBSSourceAutoRelease scene = obs_frontend_get_current_scene();
	return obs_scene_get_ref(obs_scene_from_source(scene));
}

OBSSourceAutoRelease scene_source()
{
	return obs_get_source_by_name(setting("KALVIO_PROBE_SOURCE").toUtf8().constData());
}

OBSSourceAutoRelease kalvio_filter_of(obs_source_t *source)
{
	obs_source_t *found = nullptr;
	const auto take_first = [](obs_source_t *, obs_source_t *filter, void *result) {
		auto *const slot = static_cast<obs_source_t **>(result);
		if (!*slot && qstrcmp(obs_source_get_unversioned_id(filter), filter_type) == 0)
			*slot = obs_source_get_ref(filter);
	};
	if (source)
		obs_source_enum_filters(source, take_first, static_cast<void *>(&found));
	return found;
}

OBSDataAutoRelease strong_settings()
{
	return obs_data_create_from_json(setting("KALVIO_PROBE_SETTINGS").toUtf8().constData());
}

OBSSourceAutoRelease add_filter(obs_source_t *source, const char *name)
{
	const OBSDataAutoRelease settings = strong_settings();
	obs_source_t *const filter = obs_source_create(filter_type, name, settings, nullptr);
	obs_source_filter_add(source, filter);
	return filter;
}

void set_setting(obs_source_t *filter, const char *key, bool value)
{
	const OBSDataAutoRelease settings = obs_data_create();
	obs_data_set_bool(settings, key, value);
	obs_source_update(filter, settings);
}

void set_setting(obs_source_t *filter, const char *key, double value)
{
	const OBSDataAutoRelease settings = obs_data_create();
	obs_data_set_double(settings, key, value);
	obs_source_update(filter, settings);
}

QImage source_file_picture()
{
	return straight_rgba(setting("KALVIO_PROBE_PICTURE"));
}

QImage screenshot(obs_source_t *source)
{
	// OBS refuses while it is still putting the last one away, and says so in its log only: ask again.
	std::atomic<bool> taken = false;
	obs_frontend_add_event_callback(note_screenshot, &taken);
	for (int attempt = 0; attempt < 30 && !taken; ++attempt) {
		obs_frontend_take_source_screenshot(source);
		wait_until([&] { return taken.load(); }, 1000);
	}
	obs_frontend_remove_event_callback(note_screenshot, &taken);
	if (!taken)
		return {};
	return straight_rgba(last_screenshot_file());
}

int largest_difference(const QImage &a, const QImage &b)
{
	if (a.isNull() || a.size() != b.size())
		return 256;
	int largest = 0;
	for (int y = 0; y < a.height(); ++y) {
		const uchar *const row_a = a.constScanLine(y);
		const uchar *const row_b = b.constScanLine(y);
		for (int x = 0; x < a.width() * 4; ++x)
			largest = std::max(largest, std::abs(row_a[x] - row_b[x]));
	}
	return largest;
}

bool check_unfiltered(obs_source_t *source, const QString &when)
{
	const int difference = largest_difference(screenshot(source), source_file_picture());
	return check(difference == 0, "the picture is the source's, pixel for pixel: " + when,
		     "largest difference " + QString::number(difference));
}

bool check_filtered(obs_source_t *source, const QString &when)
{
	const int difference = largest_difference(screenshot(source), source_file_picture());
	return check(difference >= visible_difference && difference <= 255, "the picture is visibly changed: " + when,
		     "largest difference " + QString::number(difference));
}

} // namespace kalvio::probe
