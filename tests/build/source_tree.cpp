// SPDX-License-Identifier: GPL-2.0-or-later
#include "source_tree.h"

#include <fstream>
#include <iterator>
#include <set>

namespace kalvio::test {

const fs::path root = KALVIO_TEST_SOURCE_ROOT;

std::vector<fs::path> sources_in(const fs::path &folder)
{
	static const std::set<std::string> extensions = {".cpp", ".h", ".c", ".hpp"};
	std::vector<fs::path> sources;
	for (const auto &entry : fs::recursive_directory_iterator(folder)) {
		if (entry.is_regular_file() && extensions.contains(entry.path().extension().string()))
			sources.push_back(entry.path());
	}
	return sources;
}

std::string content_of(const fs::path &file)
{
	std::ifstream in(file);
	return std::string(std::istreambuf_iterator<char>(in), {});
}

// A walk by hand: the regular expressions of the standard library recurse for each character of a comment.
std::string code_of(const fs::path &file)
{
	const std::string content = content_of(file);
	std::string code;
	const auto skip_to = [&](size_t from, const char *end, size_t length) {
		const size_t place = content.find(end, from);
		const size_t after = place == std::string::npos ? content.size() : place + length;
		for (size_t i = from; i < after; i++) {
			if (content[i] == '\n')
				code += '\n';
		}
		return after;
	};
	for (size_t i = 0; i < content.size();) {
		if (content.compare(i, 2, "//") == 0) {
			i = skip_to(i, "\n", 1);
		} else if (content.compare(i, 2, "/*") == 0) {
			i = skip_to(i + 2, "*/", 2);
		} else if (content.compare(i, 3, "R\"(") == 0) {
			i = skip_to(i + 3, ")\"", 2);
		} else if (content[i] == '"') {
			for (i++; i < content.size() && content[i] != '"' && content[i] != '\n'; i++)
				i += content[i] == '\\' ? 1U : 0U;
			i++;
		} else {
			code += content[i++];
		}
	}
	return code;
}

} // namespace kalvio::test
