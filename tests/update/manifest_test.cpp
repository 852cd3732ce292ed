// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/manifest.h"

#include "kalvio_config.h"
#include "kit/allocation_check.h"
#include "kit/log_capture.h"

#include <gtest/gtest.h>

#include <string>

namespace kalvio::test {

namespace {

// The host's parser reports broken JSON in the log; that is of no interest here.
class ManifestTest : public testing::Test {
protected:
	LogCapture log;
};

std::string nested(size_t depth, const std::string &open, const std::string &close)
{
	std::string json;
	for (size_t level = 0; level < depth; level++)
		json += open;
	json += "1";
	for (size_t level = 0; level < depth; level++)
		json += close;
	return json;
}

} // namespace

TEST_F(ManifestTest, ReadsTheFiveKeys)
{
	const auto manifest = parse_manifest(R"({"version": "1.0.13", "force_below": "1.0.11", "notes": "Better\nskin",
		"download_page": "https://p.example/get", "download_windows": "https://d.example/k.zip", "more": 1})");
	ASSERT_TRUE(manifest);
	EXPECT_EQ(manifest->latest, "1.0.13");
	EXPECT_EQ(manifest->force_below, "1.0.11");
	EXPECT_EQ(manifest->notes, "Better\nskin");
	EXPECT_EQ(manifest->download_page, "https://p.example/get");
	EXPECT_EQ(manifest->download_file, "https://d.example/k.zip");
}

TEST_F(ManifestTest, MissingKeysReadAsEmpty_AndTheFileAsTheDefaultPackage)
{
	const auto manifest = parse_manifest("{}");
	ASSERT_TRUE(manifest);
	EXPECT_EQ(manifest->latest, "");
	EXPECT_EQ(manifest->force_below, "");
	EXPECT_EQ(manifest->notes, "");
	EXPECT_EQ(manifest->download_page, "");
	EXPECT_EQ(manifest->download_file, std::string(download_base) + "/kalvio/obs/kalvio-obs-windows-latest.zip");
}

TEST_F(ManifestTest, ValuesOfAnotherTypeReadAsMissing)
{
	for (const char *value : {"1", "1.5", "true", "false", "null", "[]", R"(["1.0.13"])", "{}", R"({"a": "b"})"}) {
		std::string body =
			R"({"version": @, "force_below": @, "notes": @, "download_page": @, "download_windows": @})";
		for (size_t place = body.find('@'); place != std::string::npos; place = body.find('@'))
			body.replace(place, 1, value);
		const auto manifest = parse_manifest(body);
		ASSERT_TRUE(manifest) << value;
		EXPECT_EQ(manifest->latest, "") << value;
		EXPECT_EQ(manifest->force_below, "") << value;
		EXPECT_EQ(manifest->notes, "") << value;
		EXPECT_EQ(manifest->download_page, "") << value;
		EXPECT_EQ(manifest->download_file, default_package_url()) << value;
	}
}

TEST_F(ManifestTest, AddressesThatNoBrowserShouldGetReadAsMissing)
{
	const auto manifest = parse_manifest(
		R"({"download_page": "file:///etc/passwd", "download_windows": "C:\\Windows\\calc.exe"})");
	ASSERT_TRUE(manifest);
	EXPECT_EQ(manifest->download_page, "");
	EXPECT_EQ(manifest->download_file, default_package_url());
}

TEST_F(ManifestTest, TextsStayAsTheyWereSent)
{
	const auto manifest = parse_manifest(R"({"notes": "<b>100%n</b>\u0007 \u76ee\ud83d\ude00"})");
	ASSERT_TRUE(manifest);
	EXPECT_EQ(manifest->notes, "<b>100%n</b>\a \xE7\x9B\xAE\xF0\x9F\x98\x80");
}

TEST_F(ManifestTest, ReadsAStringOfAMegabyte)
{
	const std::string megabyte(1 << 20, 'n');
	const auto manifest = parse_manifest(R"({"version": "1.0.13", "notes": ")" + megabyte + "\"}");
	ASSERT_TRUE(manifest);
	EXPECT_EQ(manifest->notes, megabyte);
}

TEST_F(ManifestTest, IsNothing_WhenTheBodyIsNoJsonObject)
{
	const std::string bodies[] = {
		"",
		" ",
		"{",
		"}",
		"null",
		"true",
		"5",
		"\"1.0.13\"",
		"[]",
		R"([{"version": "1.0.13"}])",
		R"({"version": "1.0.13")",
		R"({"version": "1.0.13"} x)",
		R"({'version': '1.0.13'})",
		R"({"version": "1.0.13",})",
		R"({"version": "1.0.13", "version": "1.0.14"})",
		"{\"version\": \"1.0.13\n\"}",
		R"({"version": "\ud800"})",
		R"({"version": "\udc00x"})",
		R"({"version": "\u0000"})",
		"{\"version\": \"\xFF\xFE\"}",
		std::string("{\"version\": \"1.0.13\"}\0", 22),
		std::string("{\"version\": \"1.0\0.13\"}", 22),
		"\xEF\xBB\xBF{}",
		"<html>{}</html>",
		R"({"version": 1e999})",
		R"({"version": 99999999999999999999})",
	};
	for (const std::string &body : bodies)
		EXPECT_FALSE(parse_manifest(body)) << body;
}

TEST_F(ManifestTest, SurvivesEveryDepth)
{
	for (const size_t depth : {100U, 1000U, 2000U, 3000U, 100000U}) {
		(void)parse_manifest("{\"version\": " + nested(depth, "[", "]") + "}");
		(void)parse_manifest(nested(depth, "{\"a\": ", "}"));
		(void)parse_manifest(nested(depth, "{\"a\": [", "]}"));
	}
	EXPECT_FALSE(parse_manifest(nested(100000, "{\"a\": ", "}")));
}

TEST_F(ManifestTest, KeepsNothingOfTheHosts)
{
	const AllocationCheck allocations;
	(void)parse_manifest(R"({"version": "1.0.13", "notes": {"a": [1, "b", {"c": "d"}]}})");
	(void)parse_manifest(R"({"version": "1.0.13")");
	EXPECT_EQ(allocations.outstanding(), 0);
}

} // namespace kalvio::test
