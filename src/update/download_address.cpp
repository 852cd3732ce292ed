// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/download_address.h"

#include "kalvio_config.h"

namespace kalvio {

std::string download_address(const Manifest &manifest, PackageUse use)
{
	if (use == PackageUse::Download && !manifest.download_file.empty())
		return manifest.download_file;
	if (!manifest.download_page.empty())
		return manifest.download_page;
	return use == PackageUse::Download ? default_package_url() : web_base;
}

} // namespace kalvio
