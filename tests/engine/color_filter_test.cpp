// SPDX-License-Identifier: GPL-2.0-or-later
#include "effect_lists.h"
#include "engine_fixture.h"
#include "stages/color_lut.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace kalvio::engine::testing {
namespace {

std::string filter_path(const std::string &id)
{
	return std::string(KALVIO_DATA_DIR) + "/filters/" + id + "/" + id + ".kld";
}

// Interpolation in tetrahedra, from its definition: walk from the cell's corner along the channels, largest fraction
// first.
std::array<double, 3> reference(const Lut3d &lut, const uint8_t *pixel, double intensity)
{
	constexpr int side = Lut3d::side;
	std::array<double, 3> fraction;
	std::array<size_t, 3> place;
	for (size_t channel = 0; channel < 3; ++channel) {
		const double position = pixel[channel] * (side - 1) / 255.0;
		place[channel] = std::min(static_cast<size_t>(position), size_t(side - 2));
		fraction[channel] = position - static_cast<double>(place[channel]);
	}
	std::array<size_t, 3> order = {0, 1, 2};
	std::sort(order.begin(), order.end(), [&](size_t a, size_t b) { return fraction[a] > fraction[b]; });
	const auto color = [&](const std::array<size_t, 3> &at, size_t channel) {
		return lut.colors[((at[2] * side + at[1]) * side + at[0]) * 3 + channel] / 257.0;
	};
	std::array<double, 3> result;
	for (size_t channel = 0; channel < 3; ++channel) {
		std::array<size_t, 3> at = place;
		double value = color(at, channel);
		for (const size_t axis : order) {
			const double before = color(at, channel);
			++at[axis];
			value += fraction[axis] * (color(at, channel) - before);
		}
		result[channel] = pixel[channel] + intensity * (value - pixel[channel]);
	}
	return result;
}

class ColorFilter : public EngineTest {
protected:
	std::string write_lattice(const std::string &name, const Bytes &table, const std::string &size = "33")
	{
		const std::string manifest =
			R"({"kind":"filter","format_version":1,"name":"test","size":)" + size + "}";
		write_bundle(scratch.place(name),
			     {{"manifest.json", Bytes(manifest.begin(), manifest.end())}, {Lut3d::entry, table}});
		return scratch.path(name);
	}

	static Bytes random_table()
	{
		const Picture noise = noise_picture(256, 256, 42);
		return Bytes(noise.bytes.begin(), noise.bytes.begin() + Lut3d::values * 2);
	}
};

TEST_F(ColorFilter, IsWithinOneLevelOfTheReference_EvenForARandomTable)
{
	const std::string path = write_lattice("random.kld", random_table());
	Lut3d lut;
	ASSERT_TRUE(load_lut3d(path.c_str(), lut));
	ASSERT_EQ(kl_set_filter(engine.get(), path.c_str()), KL_OK);
	const Picture input = noise_picture(511, 303, 9);
	for (const float intensity : {1.0F, 0.37F}) {
		kl_set_filter_intensity(engine.get(), intensity);
		const Picture output = processed(input);
		double worst = 0;
		for (int y = 0; y < input.height; ++y) {
			for (int x = 0; x < input.width; ++x) {
				const auto expected = reference(lut, input.pixel(x, y), double{intensity});
				for (size_t channel = 0; channel < 3; ++channel)
					worst = std::max(worst,
							 std::abs(output.pixel(x, y)[channel] - expected[channel]));
				ASSERT_EQ(output.pixel(x, y)[3], input.pixel(x, y)[3]);
			}
		}
		EXPECT_LT(worst, 0.6) << intensity; // half a level of it is the rounding to 8 bits
	}
}

TEST_F(ColorFilter, EveryGrayAndPureColorIsWithinOneLevelOfTheReference)
{
	const std::string path = filter_path("extraordinary");
	Lut3d lut;
	ASSERT_TRUE(load_lut3d(path.c_str(), lut));
	kl_set_filter(engine.get(), path.c_str());
	Picture input(256, 8);
	for (int x = 0; x < 256; ++x) {
		for (int y = 0; y < 8; ++y) {
			const uint8_t level = static_cast<uint8_t>(x);
			const uint8_t pixel[4] = {y & 1 ? level : uint8_t{0}, y & 2 ? level : uint8_t{0},
						  y & 4 ? level : uint8_t{0}, level};
			std::copy_n(pixel, 4, input.pixel(x, y));
		}
	}
	const Picture output = processed(input);
	for (int y = 0; y < 8; ++y) {
		for (int x = 0; x < 256; ++x) {
			const auto expected = reference(lut, input.pixel(x, y), 1);
			for (size_t channel = 0; channel < 3; ++channel)
				ASSERT_NEAR(output.pixel(x, y)[channel], expected[channel], 0.6) << x << ", " << y;
		}
	}
}

TEST_F(ColorFilter, AllNineteenLoad_AndNoTwoLookAlike)
{
	const Picture input = noise_picture(64, 64, 21);
	std::vector<Picture> outputs;
	for (const char *id : effects::filters) {
		ASSERT_EQ(kl_set_filter(engine.get(), filter_path(id).c_str()), KL_OK) << id;
		outputs.push_back(processed(input));
	}
	for (size_t first = 0; first < outputs.size(); ++first) {
		for (size_t second = first + 1; second < outputs.size(); ++second) {
			double difference = 0;
			for (size_t index = 0; index < input.bytes.size(); ++index)
				difference += std::abs(outputs[first].bytes[index] - outputs[second].bytes[index]);
			EXPECT_GT(difference / static_cast<double>(input.bytes.size()), 1.0)
				<< effects::filters[first] << ", " << effects::filters[second];
		}
	}
}

TEST_F(ColorFilter, KeepsGrayRampsRising)
{
	Picture ramp(256, 1);
	for (int x = 0; x < 256; ++x)
		std::fill_n(ramp.pixel(x, 0), 4, static_cast<uint8_t>(x));
	for (const char *id : effects::filters) {
		ASSERT_EQ(kl_set_filter(engine.get(), filter_path(id).c_str()), KL_OK);
		const Picture output = processed(ramp);
		for (int x = 1; x < 256; ++x) {
			for (int channel = 0; channel < 3; ++channel)
				ASSERT_GE(output.pixel(x, 0)[channel] + 1, output.pixel(x - 1, 0)[channel]) << id << x;
		}
	}
}

TEST_F(ColorFilter, WithIntensityZeroIsExactlyNothing)
{
	const Picture input = noise_picture(64, 64, 2);
	kl_set_filter(engine.get(), filter_path("vivid").c_str());
	kl_set_filter_intensity(engine.get(), 0);
	EXPECT_EQ(processed(input).bytes, input.bytes);
}

TEST_F(ColorFilter, ClearTakesItAway_AndKeepsTheIntensity)
{
	const Picture input = noise_picture(64, 64, 2);
	kl_set_filter_intensity(engine.get(), 0.5F);
	kl_set_filter(engine.get(), filter_path("vivid").c_str());
	const Picture filtered = processed(input);
	kl_clear_filter(engine.get());
	EXPECT_EQ(processed(input).bytes, input.bytes);
	kl_set_filter(engine.get(), filter_path("vivid").c_str());
	EXPECT_EQ(processed(input).bytes, filtered.bytes);
	EXPECT_NE(filtered.bytes, input.bytes);
}

TEST_F(ColorFilter, AFailedLoadLeavesThePreviousOne)
{
	const Picture input = noise_picture(64, 64, 2);
	kl_set_filter(engine.get(), filter_path("vivid").c_str());
	const Picture filtered = processed(input);
	EXPECT_EQ(kl_set_filter(engine.get(), scratch.path("absent.kld").c_str()), KL_ERROR_FILE);
	EXPECT_EQ(kl_set_filter(engine.get(), KALVIO_DATA_DIR "/resource.kld"), KL_ERROR_FORMAT);
	EXPECT_EQ(kl_set_filter(engine.get(), nullptr), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(processed(input).bytes, filtered.bytes);
}

TEST_F(ColorFilter, TablesOfTheWrongSizeAreRefused)
{
	Bytes table = random_table();
	for (const std::string size : {"32", "\"33\"", "null"})
		EXPECT_EQ(kl_set_filter(engine.get(), write_lattice("a.kld", table, size).c_str()), KL_ERROR_FORMAT);
	table.pop_back();
	EXPECT_EQ(kl_set_filter(engine.get(), write_lattice("b.kld", table).c_str()), KL_ERROR_FORMAT);
}

} // namespace
} // namespace kalvio::engine::testing
