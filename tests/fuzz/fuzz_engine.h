// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "bundle_writer.h"
#include "image.h"
#include "kit/scratch.h"

#include <kalvio_engine.h>

#include <memory>
#include <string>
#include <vector>

namespace kalvio::test {

struct EngineDeleter {
	void operator()(kl_engine *engine) const { kl_engine_destroy(engine); }
};
using EnginePointer = std::unique_ptr<kl_engine, EngineDeleter>;

// Files for an engine, in a folder of this process, and engines without nets that write no log.
class EngineFiles {
public:
	EngineFiles();

	EnginePointer create_engine() const;

	// Writes a bundle "NAME.kld" with this manifest and these payload files; its path.
	std::string write_bundle(const std::string &name, const std::string &manifest,
				 std::vector<engine::BundleFile> files) const;
	// Writes any file; its path.
	std::string write(const std::string &name, const std::string &content) const
	{
		return folder_.write(name, content);
	}

private:
	ScratchFolder folder_;
	std::string resource_;
};

// A small picture that is neither plain nor opaque everywhere.
engine::Image small_image(int width, int height);

} // namespace kalvio::test
