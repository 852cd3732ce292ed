// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "update/manifest.h"

#include <string>

namespace kalvio {

// What the publisher's package is to the system at hand.
enum class PackageUse {
	Download,  // it is for this system: open it directly
	VisitPage, // it is for another system: show the page, where the user finds the right one
};

// One per system.
extern const PackageUse package_use;

// The address behind "update now". Before the first manifest everything in it is empty.
std::string download_address(const Manifest &manifest, PackageUse use);

} // namespace kalvio
