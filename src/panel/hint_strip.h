// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QFrame>

class QLabel;

namespace kalvio {

// Says why the pages cannot be used: there is no filter yet, or a required update pauses the effects.
class HintStrip : public QFrame {
public:
	explicit HintStrip(QWidget *parent);

	void refresh(bool controls_usable, bool paused);

private:
	QLabel *text_;
	const char *shown_ = nullptr; // the first of its texts: each language and reason has another one
};

} // namespace kalvio
