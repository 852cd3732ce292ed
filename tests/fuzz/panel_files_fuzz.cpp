// SPDX-License-Identifier: GPL-2.0-or-later
#include "fuzz_input.h"
#include "kit/config_double.h"
#include "kit/scratch.h"
#include "panel/dock/dock_geometry.h"
#include "panel/looks/look_store.h"
#include "panel/model/ui_preferences.h"
#include "params/parameter_schema.h"

#include <util/base.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

// The files that the panel reads: a look that somebody else exported, the user's looks, and "ui.json". The first byte
// of an input picks the file. What holds for every input is checked; a breach aborts.

namespace {

using namespace kalvio;
using test::require;

const test::ScratchFolder &folder()
{
	static const test::ScratchFolder instance;
	return instance;
}

// Puts the file into an empty configuration folder.
void write_file(const char *name, std::string_view content)
{
	std::filesystem::remove_all(folder().file("config"));
	folder().write(std::string("config/") + name, content);
}

void check_parameters(const ParameterSet &parameters)
{
	const auto is_strength = [](float value) {
		return value >= -1.0F && value <= 1.0F;
	};
	require(std::ranges::all_of(parameters.reshape, is_strength));
	require(is_strength(parameters.skin.smoothing) && is_strength(parameters.filter.intensity));
	require(parameters.background.image.empty()); // nobody else decides which files are opened
}

void import(std::string_view content)
{
	const ImportedLook imported = import_look(folder().write("look.json", content));
	require((imported.result == LookResult::Done) == (imported.look != nullptr));
	if (!imported.look)
		return;
	const ParameterSet parameters = look_parameters(imported.look);
	check_parameters(parameters);
	const std::string name = plain_look_name(obs_data_get_string(imported.look, look_name_key));
	require(plain_look_name(name) == name);
	// What was imported can be exported and imported again.
	const std::string path = folder().file("again.json");
	require(export_look(imported.look, path) == LookResult::Done);
	require(import_look(path).result == LookResult::Done);
}

void read_looks(std::string_view content)
{
	write_file("looks.json", content);
	const size_t before = user_looks().size();
	std::string name = "New";
	const LookResult result = save_look(name, ParameterSet());
	require(result == LookResult::Done || result == LookResult::Newer || result == LookResult::TooMany);
	require(user_looks().size() == before + (result == LookResult::Done));
	if (result != LookResult::Done)
		return;
	require(delete_look(name) == LookResult::Done);
	require(user_looks().size() == before);
}

void read_preferences(std::string_view content)
{
	write_file("ui.json", content);
	ui_preferences() = {};
	load_ui_prefs(0);
	DockGeometry geometry;
	load_dock_geometry(geometry);
	const UiPreferences read = ui_preferences();
	save_ui_prefs();
	ui_preferences() = {};
	load_ui_prefs(0);
	require(ui_preferences().open_on_startup == read.open_on_startup);
	require(ui_preferences().apply_global == read.apply_global);
	require(ui_preferences().follow_sources == read.follow_sources);
	DockGeometry again;
	load_dock_geometry(again);
	require(again.is_known == geometry.is_known && again.x == geometry.x && again.width == geometry.width);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
	base_set_log_handler([](int, const char *, va_list, void *) {}, nullptr);
	test::set_config_folder(folder().file("config"));
	return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
	if (size == 0)
		return 0;
	const std::string_view text(reinterpret_cast<const char *>(data + 1), size - 1);
	switch (data[0]) {
	case 's':
		read_looks(text);
		break;
	case 'u':
		read_preferences(text);
		break;
	default:
		import(text);
	}
	return 0;
}
