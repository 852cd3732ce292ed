// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <nlohmann/json.hpp>

#include <filesystem>
#include <functional>

namespace kalvio::engine {

// The main function of a tool that is called as "NAME OUTPUT DEFINITION": reads the JSON file DEFINITION and has
// `convert` write OUTPUT. Returns the exit code: 1 when reading or converting fails, 2 for wrong arguments; says why on
// stderr.
int convert_definition(
	const char *name, int argc, char **argv,
	const std::function<void(const std::filesystem::path &output, const nlohmann::json &definition)> &convert);

} // namespace kalvio::engine
