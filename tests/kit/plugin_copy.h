// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/libobs_session.h"
#include "kit/scratch.h"

#include <filesystem>
#include <string>

namespace kalvio::test {

// The built module, installed once more in a folder of its own as a user's copy is laid out, with the locale files but
// without any resource bundle or effect file. A test can take away and add files as it likes.
class PluginCopy {
public:
	// `folder_name` may be any text.
	explicit PluginCopy(const std::string &folder_name = "obs-kalvio");

	PluginFiles files() const;
	std::filesystem::path bundle() const { return files().data_folder / "resource.kld"; }

	// A file that stands for the bundle. An engine that reads it refuses it.
	void add_placeholder_bundle() const;

	// The bundle of the build.
	void add_built_bundle() const;

private:
	ScratchFolder parent_;
	std::filesystem::path folder_;
};

} // namespace kalvio::test
