// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/allocation_check.h"
#include "kit/config_double.h"
#include "kit/log_capture.h"
#include "kit/scratch.h"
#include "panel/model/ui_preferences.h"
#include "panel/text/translations.h"

#include <gtest/gtest.h>
#include <obs.hpp>
#include <string>

namespace kalvio::test {

// A folder of preferences without any, and choices as they are at first.
class UiPreferencesTest : public testing::Test {
protected:
	UiPreferencesTest()
	{
		set_config_folder(folder_.file("plugin_config"));
		ui_preferences() = {};
	}
	~UiPreferencesTest() override
	{
		EXPECT_EQ(allocations_.outstanding(), 0);
		set_language(LanguageEnglish);
	}

	std::string path() const { return folder_.file("plugin_config/ui.json"); }
	void write(const std::string &content) const { folder_.write("plugin_config/ui.json", content); }
	OBSDataAutoRelease read() const { return obs_data_create_from_json_file(path().c_str()); }

	AllocationCheck allocations_;
	LogCapture log_; // the host says what it thinks of a broken file
	ScratchFolder folder_;
};

} // namespace kalvio::test
