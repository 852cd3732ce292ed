// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "panel_world.h"

#include "panel/widgets/smooth_button.h"

#include "user_events.h"
#include <QLabel>
#include <QSlider>
#include <gtest/gtest.h>

namespace kalvio::test {

// A host without filters and without a panel; see PanelWorld.
class PanelTest : public testing::Test {
protected:
	// The child of `parent` with this accessible name, which is what a screen reader finds it by. Null when there
	// is none.
	template <class Widget>
	static Widget *find_named(const QWidget &parent, const QString &name)
	{
		for (auto *widget : parent.findChildren<Widget *>()) {
			if (widget->accessibleName() == name)
				return widget;
		}
		return nullptr;
	}

	static void click(QWidget &widget) { click_mouse(&widget); }

	// The arguments of the last call of this name that an engine got, after the host's next tick.
	static std::vector<Argument> last_engine_arguments(const char *name)
	{
		host_double().tick();
		const std::vector<Call> calls = call_journal().calls_named(name);
		return calls.empty() ? std::vector<Argument>() : calls.back().arguments;
	}

	static size_t updates() { return call_journal().count("obs_source_update"); }

	PanelWorld world;
};

} // namespace kalvio::test
