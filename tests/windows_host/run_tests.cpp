// SPDX-License-Identifier: GPL-2.0-or-later
#include "run_tests.h"

#include <QApplication>
#include <gtest/gtest.h>

int kalvio::test::run_tests(int argc, char **argv)
{
	testing::InitGoogleTest(&argc, argv);
	if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
		qputenv("QT_QPA_PLATFORM", "offscreen");
	const QApplication application(argc, argv);
	QApplication::setStyle(QStringLiteral("fusion")); // what OBS's themes are made of
	const int failed = RUN_ALL_TESTS();
	// A filter that no test passes is a mistake.
	const testing::UnitTest &tests = *testing::UnitTest::GetInstance();
	return failed || (!testing::GTEST_FLAG(list_tests) && tests.test_to_run_count() == 0);
}
