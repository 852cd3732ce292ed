// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/seam_doubles.h"

#include "filter/panel_hooks.h"
#include "kit/call_journal.h"
#include "panel/dock/dock_host.h"
#include "update/update_check.h"

#include <atomic>
#include <utility>

namespace kalvio::test {
namespace {

std::atomic<bool> is_ready = false;
std::atomic<bool> is_forced = false;
std::function<void()> show_action;
std::function<void()> dismissal_action;

void record_seam(const char *name)
{
	call_journal().record(CallOrigin::Seam, name, nullptr);
}

} // namespace

void reset_seams()
{
	panel_hooks = {show_dock, schedule_prop_center, frontend_ready};
	is_ready = false;
	is_forced = false;
	show_action = nullptr;
	dismissal_action = nullptr;
}

void set_frontend_ready(bool ready)
{
	is_ready = ready;
}

void set_update_forced(bool forced)
{
	is_forced = forced;
}

void on_show_dock(std::function<void()> action)
{
	show_action = std::move(action);
}

void on_load_update_dismissal(std::function<void()> action)
{
	dismissal_action = std::move(action);
}

} // namespace kalvio::test

namespace kalvio {

void show_switched_effects()
{
	test::record_seam("show_switched_effects");
}

void show_dock()
{
	test::record_seam("show_dock");
	if (test::show_action)
		test::show_action();
}

void schedule_prop_center()
{
	test::record_seam("schedule_prop_center");
}

bool frontend_ready() noexcept
{
	test::record_seam("frontend_ready");
	return test::is_ready;
}

void start_dock_host()
{
	test::record_seam("start_dock_host");
}

void stop_dock_host()
{
	test::record_seam("stop_dock_host");
}

void load_update_dismissal()
{
	test::record_seam("load_update_dismissal");
	if (test::dismissal_action)
		test::dismissal_action();
}

bool update_is_forced()
{
	test::record_seam("update_is_forced");
	return test::is_forced;
}

void stop_update_service()
{
	test::record_seam("stop_update_service");
}

} // namespace kalvio
