// SPDX-License-Identifier: GPL-2.0-or-later

// kld-nets OUTPUT FOLDER: makes the engine's nets and head from the published files in or below FOLDER, and writes them
// to OUTPUT/nets. The same files always give the same bytes.
#include "arguments.h"
#include "head_geometry.h"
#include "net_sources.h"

#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace {

using namespace kalvio::engine;

std::vector<uint8_t> converted(const Bytes &model, const std::vector<NetOutputRecipe> &outputs)
{
	const NetFile file = convert_model(read_tflite(model), outputs);
	if (const ReadResult result = check_net(file); !result)
		throw std::runtime_error("the engine would refuse what was made: " + result.reason);
	return write_net(file);
}

void write_file(const std::filesystem::path &path, const std::vector<uint8_t> &bytes)
{
	std::ofstream stream(path, std::ios::binary);
	stream.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
	if (!stream.flush())
		throw std::runtime_error("cannot write " + path.filename().string());
}

void make_nets(const std::filesystem::path &output, const std::filesystem::path &folder)
{
	const NetSources sources = find_net_sources(folder);
	std::filesystem::create_directories(output);
	write_file(output / "face_detector.net", converted(sources.face_detector, face_detector_outputs()));
	write_file(output / "face_mesh.net", converted(sources.face_mesh, face_mesh_outputs()));
	write_file(output / "person_matte.net", converted(sources.person_matte, person_matte_outputs()));
	write_file(output / "head_geometry.bin", write_head_geometry(read_head_model(sources.head)));
}

} // namespace

int main(int argc, char **argv)
{
	if (argc != 3) {
		std::fprintf(stderr, "usage: kld-nets OUTPUT FOLDER\n");
		return 2;
	}
	try {
		const std::vector<std::string> arguments = utf8_arguments(argc, argv);
		make_nets(path_from_utf8(arguments.at(1)) / "nets", path_from_utf8(arguments.at(2)));
		return 0;
	} catch (const std::exception &error) {
		std::fprintf(stderr, "kld-nets: %s\n", error.what());
		return 1;
	}
}
