// SPDX-License-Identifier: GPL-2.0-or-later
#include "pool.h"

#include "kit/scratch.h"
#include "platform.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <thread>

namespace kalvio::engine::testing {
namespace {

using kalvio::test::ScopedEnvironment;

constexpr const char *name = "KALVIO_ENGINE_THREADS";

TEST(PoolTest, HasAsManyThreadsAsTheEnvironmentSays)
{
	const ScopedEnvironment three(name, "3");
	EXPECT_EQ(Pool::threads_for_machine(), 3);
	const ScopedEnvironment many(name, "1000000");
	EXPECT_EQ(Pool::threads_for_machine(), Pool::max_requested_threads);
}

TEST(PoolTest, ChoosesByItself_WhenTheEnvironmentSaysNoNumber)
{
	const ScopedEnvironment none(name, std::nullopt);
	const int chosen = Pool::threads_for_machine();
	const int cores = static_cast<int>(std::thread::hardware_concurrency());
	EXPECT_GE(chosen, std::clamp(cores, 1, 2)); // on two cores both
	EXPECT_LE(chosen, Pool::max_threads);
	for (const std::string &value :
	     {std::string("0"), std::string("-3"), std::string("many"), std::string(500, '1')}) {
		const ScopedEnvironment other(name, value);
		EXPECT_EQ(Pool::threads_for_machine(), chosen) << value;
	}
}

TEST(EngineEnvironment, GivesAValueUpToTheLimit)
{
	const std::string longest(platform::longest_environment_value, 'x');
	const ScopedEnvironment fits(name, longest);
	EXPECT_EQ(platform::environment_value(name), longest);
	const ScopedEnvironment too_long(name, longest + "x");
	EXPECT_EQ(platform::environment_value(name), "");
}

} // namespace
} // namespace kalvio::engine::testing
