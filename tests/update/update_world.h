// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/log_capture.h"
#include "kit/scratch.h"
#include "update/update_hooks.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kalvio::test {

// An update service whose clock, server, browser and folder belong to the test. One at a time.
class UpdateWorld : public testing::Test {
protected:
	UpdateWorld();
	~UpdateWorld() override;

	// The service as it is after the module was loaded anew: nothing known, the dismissal read from the folder.
	void restart();

	// The server's answer from now on.
	void answer(std::uint32_t status, const std::string &body);
	void answer_manifest(const std::string &json) { answer(200, json); }
	// Fetches block until release() is called.
	void hold_answers();
	void release_answers();
	// The next fetch throws std::bad_alloc.
	void run_out_of_memory();

	std::int64_t now() const;
	void set_now(std::int64_t unix_s);
	void advance(std::int64_t seconds) { set_now(now() + seconds); }

	void set_config_file(const std::string &path); // in place of "update_dismiss.json" in `folder`

	// One poll, and the check that it starts to its end.
	void poll_and_finish();
	static void wait_for_worker();

	std::vector<std::string> fetched() const; // addresses, in order
	std::vector<std::string> opened() const;

	ScratchFolder folder;
	LogCapture log;
};

} // namespace kalvio::test
