// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/looks/look_store.h"

#include "host/config_files.h"
#include "host/json_file.h"
#include "host/module_files.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <util/platform.h>
#include <utility>

namespace kalvio {

namespace {

constexpr const char *looks_file = "looks.json";
constexpr const char *looks_version_key = "kalvio_looks";
constexpr const char *looks_key = "looks";
constexpr size_t most_looks = 200;
constexpr std::uintmax_t largest_looks_bytes = 4 * 1024 * 1024;

constexpr std::array built_in_ids = {"fresh", "natural", "soft", "evening", "crisp", "film"};

// The file with its looks as they lie in it, unknown keys included.
struct LookFile {
	std::string path; // empty: there is no configuration folder
	OBSDataAutoRelease root;
	std::vector<OBSDataAutoRelease> looks;
	bool is_newer = false;
};

LookFile read_file()
{
	LookFile file{module_config_file(looks_file), nullptr, {}};
	file.root = file.path.empty() ? nullptr : read_json_file(file.path, largest_looks_bytes);
	if (!file.root)
		return file;
	file.is_newer = obs_data_get_int(file.root, looks_version_key) > look_version;
	const OBSDataArrayAutoRelease array = obs_data_get_array(file.root, looks_key);
	for (size_t i = 0; i < obs_data_array_count(array); ++i)
		file.looks.emplace_back(obs_data_array_item(array, i));
	return file;
}

// What cannot be read, and of which there is no backup, is put aside before something else takes its place. False when
// that is not possible.
bool put_damaged_file_aside(const LookFile &file)
{
	if (file.root || !os_file_exists(file.path.c_str()))
		return true;
	const std::string aside = file.path + ".damaged";
	return os_rename(file.path.c_str(), aside.c_str()) == 0;
}

LookResult write_file(LookFile &file)
{
	const std::string folder = module_config_file("");
	if (file.path.empty() || folder.empty())
		return LookResult::NotWritten;
	if (file.is_newer)
		return LookResult::Newer;
	os_mkdirs(folder.c_str());
	if (!put_damaged_file_aside(file))
		return LookResult::NotWritten;
	if (!file.root)
		file.root = obs_data_create();
	const OBSDataArrayAutoRelease array = obs_data_array_create();
	for (obs_data_t *look : file.looks)
		obs_data_array_push_back(array, look);
	obs_data_set_int(file.root, looks_version_key, look_version);
	obs_data_set_array(file.root, looks_key, array);
	return save_json_file(file.root, file.path, largest_looks_bytes) ? LookResult::Done : LookResult::NotWritten;
}

std::string name_of(obs_data_t *look)
{
	return obs_data_get_string(look, look_name_key);
}

auto find_look(LookFile &file, const std::string &name)
{
	return std::ranges::find_if(file.looks, [&name](obs_data_t *look) { return name_of(look) == name; });
}

std::string unique_name(LookFile &file, const std::string &wanted)
{
	std::string plain = plain_look_name(wanted);
	if (plain.empty())
		plain = "Look";
	std::string name = plain;
	for (int number = 2; find_look(file, name) != file.looks.end(); ++number)
		name = plain + " (" + std::to_string(number) + ")";
	return name;
}

LookResult add_look(OBSDataAutoRelease look, std::string &name)
{
	LookFile file = read_file();
	if (file.looks.size() >= most_looks)
		return LookResult::TooMany;
	name = unique_name(file, name);
	obs_data_set_string(look, look_name_key, name.c_str());
	file.looks.push_back(std::move(look));
	return write_file(file);
}

} // namespace

std::vector<StoredLook> built_in_looks()
{
	std::vector<StoredLook> looks;
	for (const char *id : built_in_ids) {
		const std::string path = resolve_module_file((std::string("looks/") + id + ".json").c_str());
		const ImportedLook imported = import_look(path);
		if (imported.result == LookResult::Done)
			looks.push_back({id, std::string("look.") + id, look_parameters(imported.look)});
	}
	return looks;
}

std::vector<StoredLook> user_looks()
{
	const LookFile file = read_file();
	std::vector<StoredLook> looks;
	looks.reserve(file.looks.size());
	for (obs_data_t *look : file.looks)
		looks.push_back({name_of(look), {}, look_parameters(look)});
	return looks;
}

LookResult save_look(std::string &name, const ParameterSet &parameters)
{
	return add_look(make_look(name, parameters), name);
}

LookResult rename_look(const std::string &name, std::string &new_name)
{
	LookFile file = read_file();
	const auto look = find_look(file, name);
	if (look == file.looks.end())
		return LookResult::NotALook;
	if (plain_look_name(new_name) == name) {
		new_name = name;
		return LookResult::Done;
	}
	new_name = unique_name(file, new_name);
	obs_data_set_string(*look, look_name_key, new_name.c_str());
	return write_file(file);
}

LookResult delete_look(const std::string &name)
{
	LookFile file = read_file();
	const auto look = find_look(file, name);
	if (look == file.looks.end())
		return LookResult::NotALook;
	file.looks.erase(look);
	return write_file(file);
}

LookResult export_user_look(const std::string &name, const std::string &path)
{
	LookFile file = read_file();
	const auto look = find_look(file, name);
	return look == file.looks.end() ? LookResult::NotALook : export_look(*look, path);
}

LookResult import_user_look(const std::string &path, std::string &name)
{
	ImportedLook imported = import_look(path);
	if (imported.result != LookResult::Done)
		return imported.result;
	name = obs_data_get_string(imported.look, look_name_key);
	return add_look(std::move(imported.look), name);
}

} // namespace kalvio
