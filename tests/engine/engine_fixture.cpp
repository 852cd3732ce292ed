// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_fixture.h"

#include "arguments.h"
#include "engine.h"

#include <hwy/targets.h>

#include <atomic>
#include <fstream>
#include <iterator>
#include <random>

namespace kalvio::engine::testing {

ScratchFolder::ScratchFolder()
{
	static std::atomic<int> count = 0;
	std::random_device random;
	folder_ = std::filesystem::temp_directory_path() /
		  ("kalvio-engine-" + std::to_string(random()) + "-" + std::to_string(++count));
	std::filesystem::create_directories(folder_);
}

ScratchFolder::~ScratchFolder()
{
	std::error_code ignored;
	std::filesystem::remove_all(folder_, ignored);
}

std::filesystem::path ScratchFolder::place(const std::string &name) const
{
	return folder_ / std::u8string(name.begin(), name.end());
}

std::string ScratchFolder::path(const std::string &name) const
{
	const std::u8string path = place(name).u8string();
	return {path.begin(), path.end()};
}

std::string ScratchFolder::write(const std::string &name, const std::string &content) const
{
	std::filesystem::create_directories(place(name).parent_path());
	std::ofstream(place(name), std::ios::binary) << content;
	return path(name);
}

std::string ScratchFolder::write(const std::string &name, const Bytes &content) const
{
	return write(name, std::string(content.begin(), content.end()));
}

std::string ScratchFolder::write_bundle(const std::string &name, const std::string &kind, int version,
					std::vector<BundleFile> files) const
{
	const std::string manifest =
		"{\"kind\":\"" + kind + "\",\"format_version\":" + std::to_string(version) + ",\"name\":\"test\"}";
	files.push_back({"manifest.json", Bytes(manifest.begin(), manifest.end())});
	std::filesystem::create_directories(place(name).parent_path());
	engine::write_bundle(place(name), std::move(files));
	return path(name);
}

Picture::Picture(int picture_width, int picture_height, int padding_bytes)
	: width(picture_width), height(picture_height), stride(picture_width * 4 + padding_bytes),
	  bytes(size_t(stride) * size_t(picture_height), uint8_t{0xA5})
{
}

Picture noise_picture(int width, int height, uint32_t seed, int padding_bytes)
{
	Picture picture(width, height, padding_bytes);
	std::minstd_rand random(seed);
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < width; ++x) {
			for (int channel = 0; channel < 4; ++channel)
				picture.pixel(x, y)[channel] = static_cast<uint8_t>(random() >> 8);
		}
	}
	return picture;
}

std::string read_text(const std::string &path_utf8)
{
	std::ifstream stream(path_from_utf8(path_utf8), std::ios::binary);
	return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

bool contains(const std::string &text, const std::string &part)
{
	return text.find(part) != std::string::npos;
}

namespace {

std::atomic<int64_t> test_time_us = 0; // the loader's thread reads it as well

int64_t test_clock_us()
{
	return test_time_us;
}

} // namespace

EngineTest::EngineTest() : log_path(scratch.path("engine.log"))
{
	const kl_log_config log = {0, 1, 2, 0, log_path.c_str()};
	kl_set_log_config(&log);
	engine = create();
}

// Windows does not remove a file that is open.
EngineTest::~EngineTest()
{
	engine.reset();
	use_targets(0);
	const kl_log_config none = {};
	kl_set_log_config(&none);
}

EnginePointer EngineTest::create()
{
	const kl_engine_config config = {0, 0, nullptr, KALVIO_DATA_DIR "/resource.kld", "org.test.engine", 0};
	EnginePointer created(kl_engine_create(&config));
	if (created)
		created->clock_us = test_clock_us;
	return created;
}

void EngineTest::use_targets(int64_t targets)
{
	hwy::SetSupportedTargetsForTest(targets);
	hwy::GetChosenTarget().DeInit();
}

void EngineTest::pass(int64_t microseconds)
{
	test_time_us += microseconds;
}

int32_t EngineTest::process(const Picture &input, Picture &output)
{
	constexpr int32_t longest_load_ms = 60'000;
	EXPECT_EQ(kl_wait_for_loads(engine.get(), longest_load_ms), KL_OK);
	return kl_process_rgba(engine.get(), input.bytes.data(), input.width, input.height, input.stride,
			       output.bytes.data(), 1, 0);
}

Picture EngineTest::processed(const Picture &input)
{
	Picture output(input.width, input.height, input.stride - input.width * 4);
	EXPECT_EQ(process(input, output), KL_OK);
	return output;
}

void NetEngineTest::SetUp()
{
	if (!engine->nets->is_complete())
		GTEST_SKIP() << "the bundle has no nets: " << engine->nets->reason;
}

} // namespace kalvio::engine::testing
