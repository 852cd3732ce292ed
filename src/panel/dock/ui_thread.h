// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <functional>

// The user-interface thread as seen from any thread. A host without a user interface of our toolkit (a service, or a
// program built on another version of it) has none; then nothing runs.
namespace kalvio {

// True in a process that can show widgets.
bool has_user_interface();

// Runs `task` at once when called on the user-interface thread, else in that thread's next turn.
void run_on_ui_thread(std::function<void()> task);

// Runs `task` in the next turn of the user-interface thread, also when called on it.
void post_to_ui_thread(std::function<void()> task);

} // namespace kalvio
