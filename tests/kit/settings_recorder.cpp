// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/call_journal.h"
#include "kit/host_function.h"

#include <obs-data.h>

// The typed setters and getters of a settings object: the host's own, with each call also in the call journal. For
// tests of which keys are touched, by which type and in which order.
using namespace kalvio::test;

namespace {

template <class... Arguments>
void record_setting(const char *name, Arguments &&...arguments)
{
	call_journal().record(CallOrigin::Host, name, nullptr, std::forward<Arguments>(arguments)...);
}

} // namespace

#define RECORDED_SETTER(function, type)                                                                                \
	void function(obs_data_t *data, const char *name, type value)                                                  \
	{                                                                                                              \
		record_setting(#function, name, value);                                                                \
		reinterpret_cast<decltype(function) *>(host_function(#function))(data, name, value);                   \
	}

#define RECORDED_GETTER(function, type)                                                                                \
	type function(obs_data_t *data, const char *name)                                                              \
	{                                                                                                              \
		record_setting(#function, name);                                                                       \
		return reinterpret_cast<decltype(function) *>(host_function(#function))(data, name);                   \
	}

RECORDED_SETTER(obs_data_set_default_bool, bool)
RECORDED_SETTER(obs_data_set_default_int, long long)
RECORDED_SETTER(obs_data_set_default_double, double)
RECORDED_SETTER(obs_data_set_default_string, const char *)

RECORDED_SETTER(obs_data_set_bool, bool)
RECORDED_SETTER(obs_data_set_int, long long)
RECORDED_SETTER(obs_data_set_double, double)
RECORDED_SETTER(obs_data_set_string, const char *)

RECORDED_GETTER(obs_data_get_bool, bool)
RECORDED_GETTER(obs_data_get_int, long long)
RECORDED_GETTER(obs_data_get_double, double)
RECORDED_GETTER(obs_data_get_string, const char *)
