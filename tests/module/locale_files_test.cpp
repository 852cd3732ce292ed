// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/reshape_tables.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>
#include <util/text-lookup.h>
#include <vector>

// The texts for the host's own views, as they lie in data/locale.
namespace {

using namespace kalvio;

const std::filesystem::path locale_folder = std::filesystem::path(KALVIO_TEST_LOCALE_SOURCE) / "locale";

constexpr const char *locales[] = {"en-US", "zh-CN", "zh-TW", "ja-JP", "ko-KR", "pt-BR", "pt-PT", "es-ES", "de-DE"};

// Key and text of each line; fails on a line that is no text, as the host would read on without it.
std::map<std::string, std::string> read_locale(const std::string &locale)
{
	std::ifstream in(locale_folder / (locale + ".ini"));
	EXPECT_TRUE(in.is_open()) << locale;
	std::map<std::string, std::string> texts;
	for (std::string line; std::getline(in, line);) {
		if (line.empty())
			continue;
		const size_t separator = line.find("=\"");
		const bool is_text = separator != std::string::npos && separator > 0 && line.back() == '"' &&
				     line.size() >= separator + 3;
		EXPECT_TRUE(is_text) << locale << ": " << line;
		if (!is_text)
			continue;
		const std::string key = line.substr(0, separator);
		EXPECT_FALSE(texts.contains(key)) << locale << ": " << key << " twice";
		texts[key] = line.substr(separator + 2, line.size() - separator - 3);
	}
	return texts;
}

std::set<std::string> keys_that_are_asked_for()
{
	std::set<std::string> keys = {"KalvioFilter",         "Kalvio.PropertiesHint", "Kalvio.OpenPanel",
				      "Kalvio.EffectsOn",     "Kalvio.EffectsOff",     "Kalvio.AllEffectsOn",
				      "Kalvio.AllEffectsOff", "Kalvio.ShowOriginal",   "Kalvio.NextLook",
				      "Kalvio.PreviousLook"};
	for (const auto &groups : {face_reshape_groups, body_reshape_groups}) {
		for (const ReshapeGroup &group : groups) {
			keys.insert(group.title_key);
			for (int i = 0; i < group.count; ++i)
				keys.insert(group.items[i].label_key);
		}
	}
	return keys;
}

class LocaleFile : public testing::TestWithParam<const char *> {};

TEST_P(LocaleFile, HasExactlyTheKeysThatAreAskedFor)
{
	std::set<std::string> keys;
	for (const auto &[key, text] : read_locale(GetParam()))
		keys.insert(key);
	EXPECT_EQ(keys, keys_that_are_asked_for());
}

TEST_P(LocaleFile, HasNoEmptyTextAndNoKeyForAText)
{
	for (const auto &[key, text] : read_locale(GetParam())) {
		EXPECT_FALSE(text.empty()) << key;
		EXPECT_NE(text, key);
	}
}

TEST_P(LocaleFile, IsReadByTheHostAsItIsWritten)
{
	lookup_t *lookup = text_lookup_create((locale_folder / (std::string(GetParam()) + ".ini")).string().c_str());
	ASSERT_NE(lookup, nullptr);
	for (const auto &[key, text] : read_locale(GetParam())) {
		const char *out = nullptr;
		EXPECT_TRUE(text_lookup_getstr(lookup, key.c_str(), &out)) << key;
		EXPECT_STREQ(out, text.c_str());
	}
	text_lookup_destroy(lookup);
}

// The hint stands on one line of a dialog, and the button is found by its text.
TEST_P(LocaleFile, HintAndButtonArePlainTextsOfOneLineAndDiffer)
{
	auto texts = read_locale(GetParam());
	for (const char *key : {"Kalvio.PropertiesHint", "Kalvio.OpenPanel"}) {
		EXPECT_EQ(texts[key].find_first_of("<>&\\\n"), std::string::npos) << texts[key];
	}
	EXPECT_NE(texts["Kalvio.PropertiesHint"], texts["Kalvio.OpenPanel"]);
}

INSTANTIATE_TEST_SUITE_P(Each, LocaleFile, testing::ValuesIn(locales), [](const auto &param) {
	std::string name = param.param;
	std::replace(name.begin(), name.end(), '-', '_');
	return name;
});

TEST(LocaleFiles, TheEnglishNameOfTheFilterIsTheOneThatThePanelSpeaksOf)
{
	EXPECT_EQ(read_locale("en-US")["KalvioFilter"], "Kalvio Beauty");
}

TEST(LocaleFiles, ThereAreNoOthers)
{
	std::set<std::string> names;
	for (const auto &entry : std::filesystem::directory_iterator(locale_folder))
		names.insert(entry.path().filename().string());
	std::set<std::string> expected;
	for (const char *locale : locales)
		expected.insert(std::string(locale) + ".ini");
	EXPECT_EQ(names, expected);
}

} // namespace
