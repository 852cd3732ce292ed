// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/host_double.h"

#include <functional>
#include <string>

// The user of the host double at the keyboard and in the host's list of hot keys. `owner` is the name of the source
// that a hot key belongs to, "" for the front end's.
namespace kalvio::test {

// The host gives out no new hot key: each registration has the invalid id.
void refuse_hotkeys(bool refuse);

bool has_hotkey(const std::string &name, const std::string &owner = {});

// What the callback returned; false without that hot key.
bool press_hotkey(const std::string &name, bool is_pressed = true, const std::string &owner = {});

void bind_hotkey(const std::string &name, const std::string &key_name);
std::string bound_key(const std::string &name);

} // namespace kalvio::test
