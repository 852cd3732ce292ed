// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/config_double.h"
#include "kit/host_double.h"
#include "kit/log_capture.h"
#include "kit/scratch.h"
#include "panel/model/panel_model.h"
#include "panel/model/ui_preferences.h"

#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>

namespace kalvio::test {

// What the update service answers to the panel; see update_double.cpp.
void set_update_status(const UpdateStatus &status);
int update_check_polls();

// A panel's model at the start of a process, a registry without filters and a host to put filters into.
class PanelModelTest : public testing::Test {
protected:
	PanelModelTest();
	~PanelModelTest() override;

	// A filter on a source of this name, as the host makes it when it loads a scene collection or the user adds it.
	// `smoothing` is the saved value that tells filters apart.
	FakeSource &add_filter(const std::string &source_name, double smoothing = 0.0);
	void remove_filter(FakeSource &filter);
	void remove_all_filters();

	static double smoothing_of(FakeSource &filter);
	// How often the host updates this filter in its next tick: 1 however often it was asked since the last look, or
	// 0.
	int take_updates(FakeSource &filter);

	void drive_all(bool all);
	void choose(int index);
	bool saved_apply_global() const;

	ScratchFolder folder;
	LogCapture log;

private:
	struct Placed {
		std::unique_ptr<FakeSource> source;
		std::unique_ptr<FakeSource> filter;
		int updates = 0;
	};
	std::map<FakeSource *, std::unique_ptr<Placed>> placed_;
};

} // namespace kalvio::test
