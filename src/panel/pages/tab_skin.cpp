// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/panel_model.h"
#include "panel/pages/pages.h"
#include "panel/widgets/form_builder.h"

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
	panel_model().parameters.skin = {};
}

} // namespace

void build_skin_tab(FormBuilder &form, QVBoxLayout *page)
{
	ParameterSet &set = panel_model().parameters;
	const Card card = form.addCard(page, "tab.skin", {.reset = reset_skin});
	page->addWidget(card.frame);
	form.addSwitchRow(card.body, "skin.skinOnly", &set.skin.skin_only);
	form.addOptionRow<SmoothingStyle>(card.body, "skin.smoothingStyle", &set.skin.smoothing_style, smoothing_styles,
					  3);
	form.addSliderRow(card.body, "skin.smoothing", &set.skin.smoothing, false);
	form.addOptionRow<WhiteningStyle>(card.body, "skin.whiteningTone", &set.skin.whitening_style, whitening_tones,
					  5);
	form.addSliderRow(card.body, "skin.whitening", &set.skin.whitening, false);
	form.addSliderRow(card.body, "skin.rosiness", &set.skin.rosiness, false);
	form.addSliderRow(card.body, "skin.sharpening", &set.skin.sharpening, false);
}

} // namespace kalvio
