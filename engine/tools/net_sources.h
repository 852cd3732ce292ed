// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "bundle.h"
#include "net_converter.h"

#include <filesystem>
#include <string>
#include <vector>

namespace kalvio::engine {

// The published files that the nets are made from.
struct NetSources {
	Bytes face_detector;
	Bytes face_mesh;
	Bytes person_matte;
	Bytes head;
};

// Finds them in or below a folder: what npm installed, or the packages unpacked by hand. Throws std::runtime_error when
// one is missing, or is not the very file of the pinned version.
NetSources find_net_sources(const std::filesystem::path &folder);

// What each net gives, in this order.
std::vector<NetOutputRecipe> face_detector_outputs();
std::vector<NetOutputRecipe> face_mesh_outputs();
std::vector<NetOutputRecipe> person_matte_outputs();

} // namespace kalvio::engine
