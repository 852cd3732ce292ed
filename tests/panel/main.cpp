// SPDX-License-Identifier: GPL-2.0-or-later
#include <QApplication>
#include <gtest/gtest.h>

// Widgets need an application, and no screen.
int main(int argc, char **argv)
{
	testing::InitGoogleTest(&argc, argv);
	if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
		qputenv("QT_QPA_PLATFORM", "offscreen");
	const QApplication application(argc, argv);
	// One style whatever desktop the tests run on.
	QApplication::setStyle(QStringLiteral("fusion"));
	return RUN_ALL_TESTS();
}
