// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/module_double.h"

#include <map>

namespace kalvio::test {
namespace {

struct ModuleHandle {
	char unused;
};
ModuleHandle module_handle;

std::map<std::string, std::string, std::less<>> &texts()
{
	static std::map<std::string, std::string, std::less<>> table;
	return table;
}

} // namespace

obs_module_t *module_double_handle()
{
	return reinterpret_cast<obs_module_t *>(&module_handle);
}

void set_module_text(const std::string &key, const std::string &text)
{
	texts()[key] = text;
}

void reset_module_double()
{
	texts().clear();
}

} // namespace kalvio::test

obs_module_t *obs_current_module(void)
{
	return kalvio::test::module_double_handle();
}

const char *obs_module_text(const char *lookup_string)
{
	const auto &texts = kalvio::test::texts();
	const auto found = texts.find(lookup_string);
	return found == texts.end() ? lookup_string : found->second.c_str();
}
