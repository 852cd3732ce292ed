// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "filter/filter_registry.h"

#include <vector>

// The console's own hot keys in the host's list: effects of all filters on and off, the original while held, the
// next and the previous look. The host does not keep bindings that no source has: they are in "hotkeys.json" in the
// module's configuration folder. User-interface thread.
namespace kalvio {

// Registers them with the bindings of the file.
void start_hotkeys();

// Gives every filter its own hot keys, and takes those of filters that are gone out of the list. Called at every poll
// and when filters have been loaded: the host forgets what was bound to a key that is not registered when it saves.
void follow_filters_with_hotkeys(const std::vector<RegisteredFilter> &filters);

// Writes the bindings if they have changed; called at every poll.
void save_changed_hotkeys();

// Writes them and takes the hot keys out of the host's list.
void stop_hotkeys();

} // namespace kalvio
