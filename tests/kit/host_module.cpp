// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/host_state.h"

#include <util/bmem.h>
#include <util/platform.h>
#include <util/text-lookup.h>

// The module functions of the host double.
using namespace kalvio::test;

namespace {

// The file below the data folder, or null. Not recorded, so that a lookup inside another host function is no call.
char *find_data_file(const char *file)
{
	const std::lock_guard lock(host_state().mutex);
	const HostState &state = host_state();
	if (state.data_folder.empty())
		return nullptr;
	const std::string path = state.data_folder + "/" + file;
	return state.finds_missing_files || os_file_exists(path.c_str()) ? bstrdup(path.c_str()) : nullptr;
}

bool add_locale(lookup_t *&lookup, const std::string &locale)
{
	char *path = find_data_file(("locale/" + locale + ".ini").c_str());
	bool added = false;
	if (path && lookup) {
		added = text_lookup_add(lookup, path);
	} else if (path) {
		lookup = text_lookup_create(path);
		added = lookup != nullptr;
	}
	bfree(path);
	return added;
}

} // namespace

char *obs_find_module_file(obs_module_t *module, const char *file)
{
	host_call(__func__, Argument::address(module), file);
	return find_data_file(file);
}

// As the host: the default language first, and what the other one has over it.
lookup_t *obs_module_load_locale(obs_module_t *module, const char *default_locale, const char *locale)
{
	host_call(__func__, Argument::address(module), default_locale, locale);
	if (!module || !default_locale || !locale || host_call_fails(__func__))
		return nullptr;
	lookup_t *lookup = nullptr;
	if (!add_locale(lookup, default_locale))
		return nullptr;
	if (std::string_view(locale) != default_locale)
		add_locale(lookup, locale);
	return lookup;
}

void obs_register_source_s(const struct obs_source_info *info, size_t size)
{
	host_call(__func__, info->id, size);
	const std::lock_guard lock(host_state().mutex);
	host_state().registrations.push_back({*info, size});
}
