// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/update_check.h"

#include "host/log_text.h"
#include "kalvio_config.h"
#include "update/dismissal.h"
#include "update/download_address.h"
#include "update/manifest.h"
#include "update/update_hooks.h"
#include "update/version.h"

#include <util/base.h>

#include <atomic>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>

namespace kalvio {

namespace {

constexpr std::int64_t check_interval_s = 21'600; // six hours
constexpr std::int64_t dismissal_s = 86'400;      // one day
constexpr const char *dismissal_name = "update_dismiss.json";
constexpr std::uint32_t http_ok = 200;
constexpr std::size_t longest_logged_version = 64; // bytes

struct UpdateState {
	std::mutex mutex; // guards what follows up to the flag; held for copying only, never for files or the network
	Manifest manifest;
	std::int64_t last_check_s = 0; // Unix seconds of the last start or end of a check; 0 before the first
	Dismissal dismissal;
	UpdateHooks hooks = system_update_hooks();

	std::atomic<bool> in_flight = false;
};

// A check may end after main() has returned, so what it touches is never destroyed.
UpdateState &state()
{
	static auto *instance = new UpdateState;
	return *instance;
}

// Predicates. They require that the mutex of `service` is held.

bool check_is_due(const UpdateState &service, std::int64_t now_s)
{
	return service.last_check_s <= 0 || now_s - service.last_check_s >= check_interval_s;
}

bool is_forced(const UpdateState &service)
{
	return is_older(version, service.manifest.force_below);
}

bool is_soft(const UpdateState &service, std::int64_t now_s)
{
	const std::string &latest = service.manifest.latest;
	if (!is_older(version, latest) || is_forced(service))
		return false;
	return service.dismissal.version != latest || now_s >= service.dismissal.until;
}

void note_check_ended(UpdateState &service)
{
	const std::int64_t now_s = service.hooks.now();
	const std::scoped_lock lock(service.mutex);
	service.last_check_s = now_s;
}

void report_failure(std::uint32_t status)
{
	blog(LOG_WARNING, "[Kalvio] update check failed (%d)", static_cast<int>(status));
}

void work() noexcept
{
	try {
		run_update_check();
	} catch (const std::exception &) {
		// Out of memory in the middle of a check. No caller can handle it: it counts as a failed check.
		report_failure(0);
		note_check_ended(state());
	}
	state().in_flight = false;
}

// A process that cannot start a thread any more is ended by the exception.
void start_worker() noexcept
{
	std::thread(work).detach();
}

} // namespace

void load_update_dismissal()
{
	UpdateState &service = state();
	Dismissal dismissal = load_dismissal(service.hooks.config_file(dismissal_name));
	const std::scoped_lock lock(service.mutex);
	service.dismissal = std::move(dismissal);
}

bool update_is_forced()
{
	UpdateState &service = state();
	const std::scoped_lock lock(service.mutex);
	return is_forced(service);
}

UpdateStatus update_status()
{
	UpdateState &service = state();
	const std::int64_t now_s = service.hooks.now();
	const std::scoped_lock lock(service.mutex);
	return {is_forced(service), is_soft(service, now_s), service.manifest.latest, service.manifest.notes};
}

void start_update_check_if_due()
{
	UpdateState &service = state();
	const std::int64_t now_s = service.hooks.now();
	{
		// A check that ends writes its time before it clears the flag, so under the mutex either of the two
		// blocks a second check.
		const std::scoped_lock lock(service.mutex);
		if (!check_is_due(service, now_s) || service.in_flight.exchange(true))
			return;
		service.last_check_s = now_s;
	}
	start_worker();
}

void run_update_check()
{
	UpdateState &service = state();
	const HttpResponse response = service.hooks.fetch(manifest_url());
	if (response.status != http_ok || response.body.empty()) {
		report_failure(response.status);
		note_check_ended(service);
		return;
	}

	std::optional<Manifest> manifest = parse_manifest(response.body);
	note_check_ended(service);
	if (!manifest)
		return;

	const std::string latest = sanitize_for_log(manifest->latest, longest_logged_version);
	const std::string force_below = sanitize_for_log(manifest->force_below, longest_logged_version);
	{
		const std::scoped_lock lock(service.mutex);
		service.manifest = std::move(*manifest);
	}
	blog(LOG_INFO, "[Kalvio] update check latest=%s force_below=%s", latest.c_str(), force_below.c_str());
}

void dismiss_update()
{
	UpdateState &service = state();
	const std::int64_t now_s = service.hooks.now();
	Dismissal dismissal;
	{
		const std::scoped_lock lock(service.mutex);
		service.dismissal = {service.manifest.latest, now_s + dismissal_s};
		dismissal = service.dismissal;
	}
	// A folder that cannot be written leaves the notice hidden until the host ends.
	save_dismissal(service.hooks.config_file(dismissal_name), dismissal);
}

void open_update_download()
{
	UpdateState &service = state();
	std::string address;
	{
		const std::scoped_lock lock(service.mutex);
		address = download_address(service.manifest, package_use);
	}
	service.hooks.open_url(address);
}

// A check under way ends on its own thread; its state is not destroyed.
void stop_update_service() {}

void reset_update_service(const UpdateHooks &hooks)
{
	UpdateState &service = state();
	const std::scoped_lock lock(service.mutex);
	service.manifest = {};
	service.last_check_s = 0;
	service.dismissal = {};
	service.hooks = hooks;
}

bool update_check_is_running()
{
	return state().in_flight;
}

} // namespace kalvio
