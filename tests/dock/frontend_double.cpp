// SPDX-License-Identifier: GPL-2.0-or-later
#include "frontend_double.h"

#include <algorithm>
#include <obs-module.h>

namespace kalvio::test {

namespace {

FrontendDouble *current = nullptr;

} // namespace

struct FrontendAccess {
	// The front end, or null when it is over, which the host's library complains about.
	static FrontendDouble *live()
	{
		if (!current)
			return nullptr;
		const bool has_window = current->window_ || current->has_foreign_window_;
		current->calls_without_window += !has_window;
		return has_window ? current : nullptr;
	}
	static QWidget *window(FrontendDouble &frontend)
	{
		return frontend.has_foreign_window_ ? frontend.foreign_window_ : frontend.window_.get();
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
	// From the last to the first, by number, as the host does it.
	for (size_t index = callbacks_.size(); index > 0; --index) {
		const Callback callback = callbacks_[index - 1];
		callback.first(event, callback.second);
	}
}

void FrontendDouble::lock_docks(bool locked)
{
	const QDockWidget::DockWidgetFeatures all =
		QDockWidget::DockWidgetClosable | QDockWidget::DockWidgetMovable | QDockWidget::DockWidgetFloatable;
	for (QDockWidget *dock : window_->findChildren<QDockWidget *>())
		dock->setFeatures(locked ? QDockWidget::DockWidgetFeatures(QDockWidget::NoDockWidgetFeatures) : all);
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
	FrontendDouble *frontend = FrontendAccess::live();
	return frontend ? FrontendAccess::window(*frontend) : nullptr;
}

void *obs_frontend_add_tools_menu_qaction(const char *name)
{
	FrontendDouble *frontend = FrontendAccess::live();
	if (!frontend)
		return nullptr;
	frontend->tools_titles.emplace_back(name);
	auto &entries = FrontendAccess::tools_entries(*frontend);
	return entries.emplace_back(std::make_unique<QAction>(name)).get();
}

void obs_frontend_add_event_callback(obs_frontend_event_cb callback, void *private_data)
{
	if (FrontendDouble *frontend = FrontendAccess::live())
		FrontendAccess::callbacks(*frontend).emplace_back(callback, private_data);
}

void obs_frontend_remove_event_callback(obs_frontend_event_cb callback, void *private_data)
{
	if (FrontendDouble *frontend = FrontendAccess::live())
		std::erase(FrontendAccess::callbacks(*frontend), std::pair(callback, private_data));
}

// The two that the header of an older host lacks.
extern "C" {
EXPORT bool obs_frontend_add_dock_by_id(const char *id, const char *title, void *widget);
EXPORT void obs_frontend_remove_dock(const char *id);
}

bool obs_frontend_add_dock_by_id(const char *id, const char *title, void *widget)
{
	FrontendDouble *frontend = FrontendAccess::live();
	if (!frontend || frontend->refuses_docks || frontend->window()->findChild<QDockWidget *>(id))
		return false;
	auto *dock = new QDockWidget(title, frontend->window());
	dock->setObjectName(id);
	dock->setWidget(static_cast<QWidget *>(widget));
	frontend->window()->addDockWidget(Qt::RightDockWidgetArea, dock);
	dock->setVisible(false);
	dock->setFloating(true);
	++frontend->docks_added;
	frontend->dock_title = title;
	return true;
}

void obs_frontend_remove_dock(const char *id)
{
	FrontendDouble *frontend = FrontendAccess::live();
	if (!frontend)
		return;
	++frontend->docks_removed;
	delete frontend->window()->findChild<QDockWidget *>(id);
}
