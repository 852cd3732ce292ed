// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>

namespace kalvio {

// The sheet of the one child of the panel's root, around everything that the panel shows: sets back what an application
// style sheet of the host says about the widgets of the panel, and states the rules of panel_style_sheet() again.
QString host_guard_sheet();

} // namespace kalvio
