// SPDX-License-Identifier: GPL-2.0-or-later

// kld-grade OUTPUT DEFINITION: makes the color filter bundle OUTPUT from a grade in JSON.
#include "arguments.h"
#include "bundle_writer.h"
#include "grade.h"
#include "stages/color_lut.h"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstdio>
#include <fstream>

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

void make(const std::filesystem::path &output, const std::filesystem::path &definition)
{
	std::ifstream stream(definition);
	const nlohmann::json json = nlohmann::json::parse(stream);
	const nlohmann::json manifest = {{"kind", "filter"},
					 {"format_version", bundle_format_version},
					 {"name", json.at("name")},
					 {"size", Lut3d::side}};
	const std::string text = manifest.dump(2) + "\n";
	write_bundle(output, {{"manifest.json", Bytes(text.begin(), text.end())},
			      {Lut3d::entry, table_of(grade_from_json(json))}});
}

} // namespace

int main(int argc, char **argv)
{
	if (argc != 3) {
		std::fprintf(stderr, "usage: kld-grade OUTPUT DEFINITION\n");
		return 2;
	}
	try {
		const std::vector<std::string> arguments = utf8_arguments(argc, argv);
		make(path_from_utf8(arguments.at(1)), path_from_utf8(arguments.at(2)));
		return 0;
	} catch (const std::exception &error) {
		std::fprintf(stderr, "kld-grade: %s: %s\n", argv[2], error.what());
		return 1;
	}
}
