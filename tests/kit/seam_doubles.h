// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

// Doubles of the two rooms that the filter only knows by a header: panel/dock_host.h and update/update_check.h. They do
// nothing but write each call into the call journal.
namespace kalvio::test {

// Nothing forced, front end not ready, nothing thrown.
void reset_seams();

void set_frontend_ready(bool ready);
void set_update_forced(bool forced);

// The next show_dock throws std::bad_alloc.
void throw_in_show_dock();

} // namespace kalvio::test
