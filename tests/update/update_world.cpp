// SPDX-License-Identifier: GPL-2.0-or-later
#include "update_world.h"

#include "update/update_check.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <new>
#include <thread>

namespace kalvio::test {

namespace {

constexpr std::int64_t first_moment = 1'800'000'000;

struct World {
	std::mutex mutex;
	std::condition_variable released;
	HttpResponse answer;
	bool held = false;
	bool out_of_memory = false;
	std::int64_t now_s = first_moment;
	std::string config_path;
	std::vector<std::string> fetched;
	std::vector<std::string> opened;
};

// Outlives a worker that a failed test leaves behind.
World &world()
{
	static auto *instance = new World;
	return *instance;
}

HttpResponse fetch(const std::string &url)
{
	World &w = world();
	std::unique_lock lock(w.mutex);
	w.fetched.push_back(url);
	if (std::exchange(w.out_of_memory, false))
		throw std::bad_alloc();
	w.released.wait(lock, [&] { return !w.held; });
	return w.answer;
}

std::int64_t clock_now()
{
	const std::scoped_lock lock(world().mutex);
	return world().now_s;
}

bool open_in_browser(const std::string &url)
{
	const std::scoped_lock lock(world().mutex);
	world().opened.push_back(url);
	return true;
}

std::string config_file(const char *name)
{
	EXPECT_STREQ(name, "update_dismiss.json");
	const std::scoped_lock lock(world().mutex);
	return world().config_path;
}

constexpr UpdateHooks hooks = {fetch, clock_now, open_in_browser, config_file};

} // namespace

UpdateWorld::UpdateWorld()
{
	{
		World &w = world();
		const std::scoped_lock lock(w.mutex);
		w.answer = {};
		w.held = false;
		w.out_of_memory = false;
		w.now_s = first_moment;
		w.config_path = folder.file("config/obs-kalvio/update_dismiss.json");
		w.fetched.clear();
		w.opened.clear();
	}
	reset_update_service(hooks);
}

UpdateWorld::~UpdateWorld()
{
	release_answers();
	wait_for_worker();
	reset_update_service(system_update_hooks());
}

void UpdateWorld::restart()
{
	wait_for_worker();
	reset_update_service(hooks);
	load_update_dismissal();
}

void UpdateWorld::answer(std::uint32_t status, const std::string &body)
{
	const std::scoped_lock lock(world().mutex);
	world().answer = {status, body};
}

void UpdateWorld::hold_answers()
{
	const std::scoped_lock lock(world().mutex);
	world().held = true;
}

void UpdateWorld::release_answers()
{
	const std::scoped_lock lock(world().mutex);
	world().held = false;
	world().released.notify_all();
}

void UpdateWorld::run_out_of_memory()
{
	const std::scoped_lock lock(world().mutex);
	world().out_of_memory = true;
}

std::int64_t UpdateWorld::now() const
{
	return clock_now();
}

void UpdateWorld::set_now(std::int64_t unix_s)
{
	const std::scoped_lock lock(world().mutex);
	world().now_s = unix_s;
}

void UpdateWorld::set_config_file(const std::string &path)
{
	const std::scoped_lock lock(world().mutex);
	world().config_path = path;
}

void UpdateWorld::poll_and_finish()
{
	start_update_check_if_due();
	wait_for_worker();
}

void UpdateWorld::wait_for_worker()
{
	const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(30);
	while (update_check_is_running()) {
		ASSERT_LT(std::chrono::steady_clock::now(), give_up) << "the worker does not end";
		std::this_thread::yield();
	}
}

std::vector<std::string> UpdateWorld::fetched() const
{
	const std::scoped_lock lock(world().mutex);
	return world().fetched;
}

std::vector<std::string> UpdateWorld::opened() const
{
	const std::scoped_lock lock(world().mutex);
	return world().opened;
}

} // namespace kalvio::test
