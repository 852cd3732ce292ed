// SPDX-License-Identifier: GPL-2.0-or-later
#include "nets/net_fixture.h"

#include "file_reader.h"
#include "image_reader.h"

#include <hwy/targets.h>

#include <algorithm>
#include <cmath>

namespace kalvio::engine::testing {

void use_targets(int64_t targets)
{
	hwy::SetSupportedTargetsForTest(targets);
	hwy::GetChosenTarget().DeInit();
}

std::vector<int64_t> machine_targets()
{
	use_targets(0);
	std::vector<int64_t> targets;
	const int64_t supported = hwy::SupportedTargets();
	for (int64_t target = 1; target <= HWY_SSE4; target <<= 1) {
		if ((supported & target) != 0)
			targets.push_back(target);
	}
	return targets;
}

const NetLibrary &shipped_nets()
{
	static const NetLibrary nets = [] {
		Bundle bundle;
		NetLibrary read;
		const ReadResult opened = bundle.open(KALVIO_DATA_DIR "/resource.kld", "resource");
		EXPECT_TRUE(opened) << opened.reason;
		const ReadResult result = read_nets(bundle, read);
		EXPECT_TRUE(result) << result.reason;
		return read;
	}();
	if (!nets.is_complete())
		throw std::runtime_error("The build has no nets (" + nets.reason +
					 "): run scripts/nets and configure with -DKALVIO_MODELS=FOLDER");
	return nets;
}

std::vector<float> portrait_input(const Shape &shape, float low, float high)
{
	Bytes bytes;
	Image image;
	if (!read_file(KALVIO_PORTRAIT, BundleLimits::file_bytes, bytes) || !decode_image(bytes, image))
		throw std::runtime_error("the portrait cannot be read");
	std::vector<float> values;
	for (int y = 0; y < shape.height; ++y) {
		for (int x = 0; x < shape.width; ++x) {
			const size_t row = static_cast<size_t>(y * image.height / shape.height);
			const size_t column = static_cast<size_t>(x * image.width / shape.width);
			const uint8_t *pixel =
				image.pixels.data() + (row * static_cast<size_t>(image.width) + column) * 4;
			for (int channel = 0; channel < shape.channels; ++channel)
				values.push_back(low + (high - low) * static_cast<float>(pixel[channel]) / 255.0F);
		}
	}
	return values;
}

std::vector<std::vector<float>> outputs_of(NetRunner &runner, std::span<const float> input)
{
	std::copy(input.begin(), input.end(), runner.input().begin());
	runner.run();
	std::vector<std::vector<float>> outputs;
	for (int index = 0; index < runner.output_count(); ++index) {
		const std::span<const float> output = runner.output(index);
		outputs.emplace_back(output.begin(), output.end());
	}
	return outputs;
}

double worst_difference(std::span<const float> actual, const Values &expected)
{
	if (actual.size() != expected.numbers.size())
		return HUGE_VAL;
	double largest = 1;
	double worst = 0;
	for (size_t index = 0; index < actual.size(); ++index) {
		largest = std::max(largest, std::fabs(expected.numbers[index]));
		const double difference = std::fabs(static_cast<double>(actual[index]) - expected.numbers[index]);
		worst = difference <= HUGE_VAL ? std::max(worst, difference) : HUGE_VAL;
	}
	return worst / largest;
}

Values values_of(const Shape &shape, std::span<const float> numbers)
{
	Values values(shape);
	std::copy(numbers.begin(), numbers.end(), values.numbers.begin());
	return values;
}

} // namespace kalvio::engine::testing
