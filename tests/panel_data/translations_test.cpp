// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/text/translations.h"

#include "panel/text/translation_table.h"
#include "panel_text_keys.h"
#include "params/effect_catalog.h"

#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

using namespace kalvio;

namespace {

std::vector<TranslationRow> designed_rows()
{
	std::vector<TranslationRow> rows;
	for (const std::span<const TranslationRow> table : {console_texts, control_texts, choice_texts})
		rows.insert(rows.end(), table.begin(), table.end());
	return rows;
}

std::vector<TranslationRow> all_rows()
{
	std::vector<TranslationRow> rows = designed_rows();
	for (const std::span<const TranslationRow> table : {look_texts, note_texts})
		rows.insert(rows.end(), table.begin(), table.end());
	return rows;
}

// The cells that are there. EveryCellHasAText names the others.
std::vector<const char *> cells_of(const TranslationRow &row)
{
	std::vector<const char *> cells;
	for (const char *text : row.texts) {
		if (text && *text)
			cells.push_back(text);
	}
	return cells;
}

std::set<std::string> placeholders(std::string_view text)
{
	std::set<std::string> found;
	for (size_t at = text.find('%'); at != std::string_view::npos; at = text.find('%', at + 1)) {
		if (at + 1 < text.size() && text[at + 1] >= '0' && text[at + 1] <= '9')
			found.insert(std::string(text.substr(at, 2)));
	}
	return found;
}

// Number of bytes of the UTF-8 character at the beginning of `text`; 0 when there is none.
size_t utf8_length(std::string_view text)
{
	const auto byte = [text](size_t index) {
		return static_cast<unsigned char>(text[index]);
	};
	const unsigned char lead = byte(0);
	if (lead < 0x80)
		return 1;
	const size_t length = lead >= 0xF5 ? 0 : lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC2 ? 2 : 0;
	if (length == 0 || text.size() < length)
		return 0;
	for (size_t index = 1; index < length; ++index) {
		if ((byte(index) & 0xC0) != 0x80)
			return 0;
	}
	const bool overlong = (lead == 0xE0 && byte(1) < 0xA0) || (lead == 0xF0 && byte(1) < 0x90);
	const bool surrogate = lead == 0xED && byte(1) >= 0xA0;
	const bool beyond = lead == 0xF4 && byte(1) >= 0x90;
	return overlong || surrogate || beyond ? 0 : length;
}

bool is_utf8(std::string_view text)
{
	while (!text.empty()) {
		const size_t length = utf8_length(text);
		if (length == 0)
			return false;
		text.remove_prefix(length);
	}
	return true;
}

class TranslationsTest : public testing::Test {
protected:
	void TearDown() override { set_language(LanguageEnglish); }
};

// Locales and the language that each one gets.
struct LocaleCase {
	const char *locale;
	int language;
};

class LocaleTest : public testing::TestWithParam<LocaleCase> {};

} // namespace

TEST_F(TranslationsTest, TableHoldsExactlyTheKeysOfThePanel)
{
	std::set<std::string> expected(std::begin(test::panel_text_keys), std::end(test::panel_text_keys));
	std::set<std::string> keys;
	for (const TranslationRow &row : designed_rows())
		keys.insert(row.key);
	EXPECT_EQ(expected.size(), 281u);
	EXPECT_EQ(keys, expected);
}

TEST_F(TranslationsTest, NoKeyHasTwoRows)
{
	EXPECT_EQ(designed_rows().size(), std::size(test::panel_text_keys));
	std::set<std::string> keys;
	for (const TranslationRow &row : all_rows())
		EXPECT_TRUE(keys.insert(row.key).second) << row.key;
}

TEST_F(TranslationsTest, EveryCellHasAText)
{
	for (const TranslationRow &row : all_rows()) {
		for (const char *text : row.texts)
			EXPECT_TRUE(text && *text) << row.key;
	}
}

TEST_F(TranslationsTest, NoCellIsItsOwnKey)
{
	for (const TranslationRow &row : all_rows()) {
		for (const char *text : cells_of(row))
			EXPECT_STRNE(text, row.key);
	}
}

TEST_F(TranslationsTest, EveryCellIsUtf8WithoutControlCharacters)
{
	for (const TranslationRow &row : all_rows()) {
		for (const std::string_view text : cells_of(row)) {
			EXPECT_TRUE(is_utf8(text)) << row.key;
			for (const char byte : text)
				EXPECT_TRUE(static_cast<unsigned char>(byte) >= 0x20 && byte != 0x7F) << row.key;
		}
	}
}

TEST_F(TranslationsTest, Utf8CheckFindsBrokenText)
{
	EXPECT_TRUE(is_utf8("a\u00e9\u7f8e\U0001F600"));
	EXPECT_FALSE(is_utf8("\x80"));
	EXPECT_FALSE(is_utf8("\xC3"));
	EXPECT_FALSE(is_utf8("\xC0\xAF"));
	EXPECT_FALSE(is_utf8("\xED\xA0\x80"));
}

TEST_F(TranslationsTest, NoCellBeginsOrEndsWithASpace)
{
	for (const TranslationRow &row : all_rows()) {
		for (const std::string_view text : cells_of(row)) {
			EXPECT_NE(text.front(), ' ') << row.key;
			EXPECT_NE(text.back(), ' ') << row.key;
		}
	}
}

TEST_F(TranslationsTest, EveryLanguageKeepsThePlaceholdersOfEnglish)
{
	for (const TranslationRow &row : all_rows()) {
		for (const char *text : cells_of(row))
			EXPECT_EQ(placeholders(text), placeholders(row.texts[LanguageEnglish])) << row.key;
	}
}

TEST_F(TranslationsTest, PlaceholderCheckFindsThem)
{
	EXPECT_EQ(placeholders("%2 of %1, 100 %"), (std::set<std::string>{"%1", "%2"}));
}

// What English shares with a language that writes in another script is a name or a sign, not a missing translation.
TEST_F(TranslationsTest, EastAsianColumnsAreTranslated)
{
	const std::set<std::string> same_everywhere = {"nav.langZh", "nav.langEn", "sticker.group.3d"};
	for (const TranslationRow &row : all_rows()) {
		if (same_everywhere.contains(row.key))
			continue;
		for (const int language :
		     {LanguageSimplifiedChinese, LanguageTraditionalChinese, LanguageJapanese, LanguageKorean}) {
			EXPECT_STRNE(row.texts[language], row.texts[LanguageEnglish]) << row.key;
		}
	}
}

// The prefix of a choice is its row of buttons or its grid of tiles.
TEST_F(TranslationsTest, NoTwoChoicesOfOneRowReadTheSame)
{
	for (int language = 0; language < language_count; ++language) {
		std::map<std::string, std::string> keys_by_text;
		for (const TranslationRow &row : choice_texts) {
			const std::string key = row.key;
			const std::string text = key.substr(0, key.rfind('.')) + ": " + text_in_language(row, language);
			const auto [first, is_new] = keys_by_text.emplace(text, key);
			EXPECT_TRUE(is_new) << key << " reads as " << first->second << " in column " << language;
		}
	}
}

TEST_F(TranslationsTest, EveryEntryOfTheEffectCatalogueHasALabel)
{
	for (const char *id : filter_catalog)
		EXPECT_NE(translate(("filter." + std::string(id)).c_str()), "filter." + std::string(id));
	for (const StickerEntry &entry : sticker_catalog)
		EXPECT_NE(translate(("sticker." + std::string(entry.id)).c_str()), "sticker." + std::string(entry.id));
	for (const BackgroundPreset &preset : background_presets)
		EXPECT_STRNE(translate(preset.label_key), preset.label_key);
}

TEST_F(TranslationsTest, UnknownKeyIsItsOwnText)
{
	const char *const key = "no.such.key";
	EXPECT_EQ(translate(key), key);
	EXPECT_STREQ(translate(""), "");
}

TEST_F(TranslationsTest, TextFollowsTheCurrentLanguage)
{
	set_language(LanguageGerman);
	EXPECT_STREQ(translate("tab.body"), "Körper");
	set_language(language_from_locale("zh-HK"));
	EXPECT_STREQ(translate("tab.skin"), "美膚");
	set_language(language_from_locale("zh-Hans-CN"));
	EXPECT_STREQ(translate("tab.skin"), "美肤");
}

TEST_F(TranslationsTest, LanguageOutsideTheTableIsEnglish)
{
	for (const int language : {language_count, 1000, -1}) {
		set_language(language);
		EXPECT_STREQ(translate("tab.skin"), "Skin");
		EXPECT_STREQ(web_language_path(), "");
	}
}

TEST_F(TranslationsTest, EmptyOrAbsentColumnIsEnglish)
{
	const TranslationRow row = {"a.key", {"English", "", nullptr, "日本語"}};
	EXPECT_STREQ(text_in_language(row, LanguageSimplifiedChinese), "English");
	EXPECT_STREQ(text_in_language(row, LanguageTraditionalChinese), "English");
	EXPECT_STREQ(text_in_language(row, LanguageGerman), "English");
	EXPECT_STREQ(text_in_language(row, LanguageJapanese), "日本語");
}

TEST_F(TranslationsTest, WebPathFollowsTheLanguage)
{
	const char *const paths[language_count] = {"", "/zh", "/zh", "/ja", "/ko", "/pt-BR", "/es", ""};
	for (int language = 0; language < language_count; ++language) {
		set_language(language);
		EXPECT_STREQ(web_language_path(), paths[language]);
	}
}

TEST_P(LocaleTest, LocaleChoosesTheLanguage)
{
	EXPECT_EQ(language_from_locale(GetParam().locale), GetParam().language);
}

constexpr LocaleCase locale_cases[] = {
	{nullptr, LanguageEnglish},
	{"", LanguageEnglish},
	{"z", LanguageEnglish},
	{"-", LanguageEnglish},
	{"en-US", LanguageEnglish},
	{"fr-FR", LanguageEnglish},
	{"zh", LanguageSimplifiedChinese},
	{"zhx", LanguageEnglish},
	{"zh-CN", LanguageSimplifiedChinese},
	{"zh-Hans-CN", LanguageSimplifiedChinese},
	{"zh_CN.UTF-8", LanguageSimplifiedChinese},
	{"zh-TW", LanguageTraditionalChinese},
	{"ZH_tw", LanguageTraditionalChinese},
	{"zh-HK", LanguageTraditionalChinese},
	{"zh-MO", LanguageTraditionalChinese},
	{"zh-Hant", LanguageTraditionalChinese},
	{"zh-HANT-SG", LanguageTraditionalChinese},
	{"zh-Hans-MO", LanguageTraditionalChinese},
	{"ja-JP", LanguageJapanese},
	{"JA", LanguageJapanese},
	{"jav-ID", LanguageEnglish},
	{"ko_KR", LanguageKorean},
	{"kok-IN", LanguageEnglish},
	{"pt-BR", LanguageBrazilianPortuguese},
	{"pt-PT", LanguageBrazilianPortuguese},
	{"es-419", LanguageSpanish},
	{"est-EE", LanguageEnglish},
	{"de-AT", LanguageGerman},
	{"de.UTF-8", LanguageEnglish},
	{"\xff\xfe", LanguageEnglish},
};

INSTANTIATE_TEST_SUITE_P(HostLocales, LocaleTest, testing::ValuesIn(locale_cases));
