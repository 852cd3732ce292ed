// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <obs.h>

namespace kalvio {

// The source type's get_properties: a hint and a button that brings the panel forward; the effects are in the panel.
// User-interface thread. `data` is the filter instance or null. The caller owns the result.
obs_properties_t *filter_get_properties(void *data);

// The button's callback. False: the host need not rebuild the view.
bool open_panel_clicked(obs_properties_t *properties, obs_property_t *property, void *data);

} // namespace kalvio
