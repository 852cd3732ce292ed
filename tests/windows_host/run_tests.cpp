// SPDX-License-Identifier: GPL-2.0-or-later
#include "run_tests.h"

#include "kit/scratch.h"

#include <QApplication>
#include <gtest/gtest.h>
#include <kalvio_engine.h>
#include <windows.h>

namespace {

// Windows does not remove a file that is open.
void close_log_of_engine()
{
	const HMODULE engine = GetModuleHandleW(L"kalvio.dll");
	const FARPROC found = engine ? GetProcAddress(engine, "kl_set_log_config") : nullptr;
	const kl_log_config none = {};
	if (found)
		reinterpret_cast<decltype(kl_set_log_config) *>(reinterpret_cast<void *>(found))(&none);
}

} // namespace

int kalvio::test::run_tests(int argc, char **argv)
{
	testing::InitGoogleTest(&argc, argv);
	if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
		qputenv("QT_QPA_PLATFORM", "offscreen");
	const QApplication application(argc, argv);
	QApplication::setStyle(QStringLiteral("fusion")); // what OBS's themes are made of
	const ScratchFolder temporary;
	const ScopedEnvironment variable("TMP", temporary.path().string());
	const int failed = RUN_ALL_TESTS();
	close_log_of_engine();
	// A filter that no test passes is a mistake.
	const testing::UnitTest &tests = *testing::UnitTest::GetInstance();
	return failed || (!testing::GTEST_FLAG(list_tests) && tests.test_to_run_count() == 0);
}
