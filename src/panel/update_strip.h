// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "update/update_check.h"

#include <QWidget>
#include <functional>

class QHBoxLayout;
class QLabel;
class QPushButton;
class QVBoxLayout;

namespace kalvio {

class ElidedLabel;
class FormBuilder;

// The notice of an update: one that can be dismissed while it is only offered, one that stays while it is required.
class UpdateStrip : public QWidget {
public:
	// `dismissed` runs after the user has closed the notice.
	UpdateStrip(FormBuilder &form, std::function<void()> dismissed, QWidget *parent);

	void refresh(const UpdateStatus &status);

private:
	void restyle(bool forced);

	QVBoxLayout *layout_;
	ElidedLabel *title_;
	ElidedLabel *notes_;
	QPushButton *download_;
	QPushButton *close_;
	QLabel *quit_hint_;
};

} // namespace kalvio
