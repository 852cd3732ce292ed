// SPDX-License-Identifier: GPL-2.0-or-later

// kld-grade OUTPUT DEFINITION: makes the color filter bundle OUTPUT from a grade in JSON.
#include "bundle_writer.h"
#include "convert_definition.h"
#include "grade.h"
#include "stages/color_lut.h"

#include <nlohmann/json.hpp>

#include <cmath>

namespace {

using namespace kalvio::engine;

Bytes table_of(const Grade &grade)
{
	constexpr int side = Lut3d::side;
	Bytes bytes;
	bytes.reserve(Lut3d::values * 2);
	for (int index = 0; index < side * side * side; ++index) {
		const double last = side - 1;
		const Grade::Color color = apply_grade(
			grade, {index % side / last, index / side % side / last, index / (side * side) / last});
		for (const double channel : color) {
			const long value = std::lround(channel * 65535);
			bytes.push_back(static_cast<uint8_t>(value & 0xFF));
			bytes.push_back(static_cast<uint8_t>(value >> 8));
		}
	}
	return bytes;
}

void make(const std::filesystem::path &output, const nlohmann::json &definition)
{
	const nlohmann::json manifest = {{"kind", "filter"},
					 {"format_version", bundle_format_version},
					 {"name", definition.at("name")},
					 {"size", Lut3d::side}};
	const std::string text = manifest.dump(2) + "\n";
	write_bundle(output, {{"manifest.json", Bytes(text.begin(), text.end())},
			      {Lut3d::entry, table_of(grade_from_json(definition))}});
}

} // namespace

int main(int argc, char **argv)
{
	return convert_definition("kld-grade", argc, argv, make);
}
