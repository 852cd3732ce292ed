// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "panel/text/language.h"

// The panel's own texts: one table, a row a key, a column a language. User-interface thread.
namespace kalvio {

// Text of `key` (not null) in the current language, else in English, else `key` itself. UTF-8; lives as long as the
// module or as `key`. May hold the placeholders %1, %2, ...
const char *translate(const char *key);

// The one language of the process, English until it is set.
void set_language(int language);

// Language of a locale of the host ("zh-TW"); English for null, "" and unknown ones.
int language_from_locale(const char *locale);

// What a link to the web site carries between the address and the path for the current language: "/ja", or "".
const char *web_language_path();

} // namespace kalvio
