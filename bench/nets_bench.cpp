// SPDX-License-Identifier: GPL-2.0-or-later

// bench_nets [--check]: what a run of each shipped net costs on one thread, beside the same net in XNNPACK, where that
// is installed, and beside the time that its products alone would take on this processor at this moment, each
// multiplied and then added in full registers. With --check the exit code is 1 when a bar is missed.
#include "comparison.h"
#include "nets/net_library.h"
#include "nets_peer.h"
#include "nets_roofline.h"

#include <cmath>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace {

using namespace kalvio::engine;
using namespace kalvio::bench;

constexpr double peer_bar = 1.3;
constexpr double roofline_bar = 3;
constexpr int samples = 41;

struct Entrant {
	const char *name;
	const char *entry;
	std::shared_ptr<const Net> net;
	float low; // of the input's values
};

Bundle &resources()
{
	static Bundle bundle;
	return bundle;
}

NetFile file_of(const Entrant &entrant)
{
	Bytes bytes;
	NetFile file;
	if (!resources().read(entrant.entry, bytes) || !parse_net(bytes, file))
		throw std::runtime_error(std::string(entrant.entry) + " cannot be read");
	return file;
}

// Something with edges and gradients in it.
void fill(std::span<float> input, const Shape &shape, float low)
{
	size_t place = 0;
	for (int y = 0; y < shape.height; ++y) {
		for (int x = 0; x < shape.width; ++x) {
			for (int channel = 0; channel < shape.channels; ++channel) {
				const bool inside =
					std::hypot(x - shape.width / 2, y - shape.height / 2) < shape.height * 0.4;
				const float wave = 0.5F + 0.3F * std::sin(0.1F * static_cast<float>(x + channel)) +
						   (inside ? 0.2F : 0.0F);
				input[place++] = low + (1 - low) * wave;
			}
		}
	}
}

// Whether both work out the same: a peer that does something else is no measure.
void expect_same(const Entrant &entrant, NetRunner &runner, NetsPeer &peer)
{
	fill(runner.input(), runner.input_shape(), entrant.low);
	fill(peer.input(), runner.input_shape(), entrant.low);
	runner.run();
	peer.run();
	int compared = 0;
	for (int output = 0; output < runner.output_count(); ++output) {
		const std::span<const float> theirs = peer.output(output);
		const std::span<const float> ours = runner.output(output);
		for (size_t index = 0; index < theirs.size(); ++index) {
			if (!(std::fabs(ours[index] - theirs[index]) <= 1e-3F * (1 + std::fabs(ours[index]))))
				throw std::runtime_error(std::string(entrant.name) + ": the peer gives something else");
		}
		compared += theirs.empty() ? 0 : 1;
	}
	if (compared == 0)
		throw std::runtime_error(std::string(entrant.name) + ": nothing to compare with the peer");
}

// The quickest of many runs of either side, in turns: what either can do when other programs leave the caches alone,
// which a loop over registers does not need.
kalvio::test::Comparison quickest(const std::function<void()> &left, const std::function<void()> &right)
{
	kalvio::test::Comparison best = {HUGE_VAL, HUGE_VAL};
	for (int sample = 0; sample < 5 * samples; ++sample) {
		const kalvio::test::Comparison one = kalvio::test::compare(1, 1, left, right);
		best.left_seconds = std::min(best.left_seconds, one.left_seconds);
		best.right_seconds = std::min(best.right_seconds, one.right_seconds);
	}
	return best;
}

bool measure(const Entrant &entrant)
{
	const NetFile file = file_of(entrant);
	const double products = static_cast<double>(run_products(file));
	NetRunner runner(entrant.net);
	fill(runner.input(), runner.input_shape(), entrant.low);

	const Roofline roofline(products);
	float seen = 0;
	const auto beside_roofline = quickest([&] { runner.run(); }, [&] { seen += roofline.run(); });
	if (seen == 0)
		throw std::runtime_error("nothing was multiplied");
	std::printf("%s: %.2f million products, %.2f ms\n", entrant.name, products * 1e-6,
		    beside_roofline.left_seconds * 1e3);
	const double rate = products / beside_roofline.right_seconds * 1e-9;
	std::printf("  %-56s %8.3f   (%.1f thousand million products per second)\n", "products alone, ms",
		    beside_roofline.right_seconds * 1e3, rate);
	bool held = kalvio::test::report("beside the products alone", beside_roofline.ratio(), roofline_bar);

	const std::unique_ptr<NetsPeer> peer = xnnpack_peer(file);
	if (!peer) {
		std::printf("  XNNPACK is not installed: left out\n");
		return held;
	}
	expect_same(entrant, runner, *peer);
	const auto run_own = [&] {
		runner.run();
	};
	const auto run_peer = [&] {
		peer->run();
	};
	const auto beside_peer = kalvio::test::compare(samples, 1, run_own, run_peer);
	std::printf("  %-56s %8.3f\n", "XNNPACK, ms", beside_peer.right_seconds * 1e3);
	held &= kalvio::test::report("beside XNNPACK", beside_peer.ratio(), peer_bar);
	return held;
}

// What a frame with one face and a matte takes of nets, beside a copy of the frame.
void measure_frame(const NetLibrary &nets)
{
	constexpr size_t frame_bytes = size_t{1920} * 1080 * 4;
	std::vector<uint8_t> from(frame_bytes, 1);
	std::vector<uint8_t> to(frame_bytes);
	NetRunner mesh(nets.face_mesh);
	NetRunner matte(nets.person_matte);
	const auto both = kalvio::test::compare(
		samples, 1,
		[&] {
			mesh.run();
			matte.run();
		},
		[&] {
			std::memcpy(to.data(), from.data(), frame_bytes);
			from[0] = to[frame_bytes - 1];
		});
	std::printf("mesh and matte: %.2f ms, %.2f copies of a frame of 1920 x 1080\n", both.left_seconds * 1e3,
		    both.ratio());
}

bool measure_all()
{
	if (const ReadResult result = resources().open(KALVIO_DATA_DIR "/resource.kld", "resource"); !result)
		throw std::runtime_error("resource.kld: " + result.reason);
	NetLibrary nets;
	if (const ReadResult result = read_nets(resources(), nets); !result || !nets.is_complete())
		throw std::runtime_error(nets.reason + "; scripts/nets fetches them");
	const Entrant entrants[] = {{"face detector", "nets/face_detector.net", nets.face_detector, -1},
				    {"face mesh", "nets/face_mesh.net", nets.face_mesh, 0},
				    {"person matte", "nets/person_matte.net", nets.person_matte, 0}};
	bool held = true;
	for (const Entrant &entrant : entrants)
		held &= measure(entrant);
	measure_frame(nets);
	return held;
}

} // namespace

int main(int argc, char **argv)
{
	const bool check = kalvio::test::take_check_option(argc, argv);
	try {
		return measure_all() || !check ? 0 : 1;
	} catch (const std::exception &error) {
		std::fprintf(stderr, "bench_nets: %s\n", error.what());
		return 2;
	}
}
