// SPDX-License-Identifier: GPL-2.0-or-later
#include "nets/net_library.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <mutex>
#include <span>

namespace kalvio::engine {

namespace {

constexpr const char *detector_entry = "nets/face_detector.net";
constexpr const char *mesh_entry = "nets/face_mesh.net";
constexpr const char *matte_entry = "nets/person_matte.net";
constexpr const char *geometry_entry = "nets/head_geometry.bin";
constexpr std::array<const char *, 4> entries = {detector_entry, mesh_entry, matte_entry, geometry_entry};

constexpr int mesh_points = 468;
constexpr int all_points = 478; // with the irises

ReadResult bad_entry(const char *entry, const std::string &reason)
{
	return {KL_ERROR_FORMAT, "\"" + std::string(entry) + "\": " + reason};
}

// The files of the nets as they came.
using NetFiles = std::array<Bytes, entries.size()>;

// All of the files, or, with KL_OK and `has_nets` false, none.
ReadResult read_files(const Bundle &bundle, NetFiles &files, bool &has_nets)
{
	has_nets = false;
	for (const char *entry : entries)
		has_nets |= bundle.contains(entry);
	for (size_t index = 0; has_nets && index < entries.size(); ++index) {
		if (ReadResult result = bundle.read(entries[index], files[index]); !result)
			return result;
	}
	return {};
}

// What a net must take and give.
struct Promise {
	const char *entry;
	Shape input;
	std::vector<Shape> outputs;
};

ReadResult read_promised(const Bytes &bytes, const Promise &promise, std::shared_ptr<const Net> &net)
{
	if (ReadResult result = read_net(bytes, net); !result)
		return bad_entry(promise.entry, result.reason);
	bool fits = net->input_shape() == promise.input &&
		    static_cast<size_t>(net->output_count()) == promise.outputs.size();
	for (size_t index = 0; fits && index < promise.outputs.size(); ++index)
		fits = net->output_shape(static_cast<int>(index)) == promise.outputs[index];
	return fits ? ReadResult{} : bad_entry(promise.entry, "it takes or gives something else than it should");
}

// The outputs 1 to 5 say where their points belong; no other does.
ReadResult check_mesh(const Net &mesh)
{
	for (int output = 0; output < mesh.output_count(); ++output) {
		const std::span<const uint16_t> indices = mesh.refined_indices(output);
		if (indices.empty() == (output >= 1 && output <= 5))
			return bad_entry(mesh_entry, "its outputs refine other points than they should");
		for (const uint16_t index : indices) {
			if (index >= all_points)
				return bad_entry(mesh_entry, "an output refines a point that there is not");
		}
	}
	return {};
}

// --- The head -----------------------------------------------------------------------------------------------------

constexpr uint8_t geometry_magic[4] = {'K', 'L', 'H', 'G'};
constexpr uint32_t geometry_version = 1;
constexpr size_t geometry_header_bytes = 16;
constexpr size_t vertex_bytes = 20;
constexpr size_t triangle_bytes = 6;
constexpr size_t pose_bytes = 6;

// Little-endian numbers of a file whose length was compared with what it should hold.
class GeometryReader {
public:
	explicit GeometryReader(const uint8_t *next) : next_(next) {}

	uint32_t number(int bytes)
	{
		uint32_t value = 0;
		for (int byte = 0; byte < bytes; ++byte)
			value |= uint32_t{*next_++} << (8 * byte);
		return value;
	}
	uint16_t index() { return static_cast<uint16_t>(number(2)); }
	float real() { return std::bit_cast<float>(number(4)); }

private:
	const uint8_t *next_;
};

bool is_sound_vertex(const HeadGeometry::Vertex &vertex)
{
	constexpr float farthest_cm = 100;
	for (const float value : {vertex.x, vertex.y, vertex.z}) {
		if (!(std::fabs(value) <= farthest_cm))
			return false;
	}
	return vertex.u >= 0 && vertex.u <= 1 && vertex.v >= 0 && vertex.v <= 1;
}

ReadResult read_geometry(const Bytes &bytes, HeadGeometry &head)
{
	head = {};
	if (bytes.size() < geometry_header_bytes || std::memcmp(bytes.data(), geometry_magic, 4) != 0)
		return bad_entry(geometry_entry, "it is no head");
	GeometryReader reader(bytes.data() + 4);
	if (reader.number(4) != geometry_version)
		return bad_entry(geometry_entry, "its format version is another one");
	const size_t vertices = reader.index();
	const size_t triangles = reader.index();
	const size_t pose_weights = reader.index();
	reader.index(); // unused
	if (vertices != mesh_points || pose_weights < 3 ||
	    bytes.size() != geometry_header_bytes + vertices * vertex_bytes + triangles * triangle_bytes +
				    pose_weights * pose_bytes)
		return bad_entry(geometry_entry, "its length does not fit what it holds");

	bool sound = true;
	for (size_t index = 0; index < vertices; ++index) {
		HeadGeometry::Vertex vertex = {};
		for (float *value : {&vertex.x, &vertex.y, &vertex.z, &vertex.u, &vertex.v})
			*value = reader.real();
		sound &= is_sound_vertex(vertex);
		head.vertices.push_back(vertex);
	}
	for (size_t index = 0; index < triangles; ++index) {
		std::array<uint16_t, 3> corners = {};
		for (uint16_t &corner : corners) {
			corner = reader.index();
			sound &= corner < vertices;
		}
		head.triangles.push_back(corners);
	}
	for (size_t index = 0; index < pose_weights; ++index) {
		const uint16_t point = reader.index();
		const float weight = reader.real();
		sound &= point < vertices && weight > 0 && weight <= 1;
		head.pose_weights.push_back({point, weight});
	}
	return sound ? ReadResult{} : bad_entry(geometry_entry, "it has a point or a number that there is not");
}

ReadResult read_library(const NetFiles &files, NetLibrary &nets)
{
	const Promise detector = {detector_entry, {128, 128, 3}, {{1, 896, 16}, {1, 896, 1}}};
	const Promise mesh = {
		mesh_entry,
		{192, 192, 3},
		{{1, mesh_points, 3}, {1, 80, 2}, {1, 71, 2}, {1, 71, 2}, {1, 5, 2}, {1, 5, 2}, {1, 1, 1}}};
	const Promise matte = {matte_entry, {144, 256, 3}, {{144, 256, 1}}};
	if (ReadResult result = read_promised(files[0], detector, nets.face_detector); !result)
		return result;
	if (ReadResult result = read_promised(files[1], mesh, nets.face_mesh); !result)
		return result;
	if (ReadResult result = check_mesh(*nets.face_mesh); !result)
		return result;
	if (ReadResult result = read_promised(files[2], matte, nets.person_matte); !result)
		return result;
	return read_geometry(files[3], nets.head);
}

NetLibrary no_nets()
{
	NetLibrary nets;
	nets.reason = "the resource bundle holds no nets";
	return nets;
}

} // namespace

ReadResult read_nets(const Bundle &bundle, NetLibrary &nets)
{
	nets = no_nets();
	NetFiles files;
	bool has_nets = false;
	if (ReadResult result = read_files(bundle, files, has_nets); !result) {
		nets.reason = result.reason;
		return result;
	}
	if (!has_nets)
		return {};
	nets = {};
	ReadResult result = read_library(files, nets);
	if (!result) {
		nets = {};
		nets.reason = result.reason;
	}
	return result;
}

std::shared_ptr<const NetLibrary> shared_nets(const Bundle &bundle)
{
	// The bundle stays beside what was made of it: unpacking another one takes far longer than comparing the two.
	struct Shared {
		Bytes bundle;
		NetLibrary nets;
	};
	static std::mutex mutex;
	static std::weak_ptr<Shared> current; // guarded by the mutex

	const std::lock_guard lock(mutex);
	if (const std::shared_ptr<Shared> present = current.lock(); present && present->bundle == bundle.bytes())
		return {present, &present->nets};
	const auto made = std::make_shared<Shared>();
	if (read_nets(bundle, made->nets) && made->nets.is_complete()) {
		made->bundle = bundle.bytes();
		current = made;
	}
	return {made, &made->nets};
}

} // namespace kalvio::engine
