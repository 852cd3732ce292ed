// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/update_check.h"
#include "update/update_hooks.h"

#include <obs-module.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <string_view>
#include <thread>

// What the panel's poll pays for the update service five times a second while nothing is to be done, beside the price
// of a lock on the same machine at the same moment. Medians of batches. With --check the exit code is 1 when the step
// costs more than two microseconds and more than twenty locks.

// The service finds its folder by this function of the module's entry points; no folder is needed here.
obs_module_t *obs_current_module(void)
{
	return nullptr;
}

namespace {

using Clock = std::chrono::steady_clock;

constexpr int batches = 201;
constexpr int rounds = 2000; // in a batch

kalvio::HttpResponse answer(const std::string &)
{
	return {200, R"({"version": "1.0.13", "force_below": "1.0.11", "notes": "Softer skin, fewer surprises.",
		"download_page": "https://www.kalvio.example/download"})"};
}

// Nanoseconds for one call of `work`.
template <typename Work>
double median_ns(const Work &work)
{
	std::array<double, batches> samples = {};
	for (double &sample : samples) {
		const Clock::time_point start = Clock::now();
		for (int round = 0; round < rounds; round++)
			work();
		const std::chrono::duration<double, std::nano> took = Clock::now() - start;
		sample = took.count() / rounds;
	}
	std::nth_element(samples.begin(), samples.begin() + batches / 2, samples.end());
	return samples[batches / 2];
}

} // namespace

int main(int argc, char **argv)
{
	kalvio::UpdateHooks hooks = kalvio::system_update_hooks();
	hooks.fetch = answer;
	kalvio::reset_update_service(hooks);
	kalvio::start_update_check_if_due();
	while (kalvio::update_check_is_running())
		std::this_thread::yield();

	std::size_t shown = 0; // so that nothing is optimised away
	std::mutex mutex;
	const double lock_ns = median_ns([&] {
		const std::scoped_lock lock(mutex);
		shown++;
	});
	const double poll_ns = median_ns([&] {
		kalvio::start_update_check_if_due();
		const kalvio::UpdateStatus status = kalvio::update_status();
		shown += status.soft ? status.latest.size() + status.notes.size() : 0;
	});
	const double forced_ns = median_ns([&] { shown += kalvio::update_is_forced(); });

	const double limit_ns = std::max(2000.0, 20 * lock_ns);
	std::printf("lock and unlock        %8.1f ns\n", lock_ns);
	std::printf("poll's update step     %8.1f ns   limit %.0f ns\n", poll_ns, limit_ns);
	std::printf("a frame's forced test  %8.1f ns\n", forced_ns);
	if (shown == 0) {
		std::printf("nothing was measured\n");
		return 1;
	}
	const bool is_check = argc > 1 && std::string_view(argv[1]) == "--check";
	return is_check && poll_ns > limit_ns ? 1 : 0;
}
