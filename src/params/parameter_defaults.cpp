// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/parameter_defaults.h"

namespace kalvio {

const ParameterSet &default_parameters()
{
	// Never destroyed: the panel's widgets go with the host's window, whenever that is.
	static const ParameterSet &defaults = *new ParameterSet;
	return defaults;
}

} // namespace kalvio
