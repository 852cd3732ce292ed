// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/panel_model.h"
#include "panel/pages/pages.h"
#include "panel/pages/reshape_sliders.h"
#include "panel/widgets/form_builder.h"

#include <QFrame>

namespace kalvio {

void build_reshape_tab(FormBuilder &form, QVBoxLayout *page)
{
	const Card card = form.addCard(
		page, "tab.reshape",
		{.reset = [] { panel_model().parameters.reshape.fill(0.0f); }, .capabilities = KL_CAPABILITY_FACES});
	page->addWidget(card.frame);
	add_reshape_sliders(form, card.body, face_reshape_sliders, panel_model().parameters.reshape, true);
}

} // namespace kalvio
