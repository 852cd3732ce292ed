// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_fixture.h"
#include "log.h"

#include <filesystem>

namespace kalvio::engine::testing {
namespace {

int64_t now_us = 0;

int count(const std::string &text, const std::string &part)
{
	int found = 0;
	for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
		++found;
	return found;
}

class LogTest : public ::testing::Test {
protected:
	LogTest() { now_us = 1'000'000; }

	std::unique_ptr<Log> make() const
	{
		const kl_log_config config = {0, 1, 2, 0, path.c_str()};
		return std::make_unique<Log>(config, [] { return now_us; });
	}
	std::string text() const { return read_text(path); }

	ScratchFolder scratch;
	std::string path = scratch.path("engine.log");
};

TEST_F(LogTest, ALineOfEveryFrameIsWrittenFiveTimesPerMinute)
{
	const auto log = make();
	for (int frame = 0; frame < 60 * 60; ++frame) {
		log->write(LogLevel::Error, "the bundle is damaged");
		now_us += 16'666;
	}
	EXPECT_EQ(count(text(), "the bundle is damaged"), Log::max_repeats);
}

TEST_F(LogTest, TheNextLineAfterAMinuteTellsHowManyWereLeftOut)
{
	const auto log = make();
	for (int frame = 0; frame < 100; ++frame)
		log->write(LogLevel::Error, "the bundle is damaged");
	now_us += Log::repeat_window_us;
	log->write(LogLevel::Error, "the bundle is damaged");
	EXPECT_TRUE(contains(text(), "the bundle is damaged (and 95 times before)"));
	log->write(LogLevel::Error, "the bundle is damaged");
	EXPECT_EQ(count(text(), "times before"), 1);
}

TEST_F(LogTest, AnEndingLogTellsHowManyWereLeftOut)
{
	auto log = make();
	for (int frame = 0; frame < 7; ++frame)
		log->write(LogLevel::Warning, "the frame is late");
	log.reset();
	EXPECT_TRUE(contains(text(), "[warning] 2 more times: the frame is late"));
}

TEST_F(LogTest, LinesOfOtherTextOrLevelAreCountedAlone)
{
	const auto log = make();
	for (int frame = 0; frame < 20; ++frame) {
		log->write(LogLevel::Error, "engine %d: one", 1);
		log->write(LogLevel::Error, "engine %d: one", 2);
		log->write(LogLevel::Warning, "engine %d: one", 1);
	}
	EXPECT_EQ(count(text(), "[error] engine 1: one"), Log::max_repeats);
	EXPECT_EQ(count(text(), "[error] engine 2: one"), Log::max_repeats);
	EXPECT_EQ(count(text(), "[warning] engine 1: one"), Log::max_repeats);
}

TEST_F(LogTest, ATextThatIsForgottenForOthersTellsItsCount)
{
	const auto log = make();
	for (int frame = 0; frame < 9; ++frame)
		log->write(LogLevel::Error, "first");
	for (int other = 0; other < 100; ++other) {
		now_us += 1;
		log->write(LogLevel::Error, "other %d", other);
	}
	EXPECT_TRUE(contains(text(), "4 more times: first"));
	EXPECT_EQ(count(text(), "] other "), 100);
}

TEST_F(LogTest, ALongTextIsCutAndStaysOneLine)
{
	const auto log = make();
	log->write(LogLevel::Error, "%s", std::string(5000, 'x').c_str());
	log->write(LogLevel::Error, "next");
	EXPECT_EQ(count(text(), "\n"), 2);
	EXPECT_LT(text().size(), 1300U);
}

TEST_F(LogTest, AFileThatHasGrownLargeBeginsAnew)
{
	{
		const auto log = make();
		const std::string filling(1000, 'x');
		for (int line = 0; line < 5000; ++line)
			log->write(LogLevel::Information, "%d %s", line, filling.c_str());
	}
	EXPECT_LT(std::filesystem::file_size(scratch.place("engine.log")), uintmax_t{Log::max_file_bytes} + 2000);
	EXPECT_TRUE(contains(text(), "the log had reached 4 MiB and begins anew"));
	EXPECT_TRUE(contains(text(), "] 4999 xxx"));
}

TEST_F(LogTest, AFileThatWasLargeBeforeBeginsAnewWithItsNextLine)
{
	scratch.write("engine.log", std::string(size_t{Log::max_file_bytes} + 1, 'x'));
	const auto log = make();
	log->write(LogLevel::Error, "one");
	log->write(LogLevel::Error, "two");
	EXPECT_LT(text().size(), 300U);
	EXPECT_TRUE(contains(text(), "two"));
}

TEST_F(LogTest, AFileWithASecondNameIsNotWrittenTo)
{
	const std::string victim = scratch.write("precious.txt", std::string("precious"));
	std::filesystem::create_hard_link(scratch.place("precious.txt"), scratch.place("engine.log"));
	const auto log = make();
	log->write(LogLevel::Error, "the bundle is damaged");
	EXPECT_EQ(read_text(victim), "precious");
}

} // namespace
} // namespace kalvio::engine::testing
