// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "panel/widgets/smooth_button.h"

namespace kalvio {

// A button that does something for as long as it is held, by the mouse or by Space: between pressed() and released().
// It is let go in any case when the pointer leaves it, when it loses the focus, is disabled or hidden, and when its
// window is no longer the active one. A held button stands out.
class HoldButton : public SmoothButton {
	Q_OBJECT

public:
	explicit HoldButton(QWidget *parent = nullptr);
	~HoldButton() override;

	// Ends what the user holds.
	void let_go();

protected:
	bool event(QEvent *event) override;
	void hideEvent(QHideEvent *event) override;
	void mouseMoveEvent(QMouseEvent *event) override;

private:
	void show_held(bool is_held);
};

} // namespace kalvio
