// SPDX-License-Identifier: GPL-2.0-or-later
#include "retouch_measures.h"

namespace kalvio::bench {

Method photo_method()
{
	return {};
}

} // namespace kalvio::bench
