// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace kalvio::engine {

// The one thread of the process that reads and decodes files, shared by all engines. Frames never wait for it, and it
// is none of the pool's threads, which frames need. It starts with the first task, and ends with the last engine: no
// thread is left when the library is unloaded.
class Loader {
public:
	using Task = std::function<void()>;

	// The loader of the process; made when nobody holds it.
	static std::shared_ptr<Loader> acquire();

	Loader() = default;
	// Waits for the task that runs; those that have not begun are dropped.
	~Loader();
	Loader(const Loader &) = delete;
	Loader &operator=(const Loader &) = delete;

	// Runs the task on the loader's thread, after those that were submitted before. It must not throw and must hold
	// no share of the loader. Where the system gives no thread, it runs within the call. Any thread.
	void submit(Task task);

private:
	void run_tasks();

	std::mutex mutex_;
	std::condition_variable arrived_;
	std::deque<Task> tasks_;
	bool closing_ = false;
	std::thread thread_;
};

} // namespace kalvio::engine
