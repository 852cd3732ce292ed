// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/scratch.h"
#include "platform/platform.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sys/stat.h>
#include <sys/wait.h>

namespace {

using namespace kalvio::test;
using kalvio::open_url;

// A desktop whose opener tells this test, through a pipe, how it was called.
class OpenUrl : public testing::Test {
protected:
	OpenUrl()
	{
		make_pipe("calls");
		make_pipe("go");
	}

	// `before_the_answer`: shell commands that the opener runs first.
	void install_opener(const std::string &before_the_answer = "")
	{
		const std::string opener = desktop_.write("xdg-open", "#!/bin/sh\n" + before_the_answer +
									      "\nprintf '%s|' \"$#\" \"$@\" > '" +
									      desktop_.file("calls") + "'\n");
		std::filesystem::permissions(opener, std::filesystem::perms::owner_all);
	}

	// What the opener says; waits until it says something.
	std::string call() const
	{
		std::ifstream in(desktop_.file("calls"));
		return std::string(std::istreambuf_iterator<char>(in), {});
	}

	void make_pipe(const char *name) const { ASSERT_EQ(mkfifo(desktop_.file(name).c_str(), 0600), 0); }

	ScratchFolder desktop_;
	ScopedEnvironment path_{"PATH", desktop_.path().string()};
};

TEST_F(OpenUrl, HandsTheAddressToTheDesktopsOpenerAsItsOneArgument)
{
	install_opener();
	EXPECT_TRUE(open_url("https://www.kalvio.example/guide"));
	EXPECT_EQ(call(), "1|https://www.kalvio.example/guide|");
	EXPECT_TRUE(open_url("http://kalvio.example/"));
	EXPECT_EQ(call(), "1|http://kalvio.example/|");
}

TEST_F(OpenUrl, HandsOverEveryCharacterAsItIs)
{
	install_opener();
	const ScopedWorkingFolder here(desktop_.path());
	const std::string address = "https://kalvio.example/?a=1&b=$(:);:*'x'%20日本語#part";
	EXPECT_TRUE(open_url(address));
	EXPECT_EQ(call(), "1|" + address + "|");
}

TEST_F(OpenUrl, DoesNotWaitForTheOpener)
{
	install_opener("read answer < '" + desktop_.file("go") + "'");
	EXPECT_TRUE(open_url("https://kalvio.example/")); // while the opener waits for us
	std::ofstream(desktop_.file("go")) << "on\n";
	EXPECT_EQ(call(), "1|https://kalvio.example/|");
}

TEST_F(OpenUrl, LeavesNoChildBehind)
{
	install_opener();
	open_url("https://kalvio.example/");
	call();
	EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
	EXPECT_EQ(errno, ECHILD);
}

TEST_F(OpenUrl, FailsWithoutAnOpener)
{
	EXPECT_FALSE(open_url("https://kalvio.example/"));
}

TEST_F(OpenUrl, RefusesWhatIsNoWebAddress)
{
	install_opener(": > '" + desktop_.file("called") + "'; exit");
	for (const char *address :
	     {"", "kalvio.example", "file:///etc/passwd", "ftp://kalvio.example/", "javascript:alert(1)",
	      " https://kalvio.example/", "/usr/bin/env", "--help", "https:/kalvio.example", "https://",
	      "https://kalvio.example/ --profile=evil", "https://kalvio.example/\"evil",
	      "https://kalvio.example/`>evil`", "https://kalvio.example/\nevil"})
		EXPECT_FALSE(open_url(address)) << address;
	EXPECT_FALSE(std::filesystem::exists(desktop_.file("called")));
}

} // namespace
