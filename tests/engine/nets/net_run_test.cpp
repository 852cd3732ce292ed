// SPDX-License-Identifier: GPL-2.0-or-later
#include "nets/net_fixture.h"
#include "nets/random_net.h"

#include "kit/heap_probe.h"

#include <hwy/targets.h>

#include <cmath>
#include <ostream>
#include <set>
#include <thread>

namespace kalvio::engine::testing {
namespace {

std::shared_ptr<const Net> made(const NetFile &file)
{
	std::shared_ptr<const Net> net;
	const ReadResult result = read_net(write_net(file), net);
	EXPECT_TRUE(result) << result.reason;
	return net;
}

class NetRun : public ::testing::Test {
protected:
	void TearDown() override { use_targets(0); }
};

class RandomNet : public ::testing::TestWithParam<uint32_t> {
protected:
	void TearDown() override { use_targets(0); }

	const NetFile file = random_net(GetParam());
	const std::vector<float> input = random_input(file.input, GetParam() + 1000);
};

TEST_P(RandomNet, GivesWhatAPlainRunGives)
{
	NetRunner runner(made(file));
	const std::vector<std::vector<float>> outputs = outputs_of(runner, input);
	const std::vector<Values> expected = run_plainly(file, values_of(file.input, input));
	ASSERT_EQ(outputs.size(), expected.size());
	for (size_t index = 0; index < outputs.size(); ++index)
		EXPECT_LT(worst_difference(outputs[index], expected[index]), 2e-5) << "output " << index;
}

TEST_P(RandomNet, GivesTheSameBytesOnEveryInstructionSet)
{
	NetRunner runner(made(file));
	const std::vector<std::vector<float>> expected = outputs_of(runner, input);
	for (const int64_t target : machine_targets()) {
		use_targets(target);
		EXPECT_EQ(outputs_of(runner, input), expected) << hwy::TargetName(target);
	}
}

TEST_P(RandomNet, GivesTheSameAgain)
{
	NetRunner runner(made(file));
	const std::vector<std::vector<float>> first = outputs_of(runner, input);
	outputs_of(runner, random_input(file.input, 5));
	EXPECT_EQ(outputs_of(runner, input), first);
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomNet, ::testing::Range(1U, 41U));

TEST_F(NetRun, RandomNetsHaveEveryOperationAndActivation)
{
	std::set<NetOperation> operations;
	std::set<NetActivation> inner;
	std::set<NetActivation> outer;
	for (uint32_t seed = 1; seed < 41; ++seed) {
		const NetFile file = random_net(seed);
		for (const NetStep &step : file.steps) {
			operations.insert(step.operation);
			inner.insert(step.inner);
			outer.insert(step.outer);
		}
	}
	EXPECT_EQ(operations.size(), static_cast<size_t>(NetOperation::MovePoints));
	EXPECT_EQ(inner.size(), 4U); // not PRelu
	EXPECT_EQ(outer.size(), 5U);
}

TEST_F(NetRun, TakesNoMemory)
{
	for (const std::shared_ptr<const Net> &net : {made(random_net(3)), shipped_nets().face_mesh}) {
		NetRunner runner(net);
		const uint64_t before = test::heap_allocation_count();
		runner.run();
		EXPECT_EQ(test::heap_allocation_count(), before);
	}
}

TEST_F(NetRun, OneNetRunsOnSeveralThreads)
{
	const std::shared_ptr<const Net> net = made(random_net(7));
	const std::vector<float> input = random_input(net->input_shape(), 9);
	NetRunner alone(net);
	const std::vector<std::vector<float>> expected = outputs_of(alone, input);
	std::vector<std::vector<std::vector<float>>> results(3);
	std::vector<std::thread> threads;
	for (auto &result : results) {
		threads.emplace_back([&] {
			NetRunner runner(net);
			for (int run = 0; run < 5; ++run)
				result = outputs_of(runner, input);
		});
	}
	for (std::thread &thread : threads)
		thread.join();
	for (const auto &result : results)
		EXPECT_EQ(result, expected);
}

// Whatever comes in, a run ends and reads nothing that is not its own.
TEST_F(NetRun, BearsValuesThatAreNoNumbers)
{
	for (const float value : {NAN, INFINITY, -INFINITY, 1e38F, -1e38F}) {
		for (uint32_t seed = 1; seed < 11; ++seed) {
			NetRunner runner(made(random_net(seed)));
			std::fill(runner.input().begin(), runner.input().end(), value);
			runner.run();
		}
	}
}

TEST_F(NetRun, LogisticIsRightFromEndToEnd)
{
	NetFile file;
	file.input = {1, 641, 1};
	NetStep step;
	step.operation = NetOperation::Activate;
	step.outer = NetActivation::Logistic;
	step.output = file.input;
	file.steps.push_back(step);
	file.outputs.push_back({1, NetStep::none});
	NetRunner runner(made(file));
	std::vector<float> input;
	for (int place = 0; place < file.input.width; ++place)
		input.push_back(0.5F * static_cast<float>(place - 320));
	const std::vector<float> output = outputs_of(runner, input)[0];
	for (size_t index = 0; index < input.size(); ++index) {
		const double expected = 1 / (1 + std::exp(-static_cast<double>(input[index])));
		EXPECT_NEAR(static_cast<double>(output[index]), expected, 1.5e-7) << input[index];
	}
}

// --- The shipped nets ---------------------------------------------------------------------------------------------

struct Shipped {
	const char *name;
	std::shared_ptr<const Net> NetLibrary::*net;
	float low; // of the input's values
	// FNV-1a of all outputs on the portrait: the same in each build for each system. It changes with the nets and
	// with the order of a sum, and then has to be entered anew.
	uint64_t hash;
};

// NOLINTNEXTLINE(readability-identifier-naming): the name that GoogleTest looks for
void PrintTo(const Shipped &net, std::ostream *stream)
{
	*stream << net.name;
}

constexpr Shipped shipped[] = {{"FaceDetector", &NetLibrary::face_detector, -1, 1374606357166950527U},
			       {"FaceMesh", &NetLibrary::face_mesh, 0, 11236466668800275694U},
			       {"PersonMatte", &NetLibrary::person_matte, 0, 15844175716127356583U}};

class ShippedNet : public ::testing::TestWithParam<Shipped> {
protected:
	void TearDown() override { use_targets(0); }

	std::shared_ptr<const Net> net = shipped_nets().*GetParam().net;
	const std::vector<float> input = portrait_input(net->input_shape(), GetParam().low, 1);
};

TEST_P(ShippedNet, GivesTheSameBytesOnEveryInstructionSet)
{
	NetRunner runner(net);
	const std::vector<std::vector<float>> expected = outputs_of(runner, input);
	const std::vector<int64_t> targets = machine_targets();
	EXPECT_GE(targets.size(), 1U);
	for (const int64_t target : targets) {
		use_targets(target);
		EXPECT_EQ(outputs_of(runner, input), expected) << hwy::TargetName(target);
	}
}

TEST_P(ShippedNet, GivesTheBytesOfEverySystem)
{
	NetRunner runner(net);
	uint64_t hash = 14695981039346656037U;
	for (const std::vector<float> &output : outputs_of(runner, input)) {
		const auto *bytes = reinterpret_cast<const uint8_t *>(output.data());
		for (size_t index = 0; index < output.size() * sizeof(float); ++index)
			hash = (hash ^ bytes[index]) * 1099511628211U;
	}
	EXPECT_EQ(hash, GetParam().hash);
}

INSTANTIATE_TEST_SUITE_P(All, ShippedNet, ::testing::ValuesIn(shipped),
			 [](const auto &parameters) { return parameters.param.name; });

} // namespace
} // namespace kalvio::engine::testing
