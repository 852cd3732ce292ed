// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/scratch.h"

#include "kit/scratch_system.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace kalvio::test {

namespace {

std::string to_utf8(const std::filesystem::path &path)
{
	const std::u8string text = path.generic_u8string(); // slashes, as the host uses them on every system
	return {text.begin(), text.end()};
}

} // namespace

ScratchFolder::ScratchFolder() : path_(make_scratch_folder()) {}

ScratchFolder::~ScratchFolder()
{
	std::error_code ignored;
	std::filesystem::remove_all(path_, ignored);
}

std::string ScratchFolder::file(std::string_view relative_path) const
{
	return to_utf8(path_ / std::u8string(relative_path.begin(), relative_path.end()));
}

std::string ScratchFolder::write(std::string_view relative_path, std::string_view content) const
{
	const std::filesystem::path target = path_ / std::u8string(relative_path.begin(), relative_path.end());
	std::filesystem::create_directories(target.parent_path());
	std::ofstream out(target, std::ios::binary);
	out << content;
	if (!out.flush())
		throw std::runtime_error("cannot write " + to_utf8(target));
	return to_utf8(target);
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
