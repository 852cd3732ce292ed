// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/download_address.h"

namespace kalvio {

const PackageUse package_use = PackageUse::VisitPage;

} // namespace kalvio
