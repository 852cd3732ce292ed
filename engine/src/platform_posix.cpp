// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace kalvio::engine::platform {

File open_regular_file(const char *path_utf8, int64_t &size)
{
	// O_NONBLOCK: opening a pipe that nobody writes to would otherwise wait for ever. It means nothing to a file.
	const int descriptor = ::open(path_utf8, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
	if (descriptor < 0)
		return nullptr;

	struct stat information = {};
	if (::fstat(descriptor, &information) != 0 || !S_ISREG(information.st_mode)) {
		::close(descriptor);
		return nullptr;
	}
	std::FILE *file = ::fdopen(descriptor, "rb");
	if (file == nullptr) {
		::close(descriptor);
		return nullptr;
	}
	size = information.st_size;
	return File(file);
}

File open_for_append(const char *path_utf8)
{
	const int descriptor =
		::open(path_utf8, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW, 0600);
	if (descriptor < 0)
		return nullptr;

	struct stat information = {};
	std::FILE *file = nullptr;
	if (::fstat(descriptor, &information) == 0 && S_ISREG(information.st_mode) &&
	    information.st_uid == ::geteuid() && information.st_nlink == 1)
		file = ::fdopen(descriptor, "ab");
	if (file == nullptr)
		::close(descriptor);
	return File(file);
}

bool make_empty(std::FILE *file)
{
	return ::ftruncate(::fileno(file), 0) == 0;
}

std::string environment_value(const char *name)
{
	const char *value = std::getenv(name);
	return value && std::char_traits<char>::length(value) <= longest_environment_value ? value : "";
}

std::tm local_time(std::time_t time)
{
	std::tm result = {};
	::localtime_r(&time, &result);
	return result;
}

} // namespace kalvio::engine::platform
