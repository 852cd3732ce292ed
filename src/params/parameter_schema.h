// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "params/parameter_set.h"

#include <obs-data.h>

// Parameters as a filter's settings. All parameters, in the order of parameter_table.
namespace kalvio {

// Registers the default of every parameter on `settings` (not null). This is the source type's get_defaults.
void register_defaults(obs_data_t *settings);

// Registers the defaults on `settings` (not null) and sets every key from `set`.
void write_parameters(const ParameterSet &set, obs_data_t *settings);

// Fills `set` from `settings` (not null). A key that was never set yields its registered default; a value of another
// type reads as 0, false or empty, as the host reads it.
void read_parameters(obs_data_t *settings, ParameterSet &set);

} // namespace kalvio
