// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QWidget>
#include <functional>

namespace kalvio {

inline constexpr qreal disabled_toggle_opacity = 0.38;

// What is on or off: Switch and CheckBox, which paint it. The left button changes it wherever it is let go.
class Toggle : public QWidget {
	Q_OBJECT

public:
	explicit Toggle(QWidget *parent = nullptr);
	~Toggle() override;

	// Shows the state without telling on_toggled: what a refresh does.
	void show_checked(bool state);

	// Changes to the other state by the user's hand.
	void toggle_by_user();

	bool checked = false;                 // changed through show_checked
	std::function<void(bool)> on_toggled; // the user's changes only; takes the new state

protected:
	void mouseReleaseEvent(QMouseEvent *event) override;
};

} // namespace kalvio
