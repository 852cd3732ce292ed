// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <string>

namespace kalvio {

// What the panel shows of the update service. Texts are UTF-8 plain text.
struct UpdateStatus {
	bool forced = false; // this version is no longer supported; effects are paused
	bool soft = false;   // a newer version exists and its notice is not dismissed; never with `forced`
	std::string latest;  // newest published version, "" while unknown
	std::string notes;   // its release notes
};

// Any thread; each takes the service's own mutex and never another lock.

// Reads which update the user has dismissed. Called once, by the module's load.
void load_update_dismissal();

// True while this version is below the lowest one that the publisher still supports; the filters then pause all
// effects.
bool update_is_forced();

// The forced and the soft test with the texts, as one consistent snapshot.
UpdateStatus update_status();

// Starts a check in the background when the last one is six hours old or there was none. Never blocks.
void start_update_check_if_due();

// One check, from the request to the stored answer: the worker thread's body. Blocks for as long as http_request may.
void run_update_check();

// Hides the notice of the newest version for one day and remembers that in the module's configuration folder.
void dismiss_update();

// Opens the download in the default browser.
void open_update_download();

// The end of the service at module unload. It has nothing to release.
void stop_update_service();

} // namespace kalvio
