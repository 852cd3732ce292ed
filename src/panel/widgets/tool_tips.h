// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

class QWidget;

namespace kalvio {

// Shows the tool tips of the controls below `root` in the host's own look, and the whole text of a control that has no
// room for it. Called once, when the tree below `root` is complete.
void show_tool_tips(QWidget &root);

} // namespace kalvio
