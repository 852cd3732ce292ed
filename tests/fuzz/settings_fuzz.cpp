// SPDX-License-Identifier: GPL-2.0-or-later

// Any object as the settings of a filter, as a scene collection may hold it: registered, read, written back, and
// applied to an engine that records what it is called with. No path may leave the data folder, but for the picture that
// the user chose. The input's lines are the values of keys, by their place in the table; a first byte of '{' is the
// whole object.
#include "fuzz_input.h"
#include "kit/call_journal.h"
#include "kit/host_double.h"
#include "kit/recording_engine.h"
#include "kit/scratch.h"
#include "params/apply_parameters.h"
#include "params/parameter_schema.h"
#include "params/parameter_table.h"

#include <util/base.h>

#include <obs.hpp>

#include <sstream>

namespace {

using namespace kalvio;
using namespace kalvio::test;

std::string object_of(const std::string &text)
{
	std::string object = "{";
	std::istringstream lines(text);
	std::string line;
	while (std::getline(lines, line)) {
		if (line.size() < 2)
			continue;
		const auto place = static_cast<unsigned char>(line[0]) % parameter_table().size();
		object += std::string(object.size() > 1 ? ", \"" : "\"") + parameter_table()[place].key +
			  "\": " + line.substr(1);
	}
	return object + "}";
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
	base_set_log_handler([](int, const char *, va_list, void *) {}, nullptr);
	return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
	static const ScratchFolder folder;
	call_journal().set_enabled(false);
	host_double().set_data_folder(folder.path().generic_string());

	const std::string text(reinterpret_cast<const char *>(data), size);
	const std::string json = text.starts_with('{') ? text : object_of(text);
	const OBSDataAutoRelease settings = obs_data_create_from_json(json.c_str());
	if (!settings)
		return 0;

	ParameterSet set;
	register_defaults(settings);
	read_parameters(settings, set);
	const OBSDataAutoRelease written = obs_data_create();
	write_parameters(set, written);
	ParameterSet again;
	read_parameters(written, again);
	require(again == set);

	EngineScript script;
	script.during_load = [&](const char *, const char *path) {
		const std::string loaded = path;
		require(loaded == set.background.image || (loaded.starts_with(folder.path().generic_string() + "/") &&
							   loaded.find("/../") == std::string::npos));
	};
	reset_recording_engine();
	set_engine_script(script);
	const kl_engine_config config = {};
	kl_engine *engine = kl_engine_create(&config);
	ResourceCache cache;
	for (int time = 0; time < 2; ++time) {
		apply_beauty_params(engine, settings);
		apply_effect_resources(engine, cache, settings);
	}
	kl_engine_destroy(engine);
	require(engine_misuse().empty());
	return 0;
}
