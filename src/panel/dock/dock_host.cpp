// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/dock/dock_host.h"

#include "host/callback_shim.h"
#include "panel/dock/dock_front.h"
#include "panel/dock/dock_geometry.h"
#include "panel/dock/frontend_docks.h"
#include "panel/dock/hotkeys.h"
#include "panel/dock/prop_center.h"
#include "panel/dock/sources_dock.h"
#include "panel/dock/ui_thread.h"
#include "panel/kalvio_panel.h"
#include "panel/model/panel_model.h"
#include "panel/model/ui_preferences.h"
#include "panel/text/translations.h"

#include <QAbstractButton>
#include <QAction>
#include <QDockWidget>
#include <QEvent>
#include <QMainWindow>
#include <QPointer>
#include <QTimer>
#include <atomic>
#include <memory>
#include <obs-frontend-api.h>
#include <obs-module.h>
#include <utility>

namespace kalvio {

namespace {

constexpr const char *dock_id = "kalvio";
constexpr const char *dock_title = "Kalvio"; // a name; not translated
constexpr int poll_interval_ms = 200;

// From start to the host's exit. The widgets are the host's: it deletes them with its main window, after EXIT and
// before the module's unload.
struct DockHost {
	bool is_running = false; // between start and EXIT or stop; nothing is created outside
	bool has_callback = false;
	bool has_dock = false; // the host took the panel into a dock
	bool is_dock_hooked = false;
	bool is_placing = false; // our own moves of the dock are not the user's
	bool is_placed = false;  // nothing is saved before, so that the host's moves at its start never are
	bool open_on_startup = true;
	DockGeometry geometry;
	QPointer<KalvioPanel> panel;
	QPointer<QTimer> poll_timer;
};

DockHost &host()
{
	// Never destroyed: the module's static objects go after the host's application object.
	static DockHost &instance = *new DockHost;
	return instance;
}

std::atomic<bool> is_frontend_ready = false;
std::atomic<bool> is_collection_changing = false;

QMainWindow *main_window()
{
	return qobject_cast<QMainWindow *>(static_cast<QObject *>(obs_frontend_get_main_window()));
}

// The panel comes first: the host's library complains about calls after the main window's end.
QDockWidget *find_dock_widget()
{
	const KalvioPanel *panel = host().panel;
	const QMainWindow *window = panel ? main_window() : nullptr;
	if (!window)
		return nullptr;
	for (QDockWidget *dock : window->findChildren<QDockWidget *>()) {
		if (dock->widget() == panel || dock->objectName() == QLatin1String(dock_id))
			return dock;
	}
	return nullptr;
}

void hide_close_buttons(QDockWidget &dock)
{
	for (QAbstractButton *button : dock.findChildren<QAbstractButton *>("qt_dockwidget_closebutton"))
		button->hide();
}

// The panel is hidden through the host's dock menu only. A dock without any feature is one that the host has locked.
void style_dock(QDockWidget *dock)
{
	if (!dock)
		return;
	if (dock->features() != QDockWidget::NoDockWidgetFeatures)
		dock->setFeatures(QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable);
	hide_close_buttons(*dock);
}

void save_geometry()
{
	DockHost &state = host();
	if (state.is_placing || !state.is_placed)
		return;
	const QDockWidget *dock = find_dock_widget();
	if (!dock)
		return;
	read_dock(*main_window(), *dock, state.geometry);
	save_dock_geometry(state.geometry);
}

// A floating dock that is moved tells nobody. Its last position is what it comes back to after it was docked.
void note_floating_position(const QDockWidget &dock)
{
	DockHost &state = host();
	if (dock.isFloating() && state.is_placed && !state.is_placing)
		read_floating_position(dock, state.geometry);
}

class DockEvents : public QObject {
public:
	using QObject::QObject;

protected:
	bool eventFilter(QObject *watched, QEvent *event) override
	{
		const auto *dock = qobject_cast<QDockWidget *>(watched);
		if (dock && event->type() == QEvent::Move)
			note_floating_position(*dock);
		// Who puts the panel away is done with it.
		if (host().is_running && (event->type() == QEvent::Hide || event->type() == QEvent::Close))
			Shim<save_changes_now>::call();
		return false;
	}
};

void restore_dock_geometry()
{
	QDockWidget *dock = find_dock_widget();
	if (!dock)
		return;
	DockHost &state = host();
	state.is_placing = true;
	place_dock(*main_window(), *dock, state.geometry);
	if (state.open_on_startup)
		dock->show();
	style_dock(dock);
	state.is_placing = false;
	state.is_placed = true;
}

void hook_dock()
{
	DockHost &state = host();
	QDockWidget *dock = find_dock_widget();
	if (!dock || state.is_dock_hooked)
		return;
	style_dock(dock);
	state.is_dock_hooked = true;
	// The toolkit makes new title-bar buttons when a dock floats or docks.
	QObject::connect(dock, &QDockWidget::topLevelChanged, dock, [] {
		save_geometry();
		style_dock(find_dock_widget());
	});
	QObject::connect(dock, &QDockWidget::dockLocationChanged, dock, [] { save_geometry(); });
	dock->installEventFilter(new DockEvents(dock));
	// The host rewrites the features of every dock when the user locks and unlocks them.
	QObject::connect(dock, &QDockWidget::featuresChanged, dock, [dock](QDockWidget::DockWidgetFeatures features) {
		if (features.testFlag(QDockWidget::DockWidgetClosable))
			dock->setFeatures(features & ~QDockWidget::DockWidgetFeatures(QDockWidget::DockWidgetClosable));
		hide_close_buttons(*dock);
	});
}

void show_changes()
{
	KalvioPanel *panel = host().panel;
	if (panel && take_changed())
		panel->refreshControls();
}

void poll()
{
	poll_targets();
	follow_sources_dock();
	follow_filters_with_hotkeys(panel_model().filters);
	save_changed_hotkeys();
	show_changes();
}

void start_polling()
{
	DockHost &state = host();
	if (state.poll_timer)
		return;
	state.poll_timer = new QTimer(state.panel);
	QObject::connect(state.poll_timer, &QTimer::timeout, state.panel, Shim<poll>::call);
	state.poll_timer->start(poll_interval_ms);
	panel_model().refresh = Shim<show_changes>::call;
	poll();
}

void stop_polling()
{
	DockHost &state = host();
	if (state.poll_timer)
		state.poll_timer->stop();
	state.poll_timer = nullptr;
	panel_model().refresh = nullptr;
}

// False without a panel in a dock, now and as long as the host refuses it.
bool make_panel()
{
	DockHost &state = host();
	if (state.panel)
		return true;
	state.open_on_startup = load_ui_prefs(language_from_locale(obs_get_locale()));
	load_dock_geometry(state.geometry);

	auto panel = std::make_unique<KalvioPanel>();
	if (!add_frontend_dock(dock_id, dock_title, panel.get())) {
		blog(LOG_ERROR, "[Kalvio] failed to add Qt dock");
		return false;
	}
	blog(LOG_INFO, "[Kalvio] Qt dock added");
	state.panel = panel.release();
	state.has_dock = true;
	return true;
}

// Does what is still to be done: whatever failed is tried again with the next call.
void create_dock()
{
	if (!host().is_running || !main_window() || !make_panel())
		return;
	hook_dock();
	start_polling();
}

void finish_loading_filters()
{
	end_loading_filters();
	follow_filters_with_hotkeys(panel_model().filters);
}

void finish_loading()
{
	if (!host().is_running)
		return;
	Shim<restore_dock_geometry>::call();
	Shim<finish_loading_filters>::call();
	is_frontend_ready = true;
}

// The callback stays with the host to the unload, and hears nothing more.
void exit_frontend()
{
	DockHost &state = host();
	Shim<save_geometry>::call();
	Shim<save_changed_hotkeys>::call();
	stop_polling();
	state.panel = nullptr;
	state.is_running = false;
}

void frontend_event(obs_frontend_event event, void *)
{
	if (!host().is_running)
		return;
	switch (event) {
	case OBS_FRONTEND_EVENT_FINISHED_LOADING:
		is_collection_changing = false; // the start has its clean-ups, and not each is followed by CHANGED
		Shim<create_dock>::call();
		// In the next turn, when the host has restored its own state of the docks.
		post_to_ui_thread(Shim<finish_loading>::call);
		break;
	case OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING:
	// All that versions from 31 on send before they load the copy of a collection that is duplicated.
	case OBS_FRONTEND_EVENT_SCENE_COLLECTION_CLEANUP:
		is_collection_changing = true;
		begin_loading_filters();
		break;
	case OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED:
		is_collection_changing = false;
		// The first one comes while the host starts, which ends later.
		if (is_frontend_ready)
			finish_loading_filters();
		break;
	case OBS_FRONTEND_EVENT_EXIT:
		exit_frontend();
		break;
	default:
		break;
	}
}

void add_tools_entry()
{
	auto *action = static_cast<QAction *>(obs_frontend_add_tools_menu_qaction(dock_title));
	if (action)
		QObject::connect(action, &QAction::triggered, action, [] { show_dock(); });
}

void show_and_raise()
{
	create_dock();
	if (QDockWidget *dock = find_dock_widget())
		bring_to_front(*dock);
}

void start()
{
	DockHost &state = host();
	state = {};
	is_frontend_ready = false;
	is_collection_changing = false;
	if (!has_user_interface())
		return;
	state.is_running = true;
	panel_model().change = {}; // a panel may have gone with a slider held
	begin_loading_filters();
	obs_frontend_add_event_callback(Shim<frontend_event>::call, nullptr);
	state.has_callback = true;
	start_hotkeys();
	Shim<create_dock>::call();
	add_tools_entry();
}

void stop()
{
	DockHost &state = host();
	state.is_running = false;
	Shim<stop_hotkeys>::call();
	// After EXIT the host has done both by itself, and its library says no more than that there is no host.
	if (std::exchange(state.has_callback, false))
		obs_frontend_remove_event_callback(Shim<frontend_event>::call, nullptr);
	stop_polling();
	if (std::exchange(state.has_dock, false))
		remove_frontend_dock(dock_id);
	state.panel = nullptr;
}

} // namespace

// What the host's C code and its event loop call lets no exception out.

void show_dock()
{
	run_on_ui_thread(Shim<show_and_raise>::call);
}

void schedule_prop_center()
{
	post_to_ui_thread(Shim<install_prop_center>::call);
}

void show_switched_effects()
{
	run_on_ui_thread(Shim<follow_switched_effects>::call);
}

bool frontend_ready() noexcept
{
	return is_frontend_ready && !is_collection_changing;
}

void start_dock_host()
{
	Shim<start>::call();
}

void stop_dock_host()
{
	Shim<stop>::call();
}

} // namespace kalvio
