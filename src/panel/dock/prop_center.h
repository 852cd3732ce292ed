// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <QObject>
#include <QPointer>

class QFormLayout;
class QLabel;
class QPushButton;
class QScrollArea;
class QWidget;

// The filter's properties view holds a hint and a button and nothing else; here they are put into its middle, which the
// host's properties cannot ask for. User-interface thread.
namespace kalvio {

// Keeps the hint and the button centered in one properties view. Belongs to the view's form and goes with it.
class FilterPropCenter : public QObject {
	Q_OBJECT

public:
	FilterPropCenter(QWidget *form, QScrollArea *scroll_area, QLabel *hint, QPushButton *button);
	~FilterPropCenter() override;

	void recenter();

protected:
	// Follows the size of the view; takes no event.
	bool eventFilter(QObject *watched, QEvent *event) override;

private:
	QWidget *spacer(QFormLayout &form_layout, const QString &name, bool at_top);

	QWidget *form_;
	QPointer<QScrollArea> scroll_area_;
	QPointer<QLabel> hint_;
	QPointer<QPushButton> button_;
};

// Looks for the properties view of our filter, by the texts of its hint and its button, and centers it. Nothing happens
// when there is none, or none of the expected make.
void install_prop_center();

} // namespace kalvio
