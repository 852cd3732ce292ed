// SPDX-License-Identifier: GPL-2.0-or-later
#include "params/parameter_schema.h"

#include <type_traits>

namespace kalvio {

namespace {

template <class Field>
inline constexpr bool is_choice = std::is_enum_v<Field> || std::is_same_v<Field, int>;

// One overload set for each direction: the field's type decides the host call.

struct RegisterDefault {
	obs_data_t *settings;

	void operator()(const char *key, bool value) const { obs_data_set_default_bool(settings, key, value); }
	void operator()(const char *key, float value) const { obs_data_set_default_double(settings, key, value); }
	void operator()(const char *key, const std::string &value) const
	{
		obs_data_set_default_string(settings, key, value.c_str());
	}
	template <class Field>
	requires is_choice<Field>
	void operator()(const char *key, Field value) const
	{
		obs_data_set_default_int(settings, key, static_cast<int>(value));
	}
};

struct Write {
	obs_data_t *settings;

	void operator()(const char *key, bool value) const { obs_data_set_bool(settings, key, value); }
	void operator()(const char *key, float value) const { obs_data_set_double(settings, key, value); }
	void operator()(const char *key, const std::string &value) const
	{
		obs_data_set_string(settings, key, value.c_str());
	}
	template <class Field>
	requires is_choice<Field>
	void operator()(const char *key, Field value) const
	{
		obs_data_set_int(settings, key, static_cast<int>(value));
	}
};

struct Read {
	obs_data_t *settings;

	void operator()(const char *key, bool &value) const { value = obs_data_get_bool(settings, key); }
	void operator()(const char *key, float &value) const
	{
		value = static_cast<float>(obs_data_get_double(settings, key));
	}
	void operator()(const char *key, std::string &value) const { value = obs_data_get_string(settings, key); }
	template <class Field>
	requires is_choice<Field>
	void operator()(const char *key, Field &value) const
	{
		value = static_cast<Field>(static_cast<int>(obs_data_get_int(settings, key)));
	}
};

} // namespace

void register_defaults(obs_data_t *settings)
{
	const ParameterSet defaults;
	visit_parameters(defaults, RegisterDefault{settings});
}

void write_parameters(const ParameterSet &set, obs_data_t *settings)
{
	register_defaults(settings);
	visit_parameters(set, Write{settings});
}

void read_parameters(obs_data_t *settings, ParameterSet &set)
{
	visit_parameters(set, Read{settings});
}

} // namespace kalvio
