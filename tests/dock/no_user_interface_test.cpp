// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/dock/dock_host.h"

#include <QCoreApplication>
#include <gtest/gtest.h>
#include <thread>

// A host without widgets: a service that only uses the host's library, or a program built on another version of the
// toolkit. Making a widget there ends the process.

using namespace kalvio;

namespace {

void use_everything()
{
	start_dock_host();
	show_dock();
	schedule_prop_center();
	std::thread([] {
		show_dock();
		schedule_prop_center();
	}).join();
	EXPECT_FALSE(frontend_ready());
	stop_dock_host();
}

} // namespace

TEST(NoUserInterface, DockHostDoesNothingWithoutAnApplication)
{
	ASSERT_FALSE(QCoreApplication::instance());
	use_everything();
}

TEST(NoUserInterface, DockHostDoesNothingInAnApplicationWithoutWidgets)
{
	int argc = 0;
	const QCoreApplication application(argc, nullptr);
	use_everything();
	QCoreApplication::processEvents();
}
