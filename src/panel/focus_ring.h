// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

class QWidget;

namespace kalvio {

// Draws a ring around the control below `root` that has the focus, while the keyboard moves it, and scrolls that
// control into sight. Called once, when the tree below `root` is complete.
void show_keyboard_focus(QWidget &root);

} // namespace kalvio
