// SPDX-License-Identifier: GPL-2.0-or-later
#include "loader.h"

#include <system_error>
#include <utility>

namespace kalvio::engine {

namespace {

struct SharedLoader {
	std::mutex mutex;
	std::weak_ptr<Loader> loader;
};

SharedLoader &shared_loader()
{
	static auto *state = new SharedLoader; // never destroyed: an engine may be made by a late thread
	return *state;
}

} // namespace

std::shared_ptr<Loader> Loader::acquire()
{
	const std::lock_guard lock(shared_loader().mutex);
	std::shared_ptr<Loader> loader = shared_loader().loader.lock();
	if (!loader) {
		loader = std::make_shared<Loader>();
		shared_loader().loader = loader;
	}
	return loader;
}

Loader::~Loader()
{
	{
		const std::lock_guard lock(mutex_);
		closing_ = true;
	}
	arrived_.notify_all();
	if (thread_.joinable())
		thread_.join();
}

void Loader::submit(Task task)
{
	{
		const std::lock_guard lock(mutex_);
		try {
			if (!thread_.joinable())
				thread_ = std::thread([this] { run_tasks(); });
		} catch (const std::system_error &) {
			// The system gives no more threads: the next task may have more luck.
		}
		if (thread_.joinable()) {
			tasks_.push_back(std::move(task));
			task = nullptr;
		}
	}
	if (task)
		task();
	else
		arrived_.notify_one();
}

void Loader::run_tasks()
{
	std::unique_lock lock(mutex_);
	while (true) {
		arrived_.wait(lock, [this] { return closing_ || !tasks_.empty(); });
		if (closing_)
			return;
		{
			const Task task = std::move(tasks_.front());
			tasks_.pop_front();
			lock.unlock();
			task();
		} // what the task held is freed without the lock
		lock.lock();
	}
}

} // namespace kalvio::engine
