// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <functional>

// Doubles of the two components that the filter reaches by a few functions: the panel, which it knows by its hooks, and
// update/update_check.h. They do nothing but write each call into the call journal.
namespace kalvio::test {

// Sets the filter's hooks; nothing forced, front end not ready, no action.
void reset_seams();

void set_frontend_ready(bool ready);
void set_update_forced(bool forced);

// Called inside show_dock and load_update_dismissal; may throw.
void on_show_dock(std::function<void()> action);
void on_load_update_dismissal(std::function<void()> action);

} // namespace kalvio::test
