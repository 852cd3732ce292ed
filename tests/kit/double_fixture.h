// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/allocation_check.h"
#include "kit/call_journal.h"
#include "kit/host_double.h"
#include "kit/log_capture.h"
#include "kit/module_double.h"
#include "kit/recording_engine.h"
#include "kit/seam_doubles.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace kalvio::test {

// A test among doubles: all of them fresh at the start; at the end no finding of any of them, no engine, GPU object or
// host allocation left over. The checks are in the destructor, after the members of the derived fixture are gone.
class DoubleFixture : public testing::Test {
protected:
	DoubleFixture()
	{
		reset_recording_engine();
		host_double().reset();
		reset_module_double();
		reset_seams();
		call_journal().reset();
	}

	~DoubleFixture() override
	{
		EXPECT_EQ(host_double().misuse(), std::vector<std::string>());
		EXPECT_EQ(engine_misuse(), std::vector<std::string>());
		EXPECT_EQ(live_engine_count(), 0);
		EXPECT_EQ(host_double().live_gpu_objects(), 0);
		EXPECT_EQ(allocations_.outstanding(), 0);
	}

private:
	AllocationCheck allocations_;

protected:
	LogCapture log_;
};

} // namespace kalvio::test
