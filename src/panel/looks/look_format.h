// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "params/parameter_set.h"

#include <cstdint>
#include <obs.hpp>
#include <string>

// A look is the whole set of parameters under a name, as an object {"name", "settings"}. Only what this version knows
// is read; what it does not know stays in the object. Whether the effects are on is no part of a look.
namespace kalvio {

inline constexpr int look_version = 1;
inline constexpr const char *look_name_key = "name";        // of the object
inline constexpr size_t longest_look_name = 40;             // characters
inline constexpr std::uintmax_t largest_look_bytes = 65536; // of a file with one look

OBSDataAutoRelease make_look(const std::string &name, const ParameterSet &parameters);

// The parameters of a look, safe whatever wrote it: strengths within their ranges, choices and effects that exist, else
// the defaults. Its "enabled" is always true.
ParameterSet look_parameters(obs_data_t *look);

// One line without control characters, at most longest_look_name long, without spaces around it. UTF-8.
std::string plain_look_name(const std::string &name);

enum class LookResult {
	Done,
	NotWritten, // the file or the folder cannot be written
	Unreadable, // there is no such file, or it must not be read
	TooLarge,
	NotALook, // something else, damaged, or cut off
	Newer,    // written by a later version in a way that this one cannot read
	TooMany
};

// Writes the look to `path` as a file of its own, which is whole or not there at all. A user's picture is left out: its
// path says nothing on another machine.
LookResult export_look(obs_data_t *look, const std::string &path);

struct ImportedLook {
	LookResult result;
	OBSDataAutoRelease look; // null unless Done
};

// Reads what export_look wrote. A picture that the file names is dropped: nobody else decides which files are opened.
ImportedLook import_look(const std::string &path);

} // namespace kalvio
