// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <mutex>

namespace kalvio {

// Held while the module reads or changes the settings object of a live filter. The host does not guard these objects:
// obs_source_update changes one on the calling thread, and the host hands the same object to the filter's update on the
// graphics thread. Texts that are read are copied under the lock: a later change frees them.
//
// One lock for the process, the innermost: the module takes no other lock and loads no file under it. Neither do
// obs_source_update and obs_source_reset_settings, which for a video filter only store the values and leave the rest to
// the graphics thread. Any thread; not recursive.
class SettingsLock {
public:
	SettingsLock() : lock_(mutex()) {}
	SettingsLock(const SettingsLock &) = delete;
	SettingsLock &operator=(const SettingsLock &) = delete;

private:
	static std::mutex &mutex();

	std::lock_guard<std::mutex> lock_;
};

} // namespace kalvio
