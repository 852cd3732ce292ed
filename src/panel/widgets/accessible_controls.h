// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

class QWidget;

namespace kalvio {

// Gives Switch and CheckBox the role and the state of a check box, and marked buttons those of a tab, for assistive
// tools. Once a process; user-interface thread.
void install_accessible_controls();

// Assistive tools will take `button` for the tab of a page.
void mark_as_tab(QWidget &button);

} // namespace kalvio
