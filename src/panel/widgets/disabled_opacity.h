// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QtGlobal>

namespace kalvio {

inline constexpr qreal disabled_opacity = 0.38; // of what a control paints while it is off

} // namespace kalvio
