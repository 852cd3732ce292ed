// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "frontend_double.h"
#include "kit/host_double.h"
#include "kit/log_capture.h"
#include "kit/scratch.h"
#include "panel/dock/dock_host.h"

#include <QTimer>
#include <gtest/gtest.h>
#include <memory>
#include <obs.hpp>
#include <string>
#include <string_view>

namespace kalvio::test {

// A front end without our dock, an empty configuration folder and an update service that reaches nothing.
class DockTest : public testing::Test {
protected:
	DockTest();
	~DockTest() override;

	// What was posted to the event loop happens, including what that posts.
	static void run_event_loop();

	// The host's start up to where it has loaded everything and its event loop runs.
	void start();
	// Its end: EXIT, the main window, unload.
	void quit();
	// A new host on the same configuration folder.
	void restart();

	QDockWidget &dock() { return *frontend->dock(); }
	QWidget *panel() { return frontend->dock() ? frontend->dock()->widget() : nullptr; }
	QTimer *poll_timer()
	{
		return panel() ? panel()->findChild<QTimer *>({}, Qt::FindDirectChildrenOnly) : nullptr;
	}
	static void fire(QTimer &timer);
	int close_buttons_shown();

	void write_preferences(std::string_view json) { folder.write("config/ui.json", json); }
	OBSDataAutoRelease preferences() const;

	// Moves the dock as a user does, and lets the window lay itself out.
	void dock_at(Qt::DockWidgetArea area);
	void float_at(int x, int y, int width, int height);

	ScratchFolder folder;
	LogCapture log;
	std::unique_ptr<FrontendDouble> frontend;
};

} // namespace kalvio::test
