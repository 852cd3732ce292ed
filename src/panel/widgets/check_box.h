// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "panel/widgets/toggle.h"

namespace kalvio {

// A check box that paints itself.
class CheckBox : public Toggle {
	Q_OBJECT

public:
	using Toggle::Toggle;

	QSize sizeHint() const override; // 18 x 18

protected:
	void paintEvent(QPaintEvent *event) override;
};

} // namespace kalvio
