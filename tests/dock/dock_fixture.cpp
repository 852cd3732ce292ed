// SPDX-License-Identifier: GPL-2.0-or-later
#include "dock_fixture.h"

#include "kit/config_double.h"
#include "kit/history_double.h"
#include "panel/model/panel_model.h"
#include "panel/model/ui_preferences.h"
#include "panel/text/translations.h"
#include "update/update_hooks.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QTimerEvent>
#include <thread>

namespace kalvio::test {

namespace {

HttpResponse fetch_nothing(const std::string &)
{
	return {};
}

std::int64_t some_moment()
{
	return 1'800'000'000;
}

bool open_nothing(const std::string &)
{
	return true;
}

std::string no_file(const char *)
{
	return {};
}

void wait_for_update_check()
{
	while (update_check_is_running())
		std::this_thread::yield();
}

} // namespace

DockTest::DockTest() : frontend(std::make_unique<FrontendDouble>())
{
	host_double().reset();
	history_double().reset();
	set_config_folder(folder.file("config"));
	reset_update_service({fetch_nothing, some_moment, open_nothing, no_file});
	panel_model() = {};
	ui_preferences() = {};
}

DockTest::~DockTest()
{
	stop_dock_host();
	frontend.reset();
	run_event_loop();
	wait_for_update_check();
	set_language(LanguageEnglish);
}

void DockTest::run_event_loop()
{
	for (int turn = 0; turn < 3; ++turn) {
		QCoreApplication::sendPostedEvents();
		QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
		QCoreApplication::processEvents();
	}
}

void DockTest::start()
{
	start_dock_host();
	frontend->load_first_collection();
	frontend->finish_loading();
	run_event_loop();
}

void DockTest::quit()
{
	frontend->close();
	frontend->delete_window();
	stop_dock_host();
}

void DockTest::restart()
{
	quit();
	frontend.reset();
	frontend = std::make_unique<FrontendDouble>();
	panel_model() = {};
	ui_preferences() = {};
	start();
}

void DockTest::fire(QTimer &timer)
{
	QTimerEvent event(timer.timerId());
	QCoreApplication::sendEvent(&timer, &event);
}

int DockTest::close_buttons_shown()
{
	int shown = 0;
	for (const QAbstractButton *button : dock().findChildren<QAbstractButton *>("qt_dockwidget_closebutton"))
		shown += !button->isHidden();
	return shown;
}

OBSDataAutoRelease DockTest::preferences() const
{
	return obs_data_create_from_json_file(folder.file("config/ui.json").c_str());
}

void DockTest::dock_at(Qt::DockWidgetArea area)
{
	dock().setFloating(false);
	frontend->window()->addDockWidget(area, &dock());
	run_event_loop();
}

void DockTest::float_at(int x, int y, int width, int height)
{
	dock().setFloating(true);
	dock().setGeometry(x, y, width, height);
	run_event_loop();
}

} // namespace kalvio::test
