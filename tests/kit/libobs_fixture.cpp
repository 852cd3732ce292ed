// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/libobs_fixture.h"

#include <algorithm>
#include <stdexcept>

namespace kalvio::test {

void LibobsTest::SetUp()
{
	if (!has_display())
		GTEST_FAIL() << "DISPLAY is not set, and libobs needs an X display: run this under xvfb-run, as "
				"scripts/test does";
	if (const auto options = initial_session())
		start(*options);
}

void LibobsTest::TearDown()
{
	stop();
	check_log();
}

void LibobsTest::start(const SessionOptions &options)
{
	ASSERT_FALSE(session_) << "the session before was not stopped";
	allocations_ = AllocationCheck();
	session_ = std::make_unique<LibobsSession>(options);
}

void LibobsTest::stop()
{
	if (!session_)
		return;
	session_.reset();
	EXPECT_EQ(allocations_.outstanding(), 0) << "the host's allocator counts what was not freed";
}

void LibobsTest::check_log() const
{
	for (const LogLine &line : log_.lines()) {
		const bool serious =
			line.level <= LOG_ERROR || (line.level <= LOG_WARNING && line.text.starts_with("[Kalvio]"));
		if (serious && std::ranges::find(announced_, line) == announced_.end())
			ADD_FAILURE() << "unexpected in the log: " << line;
	}
}

OBSDataAutoRelease settings_from(const char *json)
{
	OBSDataAutoRelease settings = obs_data_create_from_json(json);
	if (!settings)
		throw std::runtime_error(std::string("not JSON: ") + json);
	return settings;
}

OBSSourceAutoRelease create_filter(const std::string &name, obs_data_t *settings)
{
	OBSSourceAutoRelease filter = obs_source_create("kalvio_filter", name.c_str(), settings, nullptr);
	if (!filter)
		throw std::runtime_error("no filter could be made");
	return filter;
}

OBSSourceAutoRelease add_filter(obs_source_t *source, const std::string &name, obs_data_t *settings)
{
	OBSSourceAutoRelease filter = create_filter(name, settings);
	obs_source_filter_add(source, filter);
	return filter;
}

void release_and_wait(OBSSourceAutoRelease &source)
{
	source = nullptr;
	while (obs_wait_for_destroy_queue()) {
	}
}

} // namespace kalvio::test
