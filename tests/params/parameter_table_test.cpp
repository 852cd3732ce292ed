// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/parameter_table.h"

#include "params/setting_rows.h"

#include <gtest/gtest.h>
#include <map>
#include <string>

namespace {

using namespace kalvio;
using namespace kalvio::test;

TEST(ParameterTable, HasTheSettingsInTheirOrderAndTypes)
{
	ASSERT_EQ(parameter_table().size(), setting_rows.size());
	for (size_t row = 0; row < setting_rows.size(); ++row) {
		const Parameter &parameter = parameter_table()[row];
		const auto &expected = setting_rows[row].default_value;
		EXPECT_STREQ(parameter.key, setting_rows[row].key);
		EXPECT_EQ(std::holds_alternative<SwitchField>(parameter.field), std::holds_alternative<bool>(expected));
		EXPECT_EQ(std::holds_alternative<ChoiceField>(parameter.field), std::holds_alternative<int>(expected));
		EXPECT_EQ(std::holds_alternative<StrengthField>(parameter.field),
			  std::holds_alternative<double>(expected));
	}
}

TEST(ParameterTable, GivesEachChoiceItsNumberOfValues)
{
	const std::map<std::string, int> expected = {
		{"smoothing_style", 3}, {"whitening_style", 5}, {"lipstick_color", 6},  {"blush_style", 7},
		{"blush_color", 5},     {"contour_style", 6},   {"eyeshadow_style", 7}, {"eyeshadow_color", 4},
		{"eyeliner_style", 6},  {"eyeliner_color", 5},  {"eyebrow_style", 9},   {"eyebrow_color", 3},
		{"eyelash_style", 6},   {"eyelash_color", 3},   {"pupil_color", 9},     {"bg_fill", 3},
		{"chroma", 4},
	};
	std::map<std::string, int> counts;
	for (const Parameter &parameter : parameter_table()) {
		if (const auto *choice = std::get_if<ChoiceField>(&parameter.field))
			counts[parameter.key] = choice->count;
	}
	EXPECT_EQ(counts, expected);
}

TEST(ParameterTable, HasSignedAmountsForTheFaceAlone)
{
	for (const Parameter &parameter : parameter_table()) {
		const auto *strength = std::get_if<StrengthField>(&parameter.field);
		const bool is_signed = strength && strength->is_signed;
		EXPECT_EQ(is_signed, parameter.section == ParameterSection::FaceReshape) << parameter.key;
	}
}

} // namespace
