// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/web_address.h"

#include <gtest/gtest.h>

#include <string>

namespace kalvio::test {

TEST(WebAddress, TakesHttpAndHttps)
{
	EXPECT_TRUE(is_web_address("https://www.kalvio.example"));
	EXPECT_TRUE(is_web_address("http://www.kalvio.example/a"));
	EXPECT_TRUE(is_web_address("https://h:8443/a/b.zip?x=1&y=%20#top"));
	EXPECT_TRUE(is_web_address("https://[::1]:443/~a/b_c-d.e!$'()*+,;=@"));
	EXPECT_TRUE(is_web_address("https://m\xC3\xBCller.example/\xE7\x9B\xAE"));
}

TEST(WebAddress, RefusesEveryOtherScheme)
{
	for (const char *text : {"", "https", "https:", "https:/", "https:/h", "ftp://h/", "file:///etc/passwd",
				 "javascript:1", "ms-settings:", "//h/", "h", R"(C:\Windows\calc.exe)", R"(\\h\share)",
				 " https://h/", "httpss://h", R"(https:\\h)", "x https://h/"})
		EXPECT_FALSE(is_web_address(text)) << text;
}

TEST(WebAddress, RefusesAnAddressWithoutHost)
{
	for (const char *text :
	     {"https://", "http://", "https:///a", "https://?a", "https://#a", "https://:443/", "https://@h"})
		EXPECT_FALSE(is_web_address(text)) << text;
}

TEST(WebAddress, RefusesWhatWouldEndItOnACommandLine)
{
	for (const char *text :
	     {R"(https://h/" --run)", "https://h/a b", "https://h/a\tb", "https://h/a\nb", "https://h/a\rb",
	      "https://h/<", "https://h/>", R"(https://h\a)", "https://h/^", "https://h/`x`", "https://h/{",
	      "https://h/|x", "https://h/}", "https://h/\x7F", "https://h/\x01"})
		EXPECT_FALSE(is_web_address(text)) << text;
	EXPECT_FALSE(is_web_address(std::string_view("https://h/\0x", 12)));
}

} // namespace kalvio::test
