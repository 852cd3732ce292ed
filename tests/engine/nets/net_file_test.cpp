// SPDX-License-Identifier: GPL-2.0-or-later

// Net files that are wrong: each is refused with a reason, or is another net that can be run; nothing crashes.
#include "nets/net_fixture.h"
#include "nets/random_net.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace kalvio::engine::testing {
namespace {

ReadResult read(const std::vector<uint8_t> &bytes)
{
	std::shared_ptr<const Net> net;
	ReadResult result = read_net(bytes, net);
	EXPECT_EQ(static_cast<bool>(result), net != nullptr);
	if (!result) {
		EXPECT_EQ(result.status, KL_ERROR_FORMAT);
		EXPECT_FALSE(result.reason.empty());
	}
	return result;
}

// The net whose first step was changed.
ReadResult read_changed(void (*change)(NetFile &file, NetStep &step))
{
	NetFile file = small_net();
	change(file, file.steps[0]);
	return read(write_net(file));
}

TEST(NetFile, ReadsWhatWasWritten)
{
	for (uint32_t seed = 1; seed < 11; ++seed) {
		const NetFile file = random_net(seed);
		NetFile again;
		ASSERT_TRUE(parse_net(write_net(file), again));
		EXPECT_EQ(write_net(again), write_net(file));
		EXPECT_TRUE(read(write_net(file)));
	}
}

TEST(NetFile, CutAtAnyLengthIsRefused)
{
	const std::vector<uint8_t> whole = write_net(small_net());
	for (size_t length = 0; length < whole.size(); ++length)
		EXPECT_FALSE(read({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)})) << length;
}

TEST(NetFile, WithMoreBehindItIsRefused)
{
	std::vector<uint8_t> bytes = write_net(small_net());
	bytes.push_back(0);
	EXPECT_FALSE(read(bytes));
}

TEST(NetFile, WithAnyByteAlteredIsRefusedOrRuns)
{
	for (const NetFile &file : {small_net(), random_net(2)}) {
		const std::vector<uint8_t> whole = write_net(file);
		const size_t end = whole.size() - file.weights.size() * 2 + 8;
		for (size_t place = 0; place < end; ++place) {
			for (const uint8_t change : {uint8_t{0x01}, uint8_t{0x80}, uint8_t{0xFF}}) {
				std::vector<uint8_t> bytes = whole;
				bytes[place] ^= change;
				std::shared_ptr<const Net> net;
				if (!read_net(bytes, net))
					continue;
				NetRunner runner(net);
				runner.run();
			}
		}
	}
}

TEST(NetFile, ThatReadsBeforeItWritesIsRefused)
{
	EXPECT_FALSE(read_changed([](NetFile &, NetStep &step) { step.input = 1; })); // its own result
	EXPECT_FALSE(read_changed([](NetFile &, NetStep &step) { step.input = 2; }));
	EXPECT_FALSE(read_changed([](NetFile &, NetStep &step) { step.input = NetStep::none; }));
	EXPECT_FALSE(read_changed([](NetFile &, NetStep &step) { step.residual = 1; }));
	EXPECT_FALSE(read_changed([](NetFile &file, NetStep &) { file.outputs[0].tensor = 2; }));
	EXPECT_FALSE(read_changed([](NetFile &file, NetStep &) { file.outputs[0].tensor = 0; }));
}

TEST(NetFile, WithACycleIsRefused)
{
	NetFile file = small_net();
	NetStep add;
	add.operation = NetOperation::Add;
	add.input = 1;
	add.second = 3;
	add.output = file.steps[0].output;
	NetStep again = add;
	again.input = 2;
	again.second = 2;
	file.steps.push_back(add);
	file.steps.push_back(again);
	EXPECT_FALSE(read(write_net(file)));
	file.steps[1].second = 1;
	EXPECT_TRUE(read(write_net(file)));
}

TEST(NetFile, OfNoSizeOrAHugeOneIsRefused)
{
	EXPECT_FALSE(read_changed([](NetFile &file, NetStep &) { file.input.height = 0; }));
	EXPECT_FALSE(read_changed([](NetFile &file, NetStep &) { file.input.width = 65535; }));
	EXPECT_FALSE(read_changed([](NetFile &, NetStep &step) { step.output.channels = 0; }));
	EXPECT_FALSE(read_changed([](NetFile &, NetStep &step) { step.output = {65535, 65535, 65535}; }));
	EXPECT_FALSE(read_changed([](NetFile &, NetStep &step) { step.output = {1024, 1024, 4096}; }));
	EXPECT_FALSE(read_changed([](NetFile &file, NetStep &) {
		file.steps.clear();
		file.weights.clear();
	}));
	EXPECT_FALSE(read_changed([](NetFile &file, NetStep &) { file.outputs.clear(); }));
}

// Sizes that are each allowed, and too much together.
TEST(NetFile, ThatAsksForTooMuchMemoryOrWorkIsRefused)
{
	NetFile file;
	file.input = {1024, 1024, 1};
	NetStep step;
	step.operation = NetOperation::Activate;
	step.output = file.input;
	file.steps.push_back(step);
	file.outputs.push_back({1, NetStep::none});
	EXPECT_TRUE(read(write_net(file)));
	for (uint16_t tensor = 1; tensor < 4; ++tensor) {
		step.input = tensor;
		file.steps.push_back(step);
	}
	EXPECT_FALSE(read(write_net(file)));

	// 512 x 512 x 16 x 64 x 16 products in one step.
	NetFile busy;
	busy.input = {512, 512, 16};
	NetStep convolution;
	convolution.operation = NetOperation::Convolution;
	convolution.kernel_height = 7;
	convolution.kernel_width = 7;
	convolution.pad_top = 3;
	convolution.pad_left = 3;
	convolution.output = {512, 512, 16};
	busy.steps.push_back(convolution);
	busy.outputs.push_back({1, NetStep::none});
	busy.weights.resize(weight_count(busy, convolution));
	EXPECT_FALSE(read(write_net(busy)));
}

TEST(NetFile, WithAKernelThatReachesTooFarIsRefused)
{
	EXPECT_FALSE(read_changed([](NetFile &, NetStep &step) { step.pad_top = 200; }));
	EXPECT_FALSE(read_changed([](NetFile &, NetStep &step) { step.pad_left = 4; }));
	EXPECT_FALSE(read_changed([](NetFile &, NetStep &step) { step.stride = 255; }));
	EXPECT_FALSE(read_changed([](NetFile &, NetStep &step) { step.stride = 0; }));
	EXPECT_FALSE(read_changed([](NetFile &, NetStep &step) { step.kernel_width = 0; }));
	EXPECT_FALSE(read_changed([](NetFile &, NetStep &step) { step.output.height = 1000; }));
}

TEST(NetFile, WithUnknownOrUnfittingPartsIsRefused)
{
	for (const int operation : {0, 14, 255}) {
		NetFile file = small_net();
		file.steps[0].operation = static_cast<NetOperation>(operation);
		EXPECT_FALSE(read(write_net(file))) << operation;
	}
	EXPECT_FALSE(read_changed([](NetFile &, NetStep &step) { step.outer = static_cast<NetActivation>(5); }));
	EXPECT_FALSE(read_changed([](NetFile &, NetStep &step) { step.inner = NetActivation::Relu; }));
	EXPECT_FALSE(read_changed([](NetFile &, NetStep &step) { step.second = 0; }));
	EXPECT_FALSE(read_changed([](NetFile &, NetStep &step) { step.operation = NetOperation::Depthwise; }));
	EXPECT_FALSE(read_changed([](NetFile &, NetStep &step) { step.operation = NetOperation::Join; }));
}

TEST(NetFile, WithTooFewOrTooManyWeightsIsRefused)
{
	EXPECT_FALSE(read_changed([](NetFile &file, NetStep &) { file.weights.pop_back(); }));
	EXPECT_FALSE(read_changed([](NetFile &file, NetStep &) { file.weights.push_back(0); }));
	EXPECT_FALSE(read_changed([](NetFile &file, NetStep &) { file.weights[3] = 0x7C00; })); // infinite
	EXPECT_FALSE(read_changed([](NetFile &file, NetStep &) { file.weights[3] = 0xFE01; })); // not a number
}

// A count of weights whose bytes overflow 32 bits.
TEST(NetFile, WithACountThatOverflowsIsRefused)
{
	std::vector<uint8_t> bytes = write_net(small_net());
	constexpr size_t place_of_weight_count = 20;
	const uint32_t count = 0x80000000U + static_cast<uint32_t>(small_net().weights.size());
	std::memcpy(bytes.data() + place_of_weight_count, &count, sizeof(count));
	EXPECT_FALSE(read(bytes));
}

TEST(NetFile, WithCropsOfPointsThatThereAreNotIsRefused)
{
	const auto crop_of = [](NetFile &file) -> NetStep & {
		return *std::find_if(file.steps.begin(), file.steps.end(),
				     [](const NetStep &step) { return step.operation == NetOperation::CropMatrix; });
	};
	const auto refused = [&](void (*change)(NetFile &, NetStep &)) {
		NetFile file = random_net(4);
		change(file, crop_of(file));
		return !read(write_net(file));
	};
	EXPECT_FALSE(refused([](NetFile &, NetStep &) {}));
	EXPECT_TRUE(refused([](NetFile &, NetStep &step) { step.left_point = 999; }));
	EXPECT_TRUE(refused([](NetFile &, NetStep &step) { step.list = 7; }));
	EXPECT_TRUE(refused([](NetFile &, NetStep &step) { step.list = NetStep::none; }));
	EXPECT_TRUE(refused([](NetFile &file, NetStep &) { file.lists[0].push_back(999); }));
	EXPECT_TRUE(refused([](NetFile &file, NetStep &) { file.lists[0].clear(); }));
	EXPECT_TRUE(refused([](NetFile &, NetStep &step) { step.crop_width = 0; }));
	EXPECT_TRUE(refused([](NetFile &, NetStep &step) { step.scale_x = 0; }));
	EXPECT_TRUE(refused([](NetFile &, NetStep &step) { step.unit = std::numeric_limits<float>::infinity(); }));
	EXPECT_TRUE(refused([](NetFile &, NetStep &step) { step.scale_y = std::numeric_limits<float>::quiet_NaN(); }));
	EXPECT_TRUE(refused([](NetFile &, NetStep &step) { step.output = {2, 3, 1}; }));
}

} // namespace
} // namespace kalvio::engine::testing
