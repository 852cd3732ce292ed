// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kalvio_engine.h"
#include "platform.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

// The ".kld" container: a ZIP archive with "manifest.json" and payload files (docs/bundle-format.md).
namespace kalvio::engine {

using Bytes = std::vector<uint8_t>;

// Checked before anything of that size is allocated. Generous for what we ship, small for a hostile file.
struct BundleLimits {
	static constexpr int64_t file_bytes = int64_t{64} << 20;
	static constexpr uint64_t entry_bytes = uint64_t{32} << 20;
	static constexpr uint64_t total_bytes = uint64_t{96} << 20;
	static constexpr uint64_t manifest_bytes = uint64_t{256} << 10;
	static constexpr int64_t entries = 256;
	static constexpr size_t name_bytes = 128;
};

inline constexpr int bundle_format_version = 1;

// An outcome of reading: KL_OK, KL_ERROR_FILE or KL_ERROR_FORMAT, and for people what was wrong.
struct ReadResult {
	int32_t status = KL_OK;
	std::string reason;

	explicit operator bool() const { return status == KL_OK; }
};

// Opens a regular file of 1..`max_bytes` bytes; `size` receives its length.
ReadResult open_file(const char *path, int64_t max_bytes, platform::File &file, int64_t &size);

// Reads a whole regular file of at most `max_bytes`.
ReadResult read_file(const char *path, int64_t max_bytes, Bytes &bytes);

// An opened bundle, held in memory whole: nothing is read from the file after open. One thread.
class Bundle {
public:
	Bundle();
	~Bundle();
	Bundle(const Bundle &) = delete;
	Bundle &operator=(const Bundle &) = delete;

	// Opens and checks container, names, sizes and manifest. `kind` is what the manifest must say.
	ReadResult open(const char *path, const char *kind);
	ReadResult open(Bytes bytes, const char *kind);

	const std::string &name() const { return name_; }
	const nlohmann::json &manifest() const { return *manifest_; }

	// The content of one payload file; KL_ERROR_FORMAT when it is missing or damaged.
	ReadResult read(const std::string &entry, Bytes &content) const;

private:
	ReadResult check_entries();
	ReadResult check_manifest(const char *kind);

	struct Archive;
	struct Entry {
		uint64_t index;
		uint64_t bytes;
	};
	std::unique_ptr<Archive> archive_;
	std::map<std::string, Entry> entries_;
	std::unique_ptr<nlohmann::json> manifest_;
	std::string name_;
};

} // namespace kalvio::engine
