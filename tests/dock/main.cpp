// SPDX-License-Identifier: GPL-2.0-or-later
#include <QApplication>
#include <gtest/gtest.h>

int main(int argc, char **argv)
{
	// No screen is needed, and none is wanted: windows would come and go on the user's.
	if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
		qputenv("QT_QPA_PLATFORM", "offscreen");
	const QApplication application(argc, argv);
	testing::InitGoogleTest(&argc, argv);
	return RUN_ALL_TESTS();
}
