// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "params/parameter_set.h"

#include <cstddef>
#include <cstdint>
#include <kalvio_engine.h>
#include <string>
#include <variant>
#include <vector>

// The one list of all settings: where each lies in the record, how it is stored, what it may be and which engine call
// takes it. Registering, reading, writing and applying walk it; a new setting is a field of the record and a row here.
namespace kalvio {

// Where a setting lies in a record, by the type that the settings store it with.

struct SwitchField {
	bool (*get)(const ParameterSet &set);
	void (*set)(ParameterSet &set, bool value);
};

// 0..1, or with `is_signed` -1..1. `index` is that of a reshape amount, 0 elsewhere.
struct StrengthField {
	float (*get)(const ParameterSet &set, size_t index);
	void (*set)(ParameterSet &set, size_t index, float value);
	size_t index = 0;
	bool is_signed = false;
};

// 0..count - 1. A stored number outside is kept and passed on as it is.
struct ChoiceField {
	int (*get)(const ParameterSet &set);
	void (*set)(ParameterSet &set, int value);
	int count;
};

struct TextField {
	const std::string &(*get)(const ParameterSet &set);
	void (*set)(ParameterSet &set, const char *value);
};

using ParameterField = std::variant<SwitchField, StrengthField, ChoiceField, TextField>;

// The engine call that takes a setting as it is stored; the one of a reshape amount also takes the field's index. None
// for a setting that is sent in another way, or not at all.
using SwitchSetter = int32_t (*)(kl_engine *, bool);
using StrengthSetter = int32_t (*)(kl_engine *, float);
using ChoiceSetter = int32_t (*)(kl_engine *, int32_t);
using ReshapeSetter = int32_t (*)(kl_engine *, int32_t, float);
using EngineSetter = std::variant<std::monostate, SwitchSetter, StrengthSetter, ChoiceSetter, ReshapeSetter>;

// Which settings go to the engine together.
enum class ParameterSection { General, Skin, FaceReshape, BodyReshape, Makeup, Background, ChromaKey, Filter, Sticker };

struct Parameter {
	const char *key; // of the settings
	ParameterSection section;
	ParameterField field;
	EngineSetter setter;
};

// Every parameter, in the order in which the settings are registered, written and read. Any thread; never destroyed.
const std::vector<Parameter> &parameter_table();

} // namespace kalvio
