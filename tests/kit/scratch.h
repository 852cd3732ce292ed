// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace kalvio::test {

// A new, empty folder that goes with its object.
class ScratchFolder {
public:
	ScratchFolder();
	~ScratchFolder();
	ScratchFolder(const ScratchFolder &) = delete;
	ScratchFolder &operator=(const ScratchFolder &) = delete;

	const std::filesystem::path &path() const { return path_; }
	std::string file(std::string_view relative_path) const; // the full path, UTF-8; need not exist

	// Writes a file, with its folders, and gives its full path.
	std::string write(std::string_view relative_path, std::string_view content = "x") const;

private:
	std::filesystem::path path_;
};

// An environment variable with another value, or without one, for as long as it lives.
class ScopedEnvironment {
public:
	ScopedEnvironment(const char *name, const std::optional<std::string> &value);
	~ScopedEnvironment();
	ScopedEnvironment(const ScopedEnvironment &) = delete;
	ScopedEnvironment &operator=(const ScopedEnvironment &) = delete;

private:
	std::string name_;
	std::optional<std::string> previous_;
};

// The working folder, changed for as long as it lives.
class ScopedWorkingFolder {
public:
	explicit ScopedWorkingFolder(const std::filesystem::path &folder);
	~ScopedWorkingFolder();
	ScopedWorkingFolder(const ScopedWorkingFolder &) = delete;
	ScopedWorkingFolder &operator=(const ScopedWorkingFolder &) = delete;

private:
	std::filesystem::path previous_;
};

} // namespace kalvio::test
