// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

namespace kalvio {

// Index of a language and of its column in the tables of texts.
enum Language : int {
	LanguageEnglish = 0,
	LanguageSimplifiedChinese = 1,
	LanguageTraditionalChinese = 2,
	LanguageJapanese = 3,
	LanguageKorean = 4,
	LanguageBrazilianPortuguese = 5,
	LanguageSpanish = 6,
	LanguageGerman = 7
};

inline constexpr int language_count = 8;

} // namespace kalvio
