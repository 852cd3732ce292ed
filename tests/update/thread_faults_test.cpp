// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/update_check.h"

#include "update_world.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <dlfcn.h>
#include <pthread.h>

// A process that gets no thread any more, as at the limit of what the user may run.
namespace {

std::atomic<bool> has_no_threads = false;

} // namespace

// This program is asked before the system's library.
#pragma GCC visibility push(default)
extern "C" int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*start)(void *),
			      void *argument) noexcept
{
	if (has_no_threads)
		return EAGAIN;
	void *forward = dlsym(RTLD_NEXT, "pthread_create");
	if (!forward)
		std::abort();
	return reinterpret_cast<decltype(&pthread_create)>(forward)(thread, attributes, start, argument);
}
#pragma GCC visibility pop

namespace kalvio::test {
namespace {

class ThreadFaults : public UpdateWorld {
protected:
	~ThreadFaults() override { has_no_threads = false; }
};

// A fatal error of the process: the host's own threads would fail next.
TEST_F(ThreadFaults, ACheckWithoutAThreadEndsTheProcess)
{
	answer_manifest(R"({"version": "9.9.9"})");
	has_no_threads = true;
	EXPECT_EXIT(poll_and_finish(), ::testing::KilledBySignal(SIGABRT), "");
	has_no_threads = false;
	poll_and_finish();
	EXPECT_EQ(update_status().latest, "9.9.9");
}

} // namespace
} // namespace kalvio::test
