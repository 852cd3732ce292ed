// SPDX-License-Identifier: GPL-2.0-or-later
#include "host/json_file.h"

#include "kit/scratch.h"

#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

// Processes that are killed while they save.
namespace {

using namespace kalvio;
using namespace kalvio::test;

constexpr std::uintmax_t limit = 65536;

bool save(const std::string &path, int value)
{
	const OBSDataAutoRelease object = obs_data_create();
	obs_data_set_int(object, "value", value);
	obs_data_set_string(object, "filling", std::string(2000, 'x').c_str());
	return save_json_file(object, path, limit);
}

TEST(JsonFileKill, LosesNothing_WhenTheProcessIsKilledWhileItSaves)
{
	constexpr int kills = 1000;
	const ScratchFolder folder;
	const std::string path = folder.file("a.json");
	ASSERT_TRUE(save(path, 0));
	int lost = 0;
	for (int kill_number = 0; kill_number < kills; ++kill_number) {
		const pid_t child = fork();
		ASSERT_GE(child, 0);
		if (child == 0) {
			for (int value = 1;; ++value)
				save(path, value);
		}
		usleep(static_cast<useconds_t>(200 + kill_number * 37 % 1500)); // somewhere within a save
		kill(child, SIGKILL);
		waitpid(child, nullptr, 0);
		const OBSDataAutoRelease object = read_json_file(path, limit);
		if (!object || !obs_data_has_user_value(object, "value"))
			++lost;
	}
	EXPECT_EQ(lost, 0);
}

} // namespace
