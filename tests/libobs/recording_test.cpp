// SPDX-License-Identifier: GPL-2.0-or-later
#include "libobs/recording_test.h"

#include <stdexcept>
#include <utility>

namespace kalvio::test {

const LogLine bundle_not_found = {LOG_ERROR, "[Kalvio] resource.kld not found"};
const LogLine creation_failed = {LOG_ERROR, "[Kalvio] kl_engine_create failed"};
const LogLine created_without_engine = {LOG_WARNING, "[Kalvio] filter created without engine (passthrough)"};

void RecordingTest::SetUp()
{
	reset_host_faults();
	reset_recording_engine();
	call_journal().reset();
	script({});
	plugin_.add_placeholder_bundle();
	LibobsTest::SetUp();
}

void RecordingTest::TearDown()
{
	LibobsTest::TearDown();
	EXPECT_EQ(live_engine_count(), 0);
	EXPECT_EQ(engine_misuse(), std::vector<std::string>());
}

SessionOptions RecordingTest::with_plugin() const
{
	SessionOptions options;
	options.plugin = plugin_.files();
	return options;
}

void RecordingTest::script(EngineScript script)
{
	script.output = EngineOutput::Invert;
	set_engine_script(std::move(script));
}

void RecordingTest::fail_creations(int times)
{
	EngineScript failing;
	failing.failing_creations = times;
	script(failing);
}

void RecordingTest::fail_frames(int32_t status)
{
	EngineScript failing;
	failing.process_status = status;
	script(failing);
}

void RecordingTest::announce_missing_bundle()
{
	announce_log_line(bundle_not_found);
	announce_log_line(created_without_engine);
}

void RecordingTest::announce_failed_creation()
{
	announce_log_line(creation_failed);
	announce_log_line(created_without_engine);
}

Picture processed(Picture picture)
{
	for (uint8_t &value : picture.rgba)
		value = static_cast<uint8_t>(255 - value);
	return picture;
}

size_t frames_processed()
{
	return call_journal().count("kl_process_rgba");
}

size_t engines_created()
{
	return call_journal().count("kl_engine_create");
}

Argument last_value(const char *setter)
{
	const std::vector<Call> calls = call_journal().calls_named(setter);
	if (calls.empty() || calls.back().arguments.empty())
		throw std::runtime_error(std::string("never called: ") + setter);
	return calls.back().arguments.front();
}

} // namespace kalvio::test
