// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/targeting.h"
#include "panel/pages/pages.h"
#include "panel/pages/reshape_sliders.h"
#include "panel/widgets/rows.h"

#include <QFrame>

namespace kalvio {

void build_body_tab(Rows &rows, QVBoxLayout *page)
{
	const Card card = rows.addCard(
		page, "tab.body",
		{.reset = [] { targeting().parameters.body.fill(0.0f); }, .capabilities = KL_CAPABILITY_BODY});
	page->addWidget(card.frame);
	add_reshape_sliders(rows, card.body, body_reshape_sliders, targeting().parameters.body, false);
}

} // namespace kalvio
