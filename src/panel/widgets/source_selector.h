// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QComboBox>

namespace kalvio {

// A combo box with an arrow that it paints itself, over the one of the host's theme, which is made for the host's own
// colors.
class SourceSelector : public QComboBox {
	Q_OBJECT

public:
	explicit SourceSelector(QWidget *parent = nullptr);
	~SourceSelector() override;

protected:
	void paintEvent(QPaintEvent *event) override;
};

} // namespace kalvio
