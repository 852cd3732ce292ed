// SPDX-License-Identifier: GPL-2.0-or-later
#include "frontend_double.h"

#include "kit/history_double.h"
#include "kit/host_double.h"

#include <algorithm>
#include <obs-module.h>

namespace kalvio::test {

namespace {

FrontendDouble *current = nullptr;

} // namespace

struct FrontendAccess {
	static FakeSource &scene_handle()
	{
		static FakeSource scene("Scene");
		return scene;
	}
	inline static std::vector<FrontendDouble::Item> *shown_items = nullptr;

	// The front end, or null when it is over, which the host's library complains about.
	static FrontendDouble *live(const char *function)
	{
		if (!current)
			return nullptr;
		if (current->is_over_) {
			current->calls_after_end.emplace_back(function);
			return nullptr;
		}
		if (current->on_call)
			current->on_call(function);
		const bool has_window = current->window_ || current->has_foreign_window_;
		current->calls_without_window += !has_window;
		return has_window ? current : nullptr;
	}
	static bool are_docks_locked(const FrontendDouble &frontend) { return frontend.are_docks_locked_; }
	static QWidget *window(FrontendDouble &frontend)
	{
		return frontend.has_foreign_window_ ? frontend.foreign_window_ : frontend.window_.get();
	}
	using Items = std::vector<FrontendDouble::Item>;
	// A reference to the source of the scene with these items.
	static obs_source_t *scene_source(Items &items)
	{
		shown_items = &items;
		return obs_source_get_ref(scene_handle().handle());
	}
	static obs_scene_t *scene(const obs_source_t *source)
	{
		return source == scene_handle().handle() ? reinterpret_cast<obs_scene_t *>(shown_items) : nullptr;
	}
	static void enumerate(obs_scene_t *scene, Items &items,
			      bool (*callback)(obs_scene_t *, obs_sceneitem_t *, void *), void *param)
	{
		for (FrontendDouble::Item &item : items) {
			if (!callback(scene, reinterpret_cast<obs_sceneitem_t *>(&item), param))
				return;
		}
	}
	static auto &callbacks(FrontendDouble &frontend) { return frontend.callbacks_; }
	static auto &tools_entries(FrontendDouble &frontend) { return frontend.tools_entries_; }
};

FrontendDouble::FrontendDouble() : window_(std::make_unique<QMainWindow>())
{
	window_->setCentralWidget(new QWidget);
	window_->resize(1200, 800);
	window_->show();
	current = this;
}

FrontendDouble::~FrontendDouble()
{
	if (current == this)
		current = nullptr;
}

void FrontendDouble::set_foreign_window(QWidget *widget)
{
	has_foreign_window_ = true;
	foreign_window_ = widget;
}

void FrontendDouble::send(obs_frontend_event event)
{
	const bool is_always_sent =
		event == OBS_FRONTEND_EVENT_SCENE_COLLECTION_CLEANUP || event == OBS_FRONTEND_EVENT_EXIT;
	if (saving_disabled_ > 0 && !is_always_sent)
		return;
	send_to_all(event);
	if (event == OBS_FRONTEND_EVENT_SCENE_COLLECTION_CLEANUP)
		history_double().clear();
	if (event == OBS_FRONTEND_EVENT_EXIT)
		is_over_ = true;
}

void FrontendDouble::send_to_all(obs_frontend_event event)
{
	// From the last to the first, by number, as the host does it.
	for (size_t index = callbacks_.size(); index > 0; --index) {
		const Callback callback = callbacks_[index - 1];
		callback.first(event, callback.second);
	}
}

void FrontendDouble::clear_and_load(const Loading &load_sources)
{
	++saving_disabled_;
	history_double().is_saving_allowed = false;
	send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CLEANUP);
	if (load_sources)
		load_sources();
	// Each scene and source that comes is an event that nobody hears.
	send(OBS_FRONTEND_EVENT_SCENE_LIST_CHANGED);
	history_double().is_saving_allowed = true;
	--saving_disabled_;
	send(OBS_FRONTEND_EVENT_SCENE_CHANGED);
	send(OBS_FRONTEND_EVENT_PREVIEW_SCENE_CHANGED);
}

void FrontendDouble::load_first_collection(const Loading &load_sources)
{
	clear_and_load(load_sources);
}

void FrontendDouble::finish_loading()
{
	send(OBS_FRONTEND_EVENT_FINISHED_LOADING);
}

void FrontendDouble::switch_collection(const Loading &load_sources)
{
	send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING);
	clear_and_load(load_sources);
	send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED);
}

// The sources stay and get other uuids; the undo history stays as well.
void FrontendDouble::duplicate_collection_in_30()
{
	send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGING);
	send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_LIST_CHANGED);
	send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED);
}

void FrontendDouble::duplicate_collection_from_31_on(const Loading &load_sources)
{
	clear_and_load(load_sources);
	send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_LIST_CHANGED);
	send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CHANGED);
}

void FrontendDouble::close()
{
	send(OBS_FRONTEND_EVENT_SCRIPTING_SHUTDOWN);
	++saving_disabled_; // to the end
	history_double().is_saving_allowed = false;
	send(OBS_FRONTEND_EVENT_SCENE_COLLECTION_CLEANUP);
	send(OBS_FRONTEND_EVENT_EXIT);
}

namespace {

QDockWidget::DockWidgetFeatures features_of_docks(bool locked)
{
	const QDockWidget::DockWidgetFeatures all =
		QDockWidget::DockWidgetClosable | QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable;
	return locked ? QDockWidget::DockWidgetFeatures(QDockWidget::NoDockWidgetFeatures) : all;
}

// The host's own docks have these.
bool is_taken(const QMainWindow &window, const char *id)
{
	for (const char *name :
	     {"scenesDock", "sourcesDock", "mixerDock", "transitionsDock", "controlsDock", "statsDock"}) {
		if (qstrcmp(id, name) == 0)
			return true;
	}
	return window.findChild<QDockWidget *>(id) != nullptr;
}

} // namespace

void FrontendDouble::lock_docks(bool locked)
{
	are_docks_locked_ = locked;
	for (QDockWidget *dock : window_->findChildren<QDockWidget *>())
		dock->setFeatures(features_of_docks(locked));
}

QDockWidget *FrontendDouble::dock() const
{
	return window_ ? window_->findChild<QDockWidget *>("kalvio") : nullptr;
}

} // namespace kalvio::test

using kalvio::test::FrontendAccess;
using kalvio::test::FrontendDouble;

const char *obs_get_locale(void)
{
	return kalvio::test::current ? kalvio::test::current->locale.c_str() : nullptr;
}

void *obs_frontend_get_main_window(void)
{
	FrontendDouble *frontend = FrontendAccess::live(__func__);
	return frontend ? FrontendAccess::window(*frontend) : nullptr;
}

void *obs_frontend_add_tools_menu_qaction(const char *name)
{
	FrontendDouble *frontend = FrontendAccess::live(__func__);
	if (!frontend)
		return nullptr;
	frontend->tools_titles.emplace_back(name);
	if (frontend->refuses_menu_entries)
		return nullptr;
	auto &entries = FrontendAccess::tools_entries(*frontend);
	return entries.emplace_back(std::make_unique<QAction>(name)).get();
}

void obs_frontend_add_event_callback(obs_frontend_event_cb callback, void *private_data)
{
	FrontendDouble *frontend = FrontendAccess::live(__func__);
	if (!frontend)
		return;
	auto &callbacks = FrontendAccess::callbacks(*frontend);
	if (std::find(callbacks.begin(), callbacks.end(), std::pair(callback, private_data)) == callbacks.end())
		callbacks.emplace_back(callback, private_data);
}

void obs_frontend_remove_event_callback(obs_frontend_event_cb callback, void *private_data)
{
	if (FrontendDouble *frontend = FrontendAccess::live(__func__))
		std::erase(FrontendAccess::callbacks(*frontend), std::pair(callback, private_data));
}

// The two that the header of an older host lacks.
extern "C" {
EXPORT bool obs_frontend_add_dock_by_id(const char *id, const char *title, void *widget);
EXPORT void obs_frontend_remove_dock(const char *id);
}

bool obs_frontend_add_dock_by_id(const char *id, const char *title, void *widget)
{
	FrontendDouble *frontend = FrontendAccess::live(__func__);
	if (!frontend || frontend->refuses_docks || kalvio::test::is_taken(*frontend->window(), id))
		return false;
	auto *dock = new QDockWidget(title, frontend->window());
	dock->setObjectName(id);
	dock->setWidget(static_cast<QWidget *>(widget));
	dock->setFeatures(kalvio::test::features_of_docks(FrontendAccess::are_docks_locked(*frontend)));
	frontend->window()->addDockWidget(Qt::RightDockWidgetArea, dock);
	dock->setVisible(false);
	dock->setFloating(true);
	++frontend->docks_added;
	frontend->dock_title = title;
	return true;
}

void obs_frontend_remove_dock(const char *id)
{
	FrontendDouble *frontend = FrontendAccess::live(__func__);
	if (!frontend)
		return;
	++frontend->docks_removed;
	delete frontend->window()->findChild<QDockWidget *>(id);
}

// A scene is its list of items, and its source is the scene.

bool obs_frontend_preview_program_mode_active(void)
{
	const FrontendDouble *frontend = FrontendAccess::live(__func__);
	return frontend && frontend->is_studio_mode;
}

obs_source_t *obs_frontend_get_current_scene(void)
{
	FrontendDouble *frontend = FrontendAccess::live(__func__);
	return frontend && !frontend->has_no_scene ? FrontendAccess::scene_source(frontend->program_items) : nullptr;
}

obs_source_t *obs_frontend_get_current_preview_scene(void)
{
	FrontendDouble *frontend = FrontendAccess::live(__func__);
	return frontend && !frontend->has_no_scene ? FrontendAccess::scene_source(frontend->preview_items) : nullptr;
}

obs_scene_t *obs_scene_from_source(const obs_source_t *source)
{
	return FrontendAccess::scene(source);
}

void obs_scene_enum_items(obs_scene_t *scene, bool (*callback)(obs_scene_t *, obs_sceneitem_t *, void *), void *param)
{
	FrontendAccess::enumerate(scene, *reinterpret_cast<std::vector<FrontendDouble::Item> *>(scene), callback,
				  param);
}

void obs_sceneitem_group_enum_items(obs_sceneitem_t *group, bool (*callback)(obs_scene_t *, obs_sceneitem_t *, void *),
				    void *param)
{
	FrontendAccess::enumerate(nullptr, reinterpret_cast<FrontendDouble::Item *>(group)->group, callback, param);
}

bool obs_sceneitem_is_group(obs_sceneitem_t *item)
{
	return !reinterpret_cast<FrontendDouble::Item *>(item)->group.empty();
}

bool obs_sceneitem_selected(const obs_sceneitem_t *item)
{
	return reinterpret_cast<const FrontendDouble::Item *>(item)->is_selected;
}

obs_source_t *obs_sceneitem_get_source(const obs_sceneitem_t *item)
{
	return reinterpret_cast<const FrontendDouble::Item *>(item)->source;
}
