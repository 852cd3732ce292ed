// SPDX-License-Identifier: GPL-2.0-or-later
#include "net_sources.h"

#include "sha256.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>

namespace kalvio::engine {

namespace {

struct Pinned {
	const char *name;
	const char *hash;
};

constexpr Pinned detector_file = {"face_detection_short_range.tflite",
				  "3bc182eb9f33925d9e58b5c8d59308a760f4adea8f282370e428c51212c26633"};
constexpr Pinned mesh_file = {"face_landmark_with_attention.tflite",
			      "883b7411747bac657c30c462d305d312e9dec6adbf8b85e2f5d8d722fca9455d"};
constexpr Pinned matte_file = {"selfie_segmentation_landscape.tflite",
			       "4aafe6223bb8dac6fac8ca8ed56852870a33051ef3f6238822d282a109962894"};
constexpr Pinned head_file = {"geometry_pipeline_metadata_landmarks.binarypb",
			      "bdbcda96dfcb7da883da124aaa2c55dee49770d934f0fcc71747f8c21bdc75b4"};

constexpr const char *archive_name = "face_mesh_solution_packed_assets.data";
constexpr const char *index_name = "face_mesh_solution_packed_assets_loader.js";

Bytes read_source(const std::filesystem::path &path)
{
	std::ifstream stream(path, std::ios::binary);
	Bytes bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
	if (!stream || bytes.empty())
		throw std::runtime_error(path.filename().string() + " cannot be read");
	return bytes;
}

std::filesystem::path find(const std::filesystem::path &folder, const char *name)
{
	for (const auto &entry : std::filesystem::recursive_directory_iterator(folder)) {
		if (entry.is_regular_file() && entry.path().filename() == name)
			return entry.path();
	}
	throw std::runtime_error(std::string("there is no ") + name);
}

Bytes checked(Bytes bytes, const Pinned &pinned)
{
	if (sha256(bytes) != pinned.hash)
		throw std::runtime_error(std::string(pinned.name) + " is not the file of the pinned version");
	return bytes;
}

// Where the files of the archive lie, by their names without folders: the argument of the script's one call.
nlohmann::json read_index(const Bytes &script)
{
	constexpr const char *call = "loadPackage({\"files\"";
	const std::string text(script.begin(), script.end());
	const size_t place = text.find(call);
	const size_t begin = text.find('{', place);
	const size_t end = text.find("})", begin);
	if (place == std::string::npos || end == std::string::npos)
		throw std::runtime_error(std::string(index_name) + " has no list of files");
	return nlohmann::json::parse(text.begin() + static_cast<std::ptrdiff_t>(begin),
				     text.begin() + static_cast<std::ptrdiff_t>(end) + 1)
		.at("files");
}

Bytes file_of_archive(const nlohmann::json &files, const Bytes &archive, const Pinned &pinned)
{
	for (const nlohmann::json &file : files) {
		const std::string path = file.at("filename");
		if (path.substr(path.rfind('/') + 1) != pinned.name)
			continue;
		const auto start = file.at("start").get<size_t>();
		const auto end = file.at("end").get<size_t>();
		if (start > end || end > archive.size())
			break;
		const auto first = archive.begin();
		return checked(
			Bytes(first + static_cast<std::ptrdiff_t>(start), first + static_cast<std::ptrdiff_t>(end)),
			pinned);
	}
	throw std::runtime_error(std::string(archive_name) + " has no " + pinned.name);
}

} // namespace

NetSources find_net_sources(const std::filesystem::path &folder)
{
	const Bytes archive = read_source(find(folder, archive_name));
	const nlohmann::json files = read_index(read_source(find(folder, index_name)));
	NetSources sources;
	sources.face_detector = file_of_archive(files, archive, detector_file);
	sources.face_mesh = file_of_archive(files, archive, mesh_file);
	sources.head = file_of_archive(files, archive, head_file);
	sources.person_matte = checked(read_source(find(folder, matte_file.name)), matte_file);
	return sources;
}

std::vector<NetOutputRecipe> face_detector_outputs()
{
	return {{"regressors", {1, 896, 16}}, {"classificators", {1, 896, 1}}};
}

std::vector<NetOutputRecipe> face_mesh_outputs()
{
	using Refines = NetOutputRecipe::Refines;
	return {{"output_mesh_identity", {1, 468, 3}},
		{"output_lips", {1, 80, 2}, Refines::PointsOfItsCrop},
		{"output_left_eye", {1, 71, 2}, Refines::PointsOfItsCrop},
		{"output_right_eye", {1, 71, 2}, Refines::PointsOfItsCrop},
		{"output_left_iris", {1, 5, 2}, Refines::PointsFrom, 468},
		{"output_right_iris", {1, 5, 2}, Refines::PointsFrom, 473},
		{"conv_faceflag", {1, 1, 1}}};
}

std::vector<NetOutputRecipe> person_matte_outputs()
{
	return {{"segment_back", {144, 256, 1}}};
}

} // namespace kalvio::engine
