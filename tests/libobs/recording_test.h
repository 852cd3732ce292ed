// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/call_journal.h"
#include "kit/libobs_fixture.h"
#include "kit/plugin_copy.h"
#include "kit/recording_engine.h"
#include "libobs/host_faults.h"

#include <obs.hpp>
#include <string>

namespace kalvio::test {

// The module in libobs with the recording engine behind it, which turns every byte of a frame to 255 - value. The
// module is a copy with a bundle that no other engine accepts. Afterwards no engine may be left, and none may have been
// misused.
class RecordingTest : public LibobsTest {
protected:
	void SetUp() override;
	void TearDown() override;
	std::optional<SessionOptions> initial_session() override { return with_plugin(); }

	// The options of the usual session.
	SessionOptions with_plugin() const;
	const PluginCopy &plugin() const { return plugin_; }

	// Sets the script, keeping the inverting output.
	static void script(EngineScript script);
	static void fail_creations(int times);
	static void fail_frames(int32_t status);

	// Allows the two lines of a filter that is made without an engine.
	void announce_missing_bundle();
	void announce_failed_creation();

private:
	PluginCopy plugin_;
};

extern const LogLine bundle_not_found;
extern const LogLine creation_failed;
extern const LogLine created_without_engine;

// What the recording engine makes of a picture.
Picture processed(Picture picture);

size_t frames_processed();
size_t engines_created();

// The value that the engine was last given by this setter; the first argument of its last call.
Argument last_value(const char *setter);

} // namespace kalvio::test
