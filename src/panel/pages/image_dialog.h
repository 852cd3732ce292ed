// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>
#include <functional>

class QWidget;

namespace kalvio {

// Lets the user pick a picture file in a dialog over the panel that `origin` belongs to, and returns at once. `picked`
// runs when a file was chosen, and never after the panel is gone.
void choose_image(QWidget &origin, std::function<void(const QString &path)> picked);

} // namespace kalvio
