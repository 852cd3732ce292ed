// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/scratch_system.h"

#include <atomic>
#include <random>
#include <windows.h>

namespace kalvio::test {

std::filesystem::path make_scratch_folder()
{
	// The folder of the whole process, asked once: the tests change the variables that it comes from.
	static const std::filesystem::path parent = std::filesystem::temp_directory_path();
	static std::atomic<int> count = 0;
	std::random_device random;
	const std::filesystem::path folder =
		parent / ("kalvio-test-" + std::to_string(random()) + "-" + std::to_string(++count));
	std::filesystem::create_directories(folder);
	return folder;
}

// Both the C library's copy and the system's.
void set_environment(const std::string &name, const std::optional<std::string> &value)
{
	_putenv_s(name.c_str(), value ? value->c_str() : "");
	SetEnvironmentVariableA(name.c_str(), value ? value->c_str() : nullptr);
}

} // namespace kalvio::test
