// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace kalvio::engine {

// The worker threads of the process, shared by all engines. The thread that hands out work always takes part, so an
// engine makes progress however busy the others are, and the number of threads at work is the number of callers plus
// the fixed number of workers. It lives from the first engine to the last: no thread is left when the library is
// unloaded.
class Pool {
public:
	// One thread in all per two cores, the caller counted, at least 2 where there are two cores, and at most 4. On
	// two cores the second thread helps OBS too: with four filters and everything on, OBS drew a frame in 32.3 ms
	// instead of 34.1 and missed 12.2 instead of 14.4 % of them (scripts/soak, a program drawing in place of a
	// graphics card).
	static constexpr int max_threads = 4;
	// What the environment variable KALVIO_ENGINE_THREADS may ask for.
	static constexpr int max_requested_threads = 16;

	// The pool of the process; made when nobody holds it.
	static std::shared_ptr<Pool> acquire();
	static int threads_for_machine();

	// `threads` counts the caller.
	explicit Pool(int threads);
	~Pool();
	Pool(const Pool &) = delete;
	Pool &operator=(const Pool &) = delete;

	int threads() const { return static_cast<int>(workers_.size()) + 1; }

	// Calls task(index, slot) once for each index below `count`, on several threads, and returns when all are done.
	// `slot` is below threads() and differs between the threads that work at the same time: it picks their scratch
	// memory. The task must not throw. Allocates nothing.
	template <typename Task>
	void run(int count, const Task &task)
	{
		Job job;
		job.context = &task;
		job.call = [](const void *context, int index, int slot) {
			(*static_cast<const Task *>(context))(index, slot);
		};
		job.count = count;
		run_job(job);
	}

private:
	// Lives on the caller's stack for the time of one run.
	struct Job {
		const void *context = nullptr;
		void (*call)(const void *context, int index, int slot) = nullptr;
		int count = 0;
		std::atomic<int> next = 0;
		int helpers = 0; // guarded by the pool's mutex
		Job *following = nullptr;
		std::condition_variable left;

		void work(int slot);
	};

	void run_job(Job &job);
	Job *find_job();
	void worker(int slot);

	std::mutex mutex_;
	std::condition_variable arrived_;
	Job *jobs_ = nullptr;
	bool closing_ = false;
	std::vector<std::thread> workers_;
};

} // namespace kalvio::engine
