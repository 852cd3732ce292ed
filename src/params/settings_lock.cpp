// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/settings_lock.h"

namespace kalvio {

std::mutex &SettingsLock::mutex()
{
	// Never destroyed: filters can outlive the module's static objects.
	static std::mutex &instance = *new std::mutex;
	return instance;
}

} // namespace kalvio
