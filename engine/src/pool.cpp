// SPDX-License-Identifier: GPL-2.0-or-later
#include "pool.h"

#include "platform.h"

#include <algorithm>
#include <cstdlib>

namespace kalvio::engine {

namespace {

struct SharedPool {
	std::mutex mutex;
	std::weak_ptr<Pool> pool;
};

SharedPool &shared_pool()
{
	static auto *state = new SharedPool; // never destroyed: an engine may be made by a late thread
	return *state;
}

} // namespace

int Pool::threads_for_machine()
{
	const int requested = std::atoi(platform::environment_value("KALVIO_ENGINE_THREADS").c_str());
	if (requested >= 1)
		return std::min(requested, max_requested_threads);
	const int cores = std::max(static_cast<int>(std::thread::hardware_concurrency()), 1); // 0: not known
	return std::clamp(cores / 2, std::min(cores, 2), max_threads);
}

std::shared_ptr<Pool> Pool::acquire()
{
	const std::lock_guard lock(shared_pool().mutex);
	std::shared_ptr<Pool> pool = shared_pool().pool.lock();
	if (!pool) {
		pool = std::make_shared<Pool>(threads_for_machine());
		shared_pool().pool = pool;
	}
	return pool;
}

Pool::Pool(int threads)
{
	try {
		for (int slot = 1; slot < threads; ++slot)
			workers_.emplace_back([this, slot] { worker(slot); });
	} catch (const std::system_error &) {
		// The system gives no more threads: those that exist, or the caller alone, do the work.
	}
}

Pool::~Pool()
{
	{
		const std::lock_guard lock(mutex_);
		closing_ = true;
	}
	arrived_.notify_all();
	for (std::thread &thread : workers_)
		thread.join();
}

void Pool::Job::work(int slot)
{
	for (int index = next.fetch_add(1); index < count; index = next.fetch_add(1))
		call(context, index, slot);
}

void Pool::run_job(Job &job)
{
	if (workers_.empty() || job.count < 2) {
		job.work(0);
		return;
	}
	{
		const std::lock_guard lock(mutex_);
		job.following = jobs_;
		jobs_ = &job;
	}
	arrived_.notify_all();
	job.work(0);

	std::unique_lock lock(mutex_);
	Job **link = &jobs_;
	while (*link != &job)
		link = &(*link)->following;
	*link = job.following;
	job.left.wait(lock, [&job] { return job.helpers == 0; });
}

// The job with work left and the fewest helpers, so that engines share the workers evenly.
Pool::Job *Pool::find_job()
{
	Job *best = nullptr;
	for (Job *job = jobs_; job != nullptr; job = job->following) {
		if (job->next.load() < job->count && (best == nullptr || job->helpers < best->helpers))
			best = job;
	}
	return best;
}

void Pool::worker(int slot)
{
	std::unique_lock lock(mutex_);
	while (!closing_) {
		Job *job = find_job();
		if (job == nullptr) {
			arrived_.wait(lock);
			continue;
		}
		++job->helpers;
		lock.unlock();
		job->work(slot);
		lock.lock();
		// Notified under the lock: the caller may end the job as soon as it sees the count.
		if (--job->helpers == 0)
			job->left.notify_one();
	}
}

} // namespace kalvio::engine
