// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QWidget>

namespace kalvio {

// The dot in a corner of a tab whose page has something that is not at its default. Hidden at first; nothing to the
// mouse.
class TabDot : public QWidget {
	Q_OBJECT

public:
	explicit TabDot(QWidget *tab);
	~TabDot() override;

	// In the color that can be told from the fill of the current tab, or of the others.
	void show_on_current(bool is_current);
	// Tells screen readers about the dot, as the description of the tab, in the current language.
	void describe();

protected:
	void paintEvent(QPaintEvent *event) override;
	bool eventFilter(QObject *watched, QEvent *event) override;

private:
	void place();

	bool is_current_ = false;
};

} // namespace kalvio
