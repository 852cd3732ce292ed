// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

class QDockWidget;

namespace kalvio {

// Shows the dock in front of the host's other windows. The host's window of filters, from which the dock is called,
// stays above the main window whatever is raised: it is moved beside a dock that it covers. User-interface thread.
void bring_to_front(QDockWidget &dock);

} // namespace kalvio
