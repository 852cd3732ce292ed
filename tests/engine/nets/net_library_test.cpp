// SPDX-License-Identifier: GPL-2.0-or-later

// What the resource bundle brings, and what an engine says where it brings no nets.
#include "engine.h"
#include "nets/net_fixture.h"

#include <algorithm>
#include <filesystem>
#include <map>

namespace kalvio::engine::testing {
namespace {

constexpr const char *entries[] = {"nets/face_detector.net", "nets/face_mesh.net", "nets/person_matte.net",
				   "nets/head_geometry.bin"};

class NetLibraryTest : public EngineTest {
protected:
	NetLibraryTest()
	{
		Bundle shipped;
		EXPECT_TRUE(shipped.open(KALVIO_DATA_DIR "/resource.kld", "resource"));
		for (const char *entry : entries)
			EXPECT_TRUE(shipped.read(entry, files[entry])) << "scripts/nets, then configure anew";
	}

	std::string bundle_with(const std::map<std::string, Bytes> &some) const
	{
		std::vector<BundleFile> list;
		for (const auto &[name, content] : some)
			list.push_back({name, content});
		return scratch.write_bundle("made.kld", "resource", 1, std::move(list));
	}
	static ReadResult read(const std::string &path, NetLibrary &nets)
	{
		Bundle bundle;
		EXPECT_TRUE(bundle.open(path.c_str(), "resource"));
		return read_nets(bundle, nets);
	}
	static EnginePointer engine_of(const std::string &path)
	{
		const kl_engine_config config = {0, 0, nullptr, path.c_str(), "org.test.engine", 0};
		return EnginePointer(kl_engine_create(&config));
	}
	size_t lines_with(const std::string &text) const
	{
		const std::string log = log_text();
		size_t count = 0;
		for (size_t place = log.find(text); place != std::string::npos; place = log.find(text, place + 1))
			++count;
		return count;
	}

	std::map<std::string, Bytes> files;
};

TEST_F(NetLibraryTest, ShippedBundleHasAllNets)
{
	NetLibrary nets;
	ASSERT_TRUE(read(KALVIO_DATA_DIR "/resource.kld", nets));
	EXPECT_TRUE(nets.is_complete());
	constexpr int32_t all = KL_CAPABILITY_FACES | KL_CAPABILITY_PERSON_MATTE | KL_CAPABILITY_BODY;
	EXPECT_EQ(kl_get_capabilities(engine.get()), all);
	EXPECT_EQ(nets.face_mesh->input_shape(), (Shape{192, 192, 3}));
	EXPECT_EQ(nets.face_mesh->output_count(), 7);
	EXPECT_TRUE(engine->nets->is_complete());
	EXPECT_EQ(lines_with("face effects and the portrait cut-out are off"), 0U);
}

TEST_F(NetLibraryTest, BundleWithoutNetsIsNoError)
{
	NetLibrary nets;
	EXPECT_TRUE(read(bundle_with({}), nets));
	EXPECT_FALSE(nets.is_complete());
	EXPECT_FALSE(nets.reason.empty());
}

TEST_F(NetLibraryTest, AnyFileMissingBesideOthersLeavesNone)
{
	for (const char *entry : entries) {
		std::map<std::string, Bytes> some = files;
		some.erase(entry);
		NetLibrary nets;
		EXPECT_EQ(read(bundle_with(some), nets).status, KL_ERROR_FORMAT) << entry;
		EXPECT_EQ(nets.face_detector, nullptr);
		EXPECT_EQ(nets.face_mesh, nullptr);
		EXPECT_EQ(nets.person_matte, nullptr);
		EXPECT_TRUE(contains(nets.reason, entry)) << nets.reason;
	}
}

TEST_F(NetLibraryTest, AnyFileCutLeavesNone)
{
	for (const char *entry : entries) {
		std::map<std::string, Bytes> some = files;
		some[entry].resize(some[entry].size() - 2);
		NetLibrary nets;
		EXPECT_EQ(read(bundle_with(some), nets).status, KL_ERROR_FORMAT) << entry;
		EXPECT_FALSE(nets.is_complete());
		EXPECT_TRUE(nets.head.vertices.empty());
	}
}

TEST_F(NetLibraryTest, NetsInEachOthersPlaceAreRefused)
{
	std::swap(files["nets/face_detector.net"], files["nets/person_matte.net"]);
	NetLibrary nets;
	EXPECT_EQ(read(bundle_with(files), nets).status, KL_ERROR_FORMAT);
	EXPECT_EQ(nets.face_detector, nullptr);
}

TEST_F(NetLibraryTest, HeadsThatAreNoHeadAreRefused)
{
	const Bytes head = files["nets/head_geometry.bin"];
	const auto refused = [&](size_t place, Bytes bytes) {
		Bytes changed = head;
		std::copy(bytes.begin(), bytes.end(), changed.begin() + static_cast<std::ptrdiff_t>(place));
		files["nets/head_geometry.bin"] = changed;
		NetLibrary nets;
		return read(bundle_with(files), nets).status == KL_ERROR_FORMAT;
	};
	constexpr size_t first_vertex = 16;
	constexpr size_t first_triangle = first_vertex + size_t{468} * 20;
	EXPECT_FALSE(refused(0, {'K'}));
	EXPECT_TRUE(refused(0, {'X'}));
	EXPECT_TRUE(refused(4, {2}));                             // version
	EXPECT_TRUE(refused(8, {0, 0}));                          // no vertices
	EXPECT_TRUE(refused(first_vertex, {0, 0, 0xC0, 0x7F}));   // not a number
	EXPECT_TRUE(refused(first_vertex + 12, {0, 0, 0, 0x40})); // u of 2
	EXPECT_TRUE(refused(first_triangle, {0xD4, 0x01}));       // corner 468
	EXPECT_TRUE(refused(head.size() - 4, {0, 0, 0, 0}));      // a weight of 0
	EXPECT_TRUE(refused(head.size() - 6, {0xFF, 0xFF}));      // its point
}

TEST_F(NetLibraryTest, EnginesOfTheSameBundleShareTheNets)
{
	const EnginePointer other = create();
	EXPECT_EQ(other->nets->face_mesh, engine->nets->face_mesh);
	std::filesystem::copy_file(KALVIO_DATA_DIR "/resource.kld", scratch.place("copy.kld"));
	const EnginePointer copied = engine_of(scratch.path("copy.kld"));
	EXPECT_EQ(copied->nets->face_mesh, engine->nets->face_mesh);
	files["nets/head_geometry.bin"][16] ^= 1; // the least of the first vertex's x
	const EnginePointer changed = engine_of(bundle_with(files));
	ASSERT_TRUE(changed->nets->is_complete());
	EXPECT_NE(changed->nets->face_mesh, engine->nets->face_mesh);
}

TEST_F(NetLibraryTest, NetsGoWithTheLastEngine)
{
	EnginePointer other = create();
	const std::weak_ptr<const Net> mesh = engine->nets->face_mesh;
	engine.reset();
	EXPECT_FALSE(mesh.expired());
	other.reset();
	EXPECT_TRUE(mesh.expired());
}

struct Received {
	std::vector<std::pair<int32_t, std::string>> events;
	static void receive(void *self, int32_t code, const char *message)
	{
		static_cast<Received *>(self)->events.emplace_back(code, message);
	}
};

// In each of these the engine works, and says once that something is missing.
void expect_engine_that_says_so(kl_engine *engine)
{
	ASSERT_NE(engine, nullptr);
	Received received;
	kl_engine_set_event_callback(engine, Received::receive, &received);
	kl_engine_set_event_callback(engine, Received::receive, &received);
	ASSERT_EQ(received.events.size(), 2U);
	EXPECT_EQ(received.events[0].first, KL_EVENT_READY);
	EXPECT_EQ(received.events[1].first, KL_EVENT_RESOURCE_FAILED);
	EXPECT_TRUE(contains(received.events[1].second, "face effects and the portrait cut-out are off"))
		<< received.events[1].second;

	const Picture input = noise_picture(64, 48, 3);
	Picture output(64, 48);
	kl_set_smoothing(engine, 1);
	kl_set_whitening(engine, 1);
	EXPECT_EQ(kl_process_rgba(engine, input.bytes.data(), 64, 48, input.stride, output.bytes.data(), 1, 0), KL_OK);
	EXPECT_NE(output.bytes, input.bytes);
	kl_set_smoothing(engine, 0);
	kl_set_whitening(engine, 0);

	// Nobody can be cut out, and the engine does not claim it.
	EXPECT_EQ(kl_get_capabilities(engine), 0);
	kl_set_virtual_background_blur(engine, 1);
	EXPECT_EQ(kl_process_rgba(engine, input.bytes.data(), 64, 48, input.stride, output.bytes.data(), 1, 0), KL_OK);
	EXPECT_EQ(output.bytes, input.bytes);
	kl_engine_set_event_callback(engine, nullptr, nullptr);
}

TEST_F(NetLibraryTest, EngineWithoutNetsWorksAndSaysSoOnce)
{
	const EnginePointer bare = engine_of(bundle_with({}));
	expect_engine_that_says_so(bare.get());
	EXPECT_EQ(lines_with("face effects and the portrait cut-out are off: the resource bundle holds no nets"), 1U);
}

TEST_F(NetLibraryTest, EngineWithDamagedNetsWorksAndSaysSoOnce)
{
	files["nets/face_mesh.net"].pop_back();
	const EnginePointer damaged = engine_of(bundle_with(files));
	expect_engine_that_says_so(damaged.get());
	EXPECT_EQ(lines_with("face effects and the portrait cut-out are off: \"nets/face_mesh.net\""), 1U);
}

TEST_F(NetLibraryTest, EngineWithHalfTheNetsWorksAndSaysSoOnce)
{
	files.erase("nets/person_matte.net");
	const EnginePointer half = engine_of(bundle_with(files));
	expect_engine_that_says_so(half.get());
	EXPECT_EQ(lines_with("face effects and the portrait cut-out are off: \"nets/person_matte.net\""), 1U);
}

} // namespace
} // namespace kalvio::engine::testing
