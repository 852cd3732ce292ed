// SPDX-License-Identifier: GPL-2.0-or-later
#include "convert_definition.h"

#include "arguments.h"

#include <cstdio>
#include <fstream>

namespace kalvio::engine {

int convert_definition(const char *name, int argc, char **argv,
		       const std::function<void(const std::filesystem::path &, const nlohmann::json &)> &convert)
{
	if (argc != 3) {
		std::fprintf(stderr, "usage: %s OUTPUT DEFINITION\n", name);
		return 2;
	}
	try {
		const std::vector<std::string> arguments = utf8_arguments(argc, argv);
		std::ifstream stream(path_from_utf8(arguments.at(2)));
		convert(path_from_utf8(arguments.at(1)), nlohmann::json::parse(stream));
		return 0;
	} catch (const std::exception &error) {
		std::fprintf(stderr, "%s: %s: %s\n", name, argv[2], error.what());
		return 1;
	}
}

} // namespace kalvio::engine
