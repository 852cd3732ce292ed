// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/parameter_schema.h"

#include "params/parameter_table.h"

#include <variant>

namespace kalvio {

namespace {

// The calls of libobs for one direction, by the type that it stores.
struct Writer {
	void (*set_bool)(obs_data_t *, const char *, bool);
	void (*set_double)(obs_data_t *, const char *, double);
	void (*set_int)(obs_data_t *, const char *, long long);
	void (*set_string)(obs_data_t *, const char *, const char *);
};

void write_all(const Writer &writer, const ParameterSet &set, obs_data_t *settings)
{
	for (const Parameter &parameter : parameter_table()) {
		const char *key = parameter.key;
		if (const auto *flag = std::get_if<SwitchField>(&parameter.field))
			writer.set_bool(settings, key, flag->get(set));
		else if (const auto *strength = std::get_if<StrengthField>(&parameter.field))
			writer.set_double(settings, key, strength->get(set, strength->index));
		else if (const auto *choice = std::get_if<ChoiceField>(&parameter.field))
			writer.set_int(settings, key, choice->get(set));
		else if (const auto *text = std::get_if<TextField>(&parameter.field))
			writer.set_string(settings, key, text->get(set).c_str());
	}
}

} // namespace

void register_defaults(obs_data_t *settings)
{
	write_all({obs_data_set_default_bool, obs_data_set_default_double, obs_data_set_default_int,
		   obs_data_set_default_string},
		  ParameterSet(), settings);
}

void write_parameters(const ParameterSet &set, obs_data_t *settings)
{
	register_defaults(settings);
	write_all({obs_data_set_bool, obs_data_set_double, obs_data_set_int, obs_data_set_string}, set, settings);
}

void read_parameters(obs_data_t *settings, ParameterSet &set)
{
	for (const Parameter &parameter : parameter_table()) {
		const char *key = parameter.key;
		if (const auto *flag = std::get_if<SwitchField>(&parameter.field))
			flag->set(set, obs_data_get_bool(settings, key));
		else if (const auto *strength = std::get_if<StrengthField>(&parameter.field))
			strength->set(set, strength->index, static_cast<float>(obs_data_get_double(settings, key)));
		else if (const auto *choice = std::get_if<ChoiceField>(&parameter.field))
			choice->set(set, static_cast<int>(obs_data_get_int(settings, key)));
		else if (const auto *text = std::get_if<TextField>(&parameter.field))
			text->set(set, obs_data_get_string(settings, key));
	}
}

} // namespace kalvio
