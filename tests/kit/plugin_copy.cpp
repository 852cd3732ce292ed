// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/plugin_copy.h"

namespace kalvio::test {

namespace {

constexpr const char *binary_folder = "bin/64bit";

} // namespace

PluginCopy::PluginCopy(const std::string &folder_name) : folder_(parent_.path() / folder_name)
{
	const PluginFiles built = built_plugin();
	// The engine library lies beside the module.
	std::filesystem::create_directories(folder_ / binary_folder);
	std::filesystem::copy(built.module_file.parent_path(), folder_ / binary_folder);
	std::filesystem::create_directories(folder_ / "data");
	if (std::filesystem::exists(built.data_folder / "locale"))
		std::filesystem::copy(built.data_folder / "locale", folder_ / "data" / "locale");
}

PluginFiles PluginCopy::files() const
{
	return {folder_ / binary_folder / built_plugin().module_file.filename(), folder_ / "data"};
}

void PluginCopy::add_placeholder_bundle() const
{
	parent_.write(bundle().string(), "placeholder");
}

void PluginCopy::add_built_bundle() const
{
	std::filesystem::copy_file(built_plugin().data_folder / bundle().filename(), bundle(),
				   std::filesystem::copy_options::overwrite_existing);
}

} // namespace kalvio::test
