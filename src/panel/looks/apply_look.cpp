// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/looks/apply_look.h"

#include "panel/model/panel_model.h"

#include <algorithm>
#include <iterator>

namespace kalvio {

bool is_look_applied(const StoredLook &look)
{
	ParameterSet current = panel_model().parameters;
	current.enabled = look.parameters.enabled;
	return current == look.parameters;
}

void apply_look(const StoredLook &look)
{
	PanelModel &state = panel_model();
	const bool is_enabled = state.parameters.enabled;
	state.parameters = look.parameters;
	state.parameters.enabled = is_enabled;
	pushParameters({.caption_key = "look.title"});
	state.changed = true;
	if (state.refresh)
		state.refresh();
}

void apply_neighboring_look(int step)
{
	std::vector<StoredLook> looks = built_in_looks();
	std::vector<StoredLook> of_user = user_looks();
	std::ranges::move(of_user, std::back_inserter(looks));
	if (looks.empty() || !controls_enabled())
		return;
	const auto count = static_cast<int>(looks.size());
	const auto applied = std::ranges::find_if(looks, is_look_applied);
	int index = step > 0 ? 0 : count - 1;
	if (applied != looks.end())
		index = (static_cast<int>(applied - looks.begin()) + step + count) % count;
	apply_look(looks[static_cast<size_t>(index)]);
}

} // namespace kalvio
