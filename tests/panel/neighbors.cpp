// SPDX-License-Identifier: GPL-2.0-or-later
#include "neighbors.h"

#include "kit/call_journal.h"
#include "panel/dock/dock_host.h"
#include "platform/platform.h"

#include <obs-module.h>
#include <util/bmem.h>

namespace kalvio {
namespace test {
namespace {

struct Neighbors {
	UpdateStatus update;
	std::string config_folder;
	std::string module_folder;
};

Neighbors &neighbors()
{
	static Neighbors instance;
	return instance;
}

} // namespace

void set_update_status(const UpdateStatus &status)
{
	neighbors().update = status;
}

void set_config_folder(std::string folder)
{
	neighbors().config_folder = std::move(folder);
}

void set_module_folder(std::string folder)
{
	neighbors().module_folder = std::move(folder);
}

void reset_neighbors()
{
	neighbors() = {};
}

} // namespace test

void load_update_dismissal() {}

bool update_is_forced()
{
	return test::neighbors().update.forced;
}

UpdateStatus update_status()
{
	return test::neighbors().update;
}

void start_update_check_if_due() {}

void dismiss_update()
{
	test::call_journal().record(test::CallOrigin::Seam, "dismiss_update", nullptr);
	test::neighbors().update.soft = false;
}

void open_update_download()
{
	test::call_journal().record(test::CallOrigin::Seam, "open_update_download", nullptr);
}

void stop_update_service() {}

const std::string_view path_separator = "/";

std::string module_folder()
{
	return test::neighbors().module_folder;
}

std::string temporary_folder()
{
	return "/tmp/";
}

bool open_url(const std::string &url)
{
	test::call_journal().record(test::CallOrigin::Seam, "open_url", nullptr, url);
	return true;
}

void show_dock() {}

void schedule_prop_center() {}

bool frontend_ready() noexcept
{
	return false;
}

void start_dock_host() {}

void stop_dock_host() {}

} // namespace kalvio

char *obs_module_get_config_path(obs_module_t * /*module*/, const char *file)
{
	const std::string &folder = kalvio::test::neighbors().config_folder;
	return folder.empty() ? nullptr : bstrdup((folder + "/" + file).c_str());
}
