// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/log_text.h"

#include <gtest/gtest.h>

namespace {

using kalvio::sanitize_for_log;

TEST(LogText, KeepsOrdinaryText)
{
	EXPECT_EQ(sanitize_for_log(""), "");
	EXPECT_EQ(sanitize_for_log("Caf\xC3\xA9 \xE7\x9B\xAE 1.0.13"), "Caf\xC3\xA9 \xE7\x9B\xAE 1.0.13");
}

TEST(LogText, StaysOneLine)
{
	EXPECT_EQ(sanitize_for_log("a\nb\rc\td\x1B[0m\x7F"), "a?b?c?d?[0m?");
	EXPECT_EQ(sanitize_for_log(std::string_view("a\0b", 3)), "a?b");
}

TEST(LogText, IsCutBetweenTwoCharacters)
{
	const std::string text = "abc\xE7\x9B\xAE";
	EXPECT_EQ(sanitize_for_log(text, 6), text);
	EXPECT_EQ(sanitize_for_log(text, 5), "abc");
	EXPECT_EQ(sanitize_for_log(text, 4), "abc");
	EXPECT_EQ(sanitize_for_log(text, 3), "abc");
	EXPECT_EQ(sanitize_for_log(text, 0), "");
}

TEST(LogText, EndsAtTheLimit_WhenTheTextIsNoUtf8)
{
	EXPECT_LE(sanitize_for_log(std::string(1000, '\x80'), 64).size(), 64U);
}

} // namespace
