// SPDX-License-Identifier: GPL-2.0-or-later

// Any bytes as a bundle: the ZIP archive, its names and sizes, and the manifest. The first byte picks the kind that is
// asked for, and whether the rest is the archive or the manifest of a whole one.
#include "bundle.h"
#include "fuzz_engine.h"
#include "fuzz_input.h"

#include <nlohmann/json.hpp>

namespace {

using namespace kalvio;

constexpr const char *kinds[] = {"resource", "filter", "sticker", "sticker3d"};

void read_bundle(engine::Bundle &bundle)
{
	test::require(bundle.manifest().is_object());
	for (const char *entry : {"manifest.json", "table.rgb16", "a.png", "nets/face_mesh.net"}) {
		engine::Bytes content;
		const engine::ReadResult result = bundle.read(entry, content);
		test::require(!result || content.size() <= engine::BundleLimits::entry_bytes);
		test::require(result.status == KL_OK || result.status == KL_ERROR_FORMAT);
		test::require(!result || bundle.contains(entry));
	}
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
	static const test::EngineFiles files;
	test::FuzzInput input(data, size);
	const int choice = input.below(8);
	const char *kind = kinds[choice % 4];
	const std::string rest = input.rest();
	engine::Bundle bundle;
	engine::ReadResult result;
	if (choice < 4)
		result = bundle.open(engine::Bytes(rest.begin(), rest.end()), kind);
	else
		result = bundle.open(files.write_bundle("fuzz", rest, {{"a.png", {1, 2, 3}}}).c_str(), kind);
	test::require(result.status == KL_OK || !result.reason.empty());
	if (result)
		read_bundle(bundle);
	return 0;
}
