// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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
	if (::fstat(descriptor, &information) == 0 && S_ISREG(information.st_mode))
		file = ::fdopen(descriptor, "ab");
	if (file == nullptr)
		::close(descriptor);
	return File(file);
}

std::tm local_time(std::time_t time)
{
	std::tm result = {};
	::localtime_r(&time, &result);
	return result;
}

} // namespace kalvio::engine::platform
