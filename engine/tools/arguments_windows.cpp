// SPDX-License-Identifier: GPL-2.0-or-later
#include "arguments.h"

#include <windows.h>

#include <shellapi.h> // needs windows.h before it

#include <memory>

namespace kalvio::engine {

std::vector<std::string> utf8_arguments(int /*argc*/, char ** /*argv*/)
{
	int count = 0;
	const std::unique_ptr<wchar_t *, decltype(&LocalFree)> wide(CommandLineToArgvW(GetCommandLineW(), &count),
								    LocalFree);
	std::vector<std::string> arguments;
	for (int index = 0; wide && index < count; ++index) {
		const std::u8string text = std::filesystem::path(wide.get()[index]).u8string();
		arguments.emplace_back(text.begin(), text.end());
	}
	return arguments;
}

} // namespace kalvio::engine
