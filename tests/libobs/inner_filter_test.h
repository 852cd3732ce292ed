// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "kit/call_journal.h"
#include "kit/libobs_fixture.h"
#include "kit/plugin_copy.h"
#include "kit/recording_engine.h"

#include <optional>
#include <string>

namespace kalvio::test {

// The filter's own functions in the real host, with the recording engine behind them and doubles of the panel and the
// update service beside them. The filter's code is linked into the executable; the module file only lends its data
// folder. Afterwards no engine and no filter may be left, and no engine may have been misused.
class InnerFilterTest : public LibobsTest {
protected:
	void SetUp() override;
	void TearDown() override;
	std::optional<SessionOptions> initial_session() override { return with_plugin(); }

	// The options of the usual session.
	SessionOptions with_plugin() const;

	// An empty file at this place of the module's data folder; gives its full path.
	std::string add_data_file(const std::string &relative_path) const;

private:
	const PluginCopy plugin_;
};

} // namespace kalvio::test
