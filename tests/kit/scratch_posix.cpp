// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/scratch_system.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace kalvio::test {

std::filesystem::path make_scratch_folder()
{
	// Not temp_directory_path(): the tests change TMPDIR.
	std::string name = "/tmp/kalvio-test-XXXXXX";
	if (!mkdtemp(name.data()))
		throw std::system_error(errno, std::generic_category(), name);
	return name;
}

void set_environment(const std::string &name, const std::optional<std::string> &value)
{
	if (value)
		setenv(name.c_str(), value->c_str(), 1);
	else
		unsetenv(name.c_str());
}

} // namespace kalvio::test
