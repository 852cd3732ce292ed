// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/text/translations.h"

#include "panel/text/translation_table.h"

#include <array>
#include <string>
#include <string_view>
#include <unordered_map>

namespace kalvio {

namespace {

using RowIndex = std::unordered_map<std::string_view, const TranslationRow *>;

int current_language = LanguageEnglish;

const RowIndex &row_index()
{
	// Never destroyed: a late look-up at exit must find it.
	static const RowIndex *const index = [] {
		auto *rows = new RowIndex;
		for (const std::span<const TranslationRow> table :
		     {console_texts, control_texts, choice_texts, look_texts, note_texts}) {
			for (const TranslationRow &row : table)
				rows->emplace(row.key, &row);
		}
		return rows;
	}();
	return *index;
}

// Only ASCII: locale names hold nothing else, and the C library's conversion depends on the process's own locale.
constexpr char ascii_lower(char letter)
{
	return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

std::string lower_case(std::string_view text)
{
	std::string lower(text);
	for (char &letter : lower)
		letter = ascii_lower(letter);
	return lower;
}

bool has_language(std::string_view locale, std::string_view language)
{
	return locale.starts_with(language) &&
	       (locale.size() == language.size() || locale[language.size()] == '-' || locale[language.size()] == '_');
}

// The scripts and regions that write Traditional Chinese, wherever the name holds them.
bool is_traditional_chinese(std::string_view locale)
{
	for (const std::string_view part : {"hant", "tw", "hk", "mo"}) {
		if (locale.find(part) != std::string_view::npos)
			return true;
	}
	return false;
}

} // namespace

const char *text_in_language(const TranslationRow &row, int language)
{
	const char *const english = row.texts[LanguageEnglish];
	if (language < 0 || language >= language_count)
		return english;
	const char *const text = row.texts[language];
	return text && *text ? text : english;
}

const char *translate(const char *key)
{
	const RowIndex &rows = row_index();
	const auto found = rows.find(key);
	return found == rows.end() ? key : text_in_language(*found->second, current_language);
}

void set_language(int language)
{
	current_language = language;
}

int language_from_locale(const char *locale)
{
	if (!locale)
		return LanguageEnglish;
	const std::string name = lower_case(locale);

	if (has_language(name, "zh"))
		return is_traditional_chinese(name) ? LanguageTraditionalChinese : LanguageSimplifiedChinese;

	struct LanguageName {
		std::string_view name;
		Language language;
	};
	static constexpr LanguageName names[] = {
		{"ja", LanguageJapanese}, {"ko", LanguageKorean}, {"pt", LanguageBrazilianPortuguese},
		{"es", LanguageSpanish},  {"de", LanguageGerman},
	};
	for (const LanguageName &entry : names) {
		if (has_language(name, entry.name))
			return entry.language;
	}
	return LanguageEnglish;
}

const char *web_language_path()
{
	// The web site has no German pages; its German and English readers get the English ones at the root.
	static constexpr std::array paths = {"", "/zh", "/zh", "/ja", "/ko", "/pt-BR", "/es", ""};
	static_assert(paths.size() == language_count);
	if (current_language < 0 || current_language >= language_count)
		return "";
	return paths[static_cast<size_t>(current_language)];
}

} // namespace kalvio
