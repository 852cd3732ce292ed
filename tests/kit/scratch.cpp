// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/scratch.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace kalvio::test {
namespace {

void set_environment(const std::string &name, const std::optional<std::string> &value)
{
	if (value)
		setenv(name.c_str(), value->c_str(), 1);
	else
		unsetenv(name.c_str());
}

} // namespace

ScratchFolder::ScratchFolder()
{
	// Not temp_directory_path(): the tests change TMPDIR.
	std::string name = "/tmp/kalvio-test-XXXXXX";
	if (!mkdtemp(name.data()))
		throw std::system_error(errno, std::generic_category(), name);
	path_ = name;
}

ScratchFolder::~ScratchFolder()
{
	std::error_code ignored;
	std::filesystem::remove_all(path_, ignored);
}

std::string ScratchFolder::file(std::string_view relative_path) const
{
	return (path_ / relative_path).string();
}

std::string ScratchFolder::write(std::string_view relative_path, std::string_view content) const
{
	const std::filesystem::path target = path_ / relative_path;
	std::filesystem::create_directories(target.parent_path());
	std::ofstream out(target, std::ios::binary);
	out << content;
	if (!out.flush())
		throw std::runtime_error("cannot write " + target.string());
	return target.string();
}

ScopedEnvironment::ScopedEnvironment(const char *name, const std::optional<std::string> &value) : name_(name)
{
	if (const char *current = std::getenv(name))
		previous_ = current;
	set_environment(name_, value);
}

ScopedEnvironment::~ScopedEnvironment()
{
	set_environment(name_, previous_);
}

ScopedWorkingFolder::ScopedWorkingFolder(const std::filesystem::path &folder)
	: previous_(std::filesystem::current_path())
{
	std::filesystem::current_path(folder);
}

ScopedWorkingFolder::~ScopedWorkingFolder()
{
	std::error_code ignored;
	std::filesystem::current_path(previous_, ignored);
}

} // namespace kalvio::test
