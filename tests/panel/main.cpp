// SPDX-License-Identifier: GPL-2.0-or-later
#include "host_look.h"

#include <QApplication>
#include <gtest/gtest.h>

// Widgets need an application, and no screen; KALVIO_HOST_LOOK puts it under the style sheet of a real host.
int main(int argc, char **argv)
{
	testing::InitGoogleTest(&argc, argv);
	if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
		qputenv("QT_QPA_PLATFORM", "offscreen");
	const QApplication application(argc, argv);
	// One style whatever desktop the tests run on.
	QApplication::setStyle(QStringLiteral("fusion"));
	kalvio::test::use_host_look();
	return RUN_ALL_TESTS();
}
