// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

class QWidget;

namespace kalvio {

// Makes every control below `root` reachable by Tab and operable by Space and Enter, with one stop for an exclusive
// group of buttons, between which the arrow keys choose. The controls themselves know nothing of it. Called once, when
// the tree below `root` is complete.
void make_operable_by_keyboard(QWidget &root);

} // namespace kalvio
