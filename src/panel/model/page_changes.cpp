// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/page_changes.h"

#include "params/parameter_defaults.h"

#include <cstddef>
#include <iterator>

namespace kalvio {
namespace {

template <auto group>
bool differs(const ParameterSet &set, const ParameterSet &defaults)
{
	return set.*group != defaults.*group;
}

// By page.
constexpr bool (*comparisons[])(const ParameterSet &, const ParameterSet &) = {
	differs<&ParameterSet::skin>,       differs<&ParameterSet::reshape>,    differs<&ParameterSet::makeup>,
	differs<&ParameterSet::filter>,     differs<&ParameterSet::sticker_id>, differs<&ParameterSet::body>,
	differs<&ParameterSet::background>,
};

} // namespace

bool is_page_changed(const ParameterSet &set, int page)
{
	const auto index = static_cast<size_t>(page);
	return index < std::size(comparisons) && comparisons[index](set, default_parameters());
}

} // namespace kalvio
