// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/targeting.h"
#include "panel/pages/pages.h"
#include "panel/widgets/rows.h"

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
	targeting().parameters.skin = {};
}

} // namespace

void build_skin_tab(Rows &rows, QVBoxLayout *page)
{
	ParameterSet &set = targeting().parameters;
	const Card card = rows.addCard(page, "tab.skin", {.reset = reset_skin});
	page->addWidget(card.frame);
	rows.addSwitchRow(card.body, "skin.skinOnly", &set.skin.skin_only);
	rows.addOptionRow<SmoothingStyle>(card.body, "skin.smoothingStyle", &set.skin.smoothing_style, smoothing_styles,
					  3);
	rows.addSliderRow(card.body, "skin.smoothing", &set.skin.smoothing, false);
	rows.addOptionRow<WhiteningStyle>(card.body, "skin.whiteningTone", &set.skin.whitening_style, whitening_tones,
					  5);
	rows.addSliderRow(card.body, "skin.whitening", &set.skin.whitening, false);
	rows.addSliderRow(card.body, "skin.rosiness", &set.skin.rosiness, false);
	rows.addSliderRow(card.body, "skin.sharpening", &set.skin.sharpening, false);
}

} // namespace kalvio
