// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "panel/text/language.h"

#include <span>

// The panel's texts as data. To add a text, add a row to one of the tables; to change a wording, change its cell.
// What the rows must keep (one meaning a key, no empty cell, short captions) is checked by the tests.
namespace kalvio {

// One text in every language, in the order of `Language`. English is always there; a null or empty cell shows English.
struct TranslationRow {
	const char *key;
	const char *texts[language_count];
};

extern const std::span<const TranslationRow> console_texts; // header, hints, settings, update, workspace
extern const std::span<const TranslationRow> control_texts; // captions and sections of the seven pages
extern const std::span<const TranslationRow>
	choice_texts;                                    // styles, colors, filters, stickers and backgrounds to choose
extern const std::span<const TranslationRow> look_texts; // the page of the looks
extern const std::span<const TranslationRow> note_texts; // what the panel says beside its controls

// Text of `row` in `language`, or in English where the language has none or is not one of ours.
const char *text_in_language(const TranslationRow &row, int language);

} // namespace kalvio
