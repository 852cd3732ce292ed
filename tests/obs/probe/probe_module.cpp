// SPDX-License-Identifier: GPL-2.0-or-later
//
// A module for tests only. Loaded by a real OBS beside the product, it runs the case that KALVIO_PROBE_CASE names, from
// inside, and closes OBS. Exit code of OBS: 0 all facts held, 98 a modal box got in the way, 99 a fact did not hold.
#include "driver.h"
#include "log_tap.h"
#include "probe_case.h"
#include "report.h"

#include <QApplication>
#include <QDateTime>
#include <QPointer>
#include <QTimer>
#include <cstdlib>
#include <obs-frontend-api.h>
#include <obs-module.h>

OBS_DECLARE_MODULE()

namespace {

using namespace kalvio::probe;

constexpr int exit_modal = 98;
constexpr int exit_failed = 99;

const ProbeCase *find_case(const QString &name)
{
	for (const auto table :
	     {picture_cases, filter_cases, host_cases, dock_cases, drag_cases, live_cases, look_cases, hotkey_cases,
	      value_cases, undo_cases, failure_cases, update_cases, grab_cases, sample_cases, soak_cases})
		for (const ProbeCase &entry : table())
			if (name == entry.name)
				return &entry;
	return nullptr;
}

// These runs have no network.
constexpr const char *no_network = "[Kalvio] update check failed (0)";

void check_module_did_not_complain()
{
	for (const LogLine &line : module_lines())
		if (line.level <= LOG_WARNING && line.text != no_network)
			check(false, "the module logs no warning and no error", QString::fromStdString(line.text));
}

void run_case()
{
	const QString name = setting("KALVIO_PROBE_CASE");
	const ProbeCase *const chosen = find_case(name);
	if (!chosen) {
		check(false, "the probe knows the case", name);
	} else {
		chosen->run();
		if (!chosen->may_complain)
			check_module_did_not_complain();
	}
	check(stated_checks() > 0, "the case stated something");
	report({{"finished", name}, {"failed", failed_checks()}});
	if (failed_checks() > 0)
		std::_Exit(exit_failed); // a clean close always ends with 0
	report({{"closing_ms", QDateTime::currentMSecsSinceEpoch()}});
	main_window()->close(); // the way of File > Exit: save, unload, free
}

// Whatever waits for the user would wait for ever. A case may open a box and answer it, so one counts that was there at
// the last look too.
void look_for_modal_box()
{
	static QPointer<QWidget> last;
	QWidget *const box = QApplication::activeModalWidget();
	const bool is_waiting = box && box == last;
	last = box;
	if (!is_waiting)
		return;
	check(false, "no modal box opens",
	      QString("%1 \"%2\"").arg(box->metaObject()->className(), box->windowTitle()));
	box->grab().save(output_file("modal.png"));
	std::_Exit(exit_modal);
}

void on_frontend_event(enum obs_frontend_event event, void *)
{
	if (event != OBS_FRONTEND_EVENT_FINISHED_LOADING)
		return;
	auto *const watchdog = new QTimer(main_window());
	QObject::connect(watchdog, &QTimer::timeout, look_for_modal_box);
	watchdog->start(500);
	// Inside this event OBS is still in its start-up function.
	QTimer::singleShot(0, main_window(), run_case);
}

} // namespace

const char *obs_module_description()
{
	return "Drives OBS from inside for the tests of obs-kalvio";
}

bool obs_module_load()
{
	start_log_tap();
	obs_frontend_add_event_callback(on_frontend_event, nullptr);
	return true;
}

void obs_module_unload()
{
	stop_log_tap();
}
