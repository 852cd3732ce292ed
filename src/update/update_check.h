// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace kalvio {

// Reads which update the user has dismissed. Called once, by the module's load.
void load_update_dismissal();

// True while this version is below the lowest one that the publisher still supports; the filters then pause all effects.
// Any thread; takes the update service's own mutex, never another.
bool update_is_forced();

// The end of the service at module unload. It has nothing to release.
void stop_update_service();

} // namespace kalvio
