// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

// Pages of the product's web site, in the current language and in the user's browser.
namespace kalvio {

void open_web_site();
void open_install_guide();

} // namespace kalvio
