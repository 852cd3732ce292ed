// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <functional>

class QWidget;

namespace kalvio {

// Draws a ring around the control below `root` that has the focus, while the keyboard moves it, and scrolls that
// control into sight. Called once, when the tree below `root` is complete. Focus that moves while `is_refreshing` left
// a control that was disabled or hidden: that is not the keyboard's doing.
void show_keyboard_focus(QWidget &root, std::function<bool()> is_refreshing);

} // namespace kalvio
