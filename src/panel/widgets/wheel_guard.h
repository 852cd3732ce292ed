// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

class QWidget;

namespace kalvio {

// Keeps the wheel from changing values by accident while it scrolls a page: a slider or a selector below `root` turns
// with it only from a press on it until the pointer leaves it; at all other times the wheel goes on to the page. Called
// once, when the tree below `root` is complete.
void guard_wheel(QWidget &root);

} // namespace kalvio
