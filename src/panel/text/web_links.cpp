// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/text/web_links.h"

#include "kalvio_config.h"
#include "panel/text/translations.h"
#include "platform/platform.h"

#include <string>

namespace kalvio {

void open_web_site()
{
	open_url(std::string(web_base) + web_language_path());
}

void open_install_guide()
{
	open_url(std::string(web_base) + web_language_path() + "/obs/install");
}

} // namespace kalvio
