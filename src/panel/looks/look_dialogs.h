// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QString>
#include <functional>

class QWidget;

// File dialogs that leave the host's event loop alone; each belongs to `origin` and goes with it. Nothing is called
// when the user cancels.
namespace kalvio {

void choose_look_file_to_read(QWidget &origin, std::function<void(const QString &path)> picked);

// Suggests a file called after `name`.
void choose_look_file_to_write(QWidget &origin, const QString &name, std::function<void(const QString &path)> picked);

} // namespace kalvio
