// SPDX-License-Identifier: GPL-2.0-or-later

// bench_effects [--check] [--bundle FILE]: what reshaping a face of a frame of 1920 x 1080 costs on one thread, beside
// OpenCV's bilinear remap of as many pixels, where it is installed, and beside two plain copies of the frame; and what
// whole frames cost with the effects that most people use, and with all. With --check it fails when a figure is above
// its bar.
#include "comparison.h"
#include "effects_peer.h"
#include "face_trials.h"
#include "faces/face_regions.h"
#include "kit/heap_probe.h"
#include "look_costs.h"
#include "pool.h"
#include "stages/reshape_field.h"

#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>

namespace {

using namespace kalvio::engine;
using namespace kalvio::engine::testing;
using kalvio::test::report;

// A made face, 140 pixels between its eyes, and where its points are.
struct Subject {
	Image picture;
	TrackedFace face;
};

Subject make_subject(const std::string &bundle)
{
	const NetLibrary nets = load_nets(bundle);
	FacePainter painter(nets.head);
	FaceRecipe recipe = make_recipe(FaceCondition::Base, 3);
	recipe.width = 1920;
	recipe.height = 1080;
	recipe.center = {960, 520};
	recipe.eye_distance = 140;
	Subject subject;
	subject.face.points = painter.paint(recipe, 1, subject.picture);
	subject.face.size = regions::face_size(subject.face.points);
	subject.face.confidence.fill(1);
	return subject;
}

class Reshaping {
public:
	explicit Reshaping(const Subject &subject) : subject_(subject), output_(subject.picture.pixels)
	{
		const Image &picture = subject.picture;
		frame_ = {picture.pixels.data(), output_.data(), picture.width, picture.height,
			  picture.width * bytes_per_pixel};
		row_.resize(frame_.row_bytes() + 128);
	}

	const Frame &frame() const { return frame_; }

	void build(const std::array<float, KL_RESHAPE_COUNT> &amounts)
	{
		field_.build(frame_.width, frame_.height, amounts, {&subject_.face, 1}, pool_);
	}
	void warp()
	{
		const kernels::WarpSource source = {frame_.input, frame_.stride_bytes, frame_.width, frame_.height};
		for_each_row([&](const ReshapeField::Region &region, int y, int first, int end) {
			const kernels::WarpLine line = region.line(y, first);
			kernels::warp_row(source, line, end - first, row_.data());
			std::memcpy(frame_.output_row(y) + line.x * bytes_per_pixel, row_.data(),
				    size_t((end - first) * region.grid.cell()) * bytes_per_pixel);
		});
	}
	// As many pixels in a rectangle, read from where the field says.
	kalvio::bench::RemapPlaces places()
	{
		int64_t pixels = 0;
		const ReshapeField::Region &region = field_.regions()[0];
		const DisplacementGrid &grid = region.grid;
		for_each_row([&](const ReshapeField::Region &, int, int first, int end) {
			pixels += (end - first) * grid.cell();
		});
		const int height = (grid.rows - 1) * grid.cell();
		kalvio::bench::RemapPlaces places = {static_cast<int>(pixels / height), height, {}};
		const int left = grid.x + ((grid.columns - 1) * grid.cell() - places.width) / 2;
		for (int y = 0; y < height; ++y) {
			for (int x = 0; x < places.width; ++x) {
				const int column = (left + x - grid.x) >> grid.cell_shift;
				const kernels::WarpNode &node = region.node_row(y >> grid.cell_shift)[column];
				places.places.push_back(static_cast<float>(left + x) +
							static_cast<float>(node.x) / 65536);
				places.places.push_back(static_cast<float>(grid.y + y) +
							static_cast<float>(node.y) / 65536);
			}
		}
		return places;
	}

private:
	template <typename Row>
	void for_each_row(const Row &row)
	{
		for (const ReshapeField::Region &region : field_.regions()) {
			const DisplacementGrid &grid = region.grid;
			for (int y = grid.y; y < grid.y + (grid.rows - 1) * grid.cell() && y < frame_.height; ++y) {
				const auto [first, end] = region.spans[size_t((y - grid.y) >> grid.cell_shift)];
				if (first < end)
					row(region, y, first, end);
			}
		}
	}

	const Subject &subject_;
	std::vector<uint8_t> output_;
	Frame frame_ = {};
	std::vector<uint8_t> row_;
	Pool pool_{1};
	ReshapeField field_;
};

bool bench(const std::string &bundle)
{
	const Subject subject = make_subject(bundle);
	Reshaping reshaping(subject);
	std::array<float, KL_RESHAPE_COUNT> usual = {};
	usual[KL_RESHAPE_FACE_THIN] = 0.5F;
	usual[KL_RESHAPE_EYE_SIZE] = 0.4F;
	usual[KL_RESHAPE_NOSE_SLIM] = 0.3F;
	std::array<float, KL_RESHAPE_COUNT> all;
	all.fill(0.3F);
	reshaping.build(all);
	reshaping.build(usual);

	Image copy = subject.picture;
	const auto copy_twice = [&] {
		std::memcpy(copy.pixels.data(), subject.picture.pixels.data(), copy.pixel_bytes());
		std::memcpy(copy.pixels.data(), reshaping.frame().output, copy.pixel_bytes());
	};
	const kalvio::bench::RemapPlaces places = reshaping.places();
	const std::function<void()> remap = kalvio::bench::make_remap_peer(reshaping.frame(), places);
	constexpr int samples = 11;
	constexpr int frames = 8;
	const auto whole = [&](const std::array<float, KL_RESHAPE_COUNT> &amounts) {
		return [&] {
			reshaping.build(amounts);
			reshaping.warp();
		};
	};
	std::printf("\nreshape of a face in a frame of 1920 x 1080, %d pixels, one thread\n",
		    places.width * places.height);
	const auto show = [](const char *what, const kalvio::test::Comparison &cost, const char *unit, double bar) {
		std::printf("  %-56s %8.2f ms beside %.2f\n", what, cost.left_seconds * 1e3, cost.right_seconds * 1e3);
		return report(unit, cost.ratio(), bar);
	};
	bool held = true;
	reshaping.build(usual);
	if (remap) {
		held &= show("its pixels",
			     kalvio::test::compare(
				     samples, frames, [&] { reshaping.warp(); }, remap),
			     "    in OpenCV's bilinear remaps", 1.2);
	} else {
		std::printf("  OpenCV is not installed: no remap to compare with\n");
	}
	held &= show("field and pixels, three settings",
		     kalvio::test::compare(samples, frames, whole(usual), copy_twice), "    in two copies of the frame",
		     1.5);
	held &= show("field and pixels, all settings", kalvio::test::compare(samples, frames, whole(all), copy_twice),
		     "    in two copies of the frame", 3.5);

	const uint64_t before = kalvio::test::heap_allocation_count();
	for (int steady = 0; steady < frames; ++steady)
		whole(all)();
	const double allocations = static_cast<double>(kalvio::test::heap_allocation_count() - before) / frames;
	return report("heap allocations of a steady frame", allocations, 0) && held;
}

} // namespace

int main(int argc, char **argv)
{
	const bool check = kalvio::test::take_check_option(argc, argv);
	std::string bundle = KALVIO_DATA_DIR "/resource.kld";
	if (argc == 3 && std::strcmp(argv[1], "--bundle") == 0)
		bundle = argv[2];
	try {
		const bool reshape_held = bench(bundle);
		std::printf("\nwhole frames of 1920 x 1080\n");
		const bool looks_held = kalvio::bench::bench_looks(bundle);
		return (reshape_held && looks_held) || !check ? 0 : 1;
	} catch (const std::exception &error) {
		std::fprintf(stderr, "bench_effects: %s\n", error.what());
		return 1;
	}
}
