// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/looks/look_store.h"

#include "kit/config_double.h"
#include "kit/scratch.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

// Processes that are killed while they change the user's looks.
namespace {

using namespace kalvio;
using namespace kalvio::test;

TEST(LookKill, LosesNoLook_WhenTheProcessIsKilledWhileItSaves)
{
	constexpr int kills = 200;
	const ScratchFolder folder;
	set_config_folder(folder.file("config"));
	std::string kept = "Kept";
	ASSERT_EQ(save_look(kept, {}), LookResult::Done);
	int lost = 0;
	size_t most = 0;
	for (int kill_number = 0; kill_number < kills; ++kill_number) {
		const pid_t child = fork();
		ASSERT_GE(child, 0);
		if (child == 0) {
			for (;;) {
				std::string name = "Other";
				save_look(name, {});
				delete_look(name);
			}
		}
		usleep(static_cast<useconds_t>(300 + kill_number * 37 % 2500)); // somewhere within a change
		kill(child, SIGKILL);
		waitpid(child, nullptr, 0);
		const std::vector<StoredLook> looks = user_looks();
		most = std::max(most, looks.size());
		if (looks.empty() || looks[0].name != "Kept")
			++lost;
	}
	EXPECT_EQ(lost, 0);
	EXPECT_GT(most, 1u); // the processes did write
}

} // namespace
