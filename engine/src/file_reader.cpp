// SPDX-License-Identifier: GPL-2.0-or-later
#include "file_reader.h"

#include <cstdio>
#include <string>

namespace kalvio::engine {

ReadResult open_file(const char *path, int64_t max_bytes, platform::File &file, int64_t &size)
{
	file = platform::open_regular_file(path, size);
	if (!file)
		return bad_file("missing, unreadable or no regular file");
	if (size == 0)
		return bad_format("the file is empty");
	if (size > max_bytes)
		return bad_format("the file is larger than " + std::to_string(max_bytes) + " bytes");
	return {};
}

ReadResult read_file(const char *path, int64_t max_bytes, Bytes &bytes)
{
	platform::File file;
	int64_t size = 0;
	if (ReadResult result = open_file(path, max_bytes, file, size); !result)
		return result;
	bytes.resize(static_cast<size_t>(size));
	if (std::fread(bytes.data(), 1, bytes.size(), file.get()) != bytes.size())
		return bad_file("the file could not be read to its end");
	return {};
}

} // namespace kalvio::engine
