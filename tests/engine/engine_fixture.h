// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "bundle_writer.h"
#include "kalvio_engine.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace kalvio::engine::testing {

// A folder that is removed with everything in it.
class ScratchFolder {
public:
	ScratchFolder();
	~ScratchFolder();
	ScratchFolder(const ScratchFolder &) = delete;
	ScratchFolder &operator=(const ScratchFolder &) = delete;

	// Names and paths are UTF-8, as the engine takes them; a place is what the C++ library takes.
	std::string path(const std::string &name) const;
	std::filesystem::path place(const std::string &name) const;
	std::string write(const std::string &name, const std::string &content) const;
	std::string write(const std::string &name, const Bytes &content) const;
	// A bundle with a manifest of this kind and version and the further files.
	std::string write_bundle(const std::string &name, const std::string &kind, int version = 1,
				 std::vector<BundleFile> files = {}) const;

private:
	std::filesystem::path folder_;
};

struct EngineDeleter {
	void operator()(kl_engine *engine) const { kl_engine_destroy(engine); }
};
using EnginePointer = std::unique_ptr<kl_engine, EngineDeleter>;

// A picture with its own stride; what lies behind a row's pixels is filled with a marker.
struct Picture {
	Picture(int width, int height, int padding_bytes = 0);

	uint8_t *pixel(int x, int y) { return bytes.data() + size_t(y) * size_t(stride) + size_t(x) * 4; }
	const uint8_t *pixel(int x, int y) const { return bytes.data() + size_t(y) * size_t(stride) + size_t(x) * 4; }

	int width;
	int height;
	int stride;
	std::vector<uint8_t> bytes;
};

Picture noise_picture(int width, int height, uint32_t seed, int padding_bytes = 0);

std::string read_text(const std::string &path_utf8);
bool contains(const std::string &text, const std::string &part);

// One engine with the shipped resource bundle, a scratch folder and a log file.
class EngineTest : public ::testing::Test {
protected:
	EngineTest();
	~EngineTest() override;

	// An engine whose clock stands still until `pass` moves it.
	EnginePointer create();
	static void pass(int64_t microseconds);
	// Waits for what is being loaded, so that it is in effect.
	int32_t process(const Picture &input, Picture &output);
	// Processes with the shared engine and expects success.
	Picture processed(const Picture &input);
	std::string log_text() const { return read_text(log_path); }
	// Which of the machine's instruction sets the kernels take, for the time of this test; 0: all, of which the
	// best is.
	static void use_targets(int64_t targets);

	ScratchFolder scratch;
	std::string log_path;
	EnginePointer engine;
};

// One whose bundle has the nets; skipped where it has none.
class NetEngineTest : public EngineTest {
protected:
	void SetUp() override;
};

} // namespace kalvio::engine::testing
