// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdint>
#include <obs-data.h>
#include <string>

// The engine of a filter instance: made when it is first needed, gone with the instance or while effects are paused.
namespace kalvio {

struct FilterInstance;

// True when the instance has a usable engine after the call. Makes one if needed and sends it all settings, which may
// block for as long as loading the resource bundle takes. A failure keeps nothing: the next call starts anew, so that a
// bundle installed while the host runs takes effect on the next frame.
// The caller holds the instance's mutex, except in create.
bool ensure_engine(FilterInstance &instance);

// Copies "enabled" and sends all settings to the instance's engine. The caller serializes as for ensure_engine.
void apply_settings(FilterInstance &instance, obs_data_t *settings);

// Path of "resource.kld": in the module's data folder, beside the module file, or in the data folder of a development
// tree two levels above it. Empty when none exists.
std::string find_resource_bundle();

// The engine's log file: "kalvio-obs.log" in `temporary_folder`, or in the working folder when that is empty.
std::string engine_log_path(const std::string &temporary_folder);

// The engine's event callback: writes one log line. Any thread; `user_data` is not used, `message` may be null.
void on_engine_event(void *user_data, int32_t code, const char *message);

} // namespace kalvio
