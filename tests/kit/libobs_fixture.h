// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/allocation_check.h"
#include "kit/libobs_render.h"
#include "kit/libobs_session.h"
#include "kit/log_capture.h"
#include "kit/picture.h"
#include "kit/test_sources.h"

#include <gtest/gtest.h>
#include <memory>
#include <obs.hpp>
#include <optional>
#include <string>
#include <vector>

namespace kalvio::test {

// A test in a running libobs with our module in it. Afterwards libobs is shut down, every allocation of the host's
// allocator must have been freed, and no error line that the test did not announce may be in the log.
class LibobsTest : public ::testing::Test {
protected:
	void SetUp() override;
	void TearDown() override;

	// What SetUp starts. Without a value the test calls start itself.
	virtual std::optional<SessionOptions> initial_session() { return SessionOptions(); }

	// One session at a time.
	void start(const SessionOptions &options);
	// Checks the allocations. No source may be held.
	void stop();
	LibobsSession &session() { return *session_; }

	// An error line, or a warning of ours, that is part of this test: it may appear any number of times.
	void announce_log_line(const LogLine &line) { announced_.push_back(line); }

	LogCapture &log() { return log_; }

private:
	void check_log() const;

	LogCapture log_;
	std::vector<LogLine> announced_;
	AllocationCheck allocations_;
	std::unique_ptr<LibobsSession> session_;
};

// Settings written down as JSON.
OBSDataAutoRelease settings_from(const char *json);

// Our filter, not on any source yet. Null settings are the defaults.
OBSSourceAutoRelease create_filter(const std::string &name, obs_data_t *settings = nullptr);

// Our filter on `source`.
OBSSourceAutoRelease add_filter(obs_source_t *source, const std::string &name = "Beauty",
				obs_data_t *settings = nullptr);

// Takes a source or a filter away as a user does, and waits until the host has destroyed it.
void release_and_wait(OBSSourceAutoRelease &source);

} // namespace kalvio::test
