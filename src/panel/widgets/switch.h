// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "panel/widgets/toggle.h"

namespace kalvio {

// A sliding switch; its knob jumps.
class Switch : public Toggle {
	Q_OBJECT

public:
	using Toggle::Toggle;

	QSize sizeHint() const override; // 33 x 18

protected:
	void paintEvent(QPaintEvent *event) override;
};

} // namespace kalvio
