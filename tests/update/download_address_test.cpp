// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/download_address.h"

#include "kalvio_config.h"

#include <gtest/gtest.h>

namespace kalvio::test {

namespace {

const Manifest full = {"1.0.13", "", "", "https://p.example/get", "https://d.example/k.zip"};
const Manifest page_only = {"1.0.13", "", "", "https://p.example/get", ""};
const Manifest nothing;

} // namespace

TEST(DownloadAddress, IsThePackage_WhereItIsOfUse)
{
	EXPECT_EQ(download_address(full, PackageUse::Download), "https://d.example/k.zip");
}

TEST(DownloadAddress, IsThePage_WithoutAPackage)
{
	EXPECT_EQ(download_address(page_only, PackageUse::Download), "https://p.example/get");
}

TEST(DownloadAddress, IsTheDefaultPackage_WhenNothingIsKnown)
{
	EXPECT_EQ(download_address(nothing, PackageUse::Download), default_package_url());
}

TEST(DownloadAddress, IsThePage_WhereThePackageIsOfNoUse)
{
	EXPECT_EQ(download_address(full, PackageUse::VisitPage), "https://p.example/get");
}

TEST(DownloadAddress, IsTheWebSite_WhereThePackageIsOfNoUseAndNoPageIsKnown)
{
	EXPECT_EQ(download_address(nothing, PackageUse::VisitPage), web_base);
	EXPECT_EQ(download_address({"1.0.13", "", "", "", "https://d.example/k.zip"}, PackageUse::VisitPage), web_base);
}

} // namespace kalvio::test
