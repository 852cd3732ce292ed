// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/pages.h"
#include "panel/rows.h"
#include "panel/targeting.h"

#include <QFrame>

namespace kalvio {
namespace {

using namespace beauty_params;

// Not in the order of the values: the default stands first.
constexpr Option<SmoothingStyle> smoothing_styles[] = {
	{SmoothingStyle::Texture, "smoothing.texture"},
	{SmoothingStyle::Natural, "smoothing.natural"},
	{SmoothingStyle::Smooth, "smoothing.smooth"},
};

constexpr Option<WhiteningStyle> whitening_tones[] = {
	{WhiteningStyle::ColdWhite, "whitening.coldWhite"},
	{WhiteningStyle::PinkWhite, "whitening.pinkWhite"},
	{WhiteningStyle::WarmWhite, "whitening.warmWhite"},
	{WhiteningStyle::Wheat, "whitening.wheat"},
	{WhiteningStyle::Tan, "whitening.tan"},
};

void reset_skin()
{
	ParameterSet &set = targeting().parameters;
	const ParameterSet defaults;
	set.smoothing = defaults.smoothing;
	set.smoothing_style = defaults.smoothing_style;
	set.whitening = defaults.whitening;
	set.whitening_style = defaults.whitening_style;
	set.rosiness = defaults.rosiness;
	set.sharpening = defaults.sharpening;
	set.skin_only = defaults.skin_only;
}

} // namespace

void build_skin_tab(Rows &rows, QVBoxLayout *page)
{
	ParameterSet &set = targeting().parameters;
	const Card card = rows.addCard(page, "tab.skin", {.reset = reset_skin});
	page->addWidget(card.frame);
	rows.addSwitchRow(card.body, "skin.skinOnly", &set.skin_only);
	rows.addOptionRow<SmoothingStyle>(card.body, "skin.smoothingStyle", &set.smoothing_style, smoothing_styles, 3);
	rows.addSliderRow(card.body, "skin.smoothing", &set.smoothing, false);
	rows.addOptionRow<WhiteningStyle>(card.body, "skin.whiteningTone", &set.whitening_style, whitening_tones, 5);
	rows.addSliderRow(card.body, "skin.whitening", &set.whitening, false);
	rows.addSliderRow(card.body, "skin.rosiness", &set.rosiness, false);
	rows.addSliderRow(card.body, "skin.sharpening", &set.sharpening, false);
}

} // namespace kalvio
