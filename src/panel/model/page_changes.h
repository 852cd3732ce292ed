// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "params/parameter_set.h"

namespace kalvio {

// Whether anything on an effect page, by its place in the tab bar, is not at its default in `set`. False for other
// numbers.
bool is_page_changed(const ParameterSet &set, int page);

} // namespace kalvio
