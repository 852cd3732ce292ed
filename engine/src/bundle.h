// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "read_result.h"

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <map>
#include <memory>
#include <string>

// The ".kld" container: a ZIP archive with "manifest.json" and payload files (docs/bundle-format.md).
namespace kalvio::engine {

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

	// The whole archive, packed. Only of a bundle that has been opened.
	const Bytes &bytes() const;
	const std::string &name() const { return name_; }
	const nlohmann::json &manifest() const { return *manifest_; }

	// Whether it holds a file of this name.
	bool contains(const std::string &entry) const { return entries_.count(entry) != 0; }

	// The content of one payload file; KL_ERROR_FORMAT when it is missing or damaged.
	ReadResult read(const std::string &entry, Bytes &content) const;

private:
	ReadResult check_entries();
	ReadResult check_manifest(const char *kind);

	struct Archive;
	struct ManifestDeleter {
		void operator()(nlohmann::json *manifest) const;
	};
	struct Entry {
		uint64_t index;
		uint64_t bytes;
	};
	std::unique_ptr<Archive> archive_;
	std::map<std::string, Entry> entries_;
	std::unique_ptr<nlohmann::json, ManifestDeleter> manifest_;
	std::string name_;
};

} // namespace kalvio::engine
