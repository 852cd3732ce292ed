// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <obs-module.h>
#include <string>

// The two functions that the module's entry points give to the other components, for executables without these entry
// points: obs_current_module and obs_module_text.
namespace kalvio::test {

// What obs_current_module returns: an address that nothing follows.
obs_module_t *module_double_handle();

// The text of a key, instead of the key itself.
void set_module_text(const std::string &key, const std::string &text);
void reset_module_double();

} // namespace kalvio::test
