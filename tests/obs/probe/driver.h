// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "frame_counter.h"

#include <QImage>
#include <QMainWindow>
#include <QString>
#include <functional>
#include <obs.hpp>

// The real OBS as a case handles it. Main thread only; waiting keeps OBS's event loop running.
namespace kalvio::probe {

inline constexpr const char *filter_type = "kalvio_filter";

QMainWindow *main_window();

// True as soon as `condition` holds; false when it did not within `timeout_ms`.
bool wait_until(const std::function<bool()> &condition, int timeout_ms = 30000);

FrameCount frame_count();

// Waits for `frames` more processed frames and states whether they came.
bool check_frames_are_processed(uint64_t frames = 3);

// Waits for `frames` drawn by OBS and states that the engine got none of them.
bool check_no_frames_are_processed(uint32_t frames = 10);

// The scene that OBS shows.
OBSSceneAutoRelease current_scene();

// The source of the run's scene (KALVIO_PROBE_SOURCE) and a source's filter of our type; null when there is none.
OBSSourceAutoRelease scene_source();
OBSSourceAutoRelease kalvio_filter_of(obs_source_t *source);

// A new filter of our type with strong settings, added to `source`.
OBSSourceAutoRelease add_filter(obs_source_t *source, const char *name);

// Settings whose effect nobody can overlook (KALVIO_PROBE_SETTINGS, JSON).
OBSDataAutoRelease strong_settings();

// Changes one setting the way the properties view and the panel do.
void set_setting(obs_source_t *filter, const char *key, bool value);
void set_setting(obs_source_t *filter, const char *key, double value);

// The file the scene shows (KALVIO_PROBE_PICTURE) as straight RGBA; null when it cannot be read.
QImage source_file_picture();

// OBS's own screenshot of one source at its full size with its filters, as straight RGBA; null when OBS took none.
QImage screenshot(obs_source_t *source);

// The largest difference of any channel of any pixel, or 256 when the sizes differ or one is null.
int largest_difference(const QImage &a, const QImage &b);

// States that the picture of `source` is the scene's file pixel for pixel, or that it visibly is not.
bool check_unfiltered(obs_source_t *source, const QString &when);
bool check_filtered(obs_source_t *source, const QString &when);

} // namespace kalvio::probe
