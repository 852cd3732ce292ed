// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>

namespace kalvio {

// The sheet of the panel's root widget.
QString panel_style_sheet();

} // namespace kalvio
