// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/panel_model.h"
#include "panel/pages/pages.h"
#include "panel/pages/reshape_sliders.h"
#include "panel/widgets/form_builder.h"

#include <QFrame>

namespace kalvio {

void build_body_tab(FormBuilder &form, QVBoxLayout *page)
{
	const Card card = form.addCard(
		page, "tab.body",
		{.reset = [] { panel_model().parameters.body.fill(0.0f); }, .capabilities = KL_CAPABILITY_BODY});
	page->addWidget(card.frame);
	add_reshape_sliders(form, card.body, body_reshape_sliders, panel_model().parameters.body, false);
}

} // namespace kalvio
