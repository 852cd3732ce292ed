// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "filter/original_view.h"

#include <QWidget>
#include <functional>

class QPushButton;

namespace kalvio {

class HoldButton;
class FormBuilder;
class SmoothButton;

struct FooterActions {
	std::function<void()> open_search;
	std::function<void()> open_looks;
};

// Below the pages: what concerns them all. Buttons open the search and the looks; another one shows the driven sources
// as captured while it is held.
class FooterBar : public QWidget {
public:
	FooterBar(FormBuilder &form, FooterActions actions, QWidget *parent);
	~FooterBar() override;

	void refresh(bool is_usable);

private:
	QPushButton *search_button_;
	SmoothButton *looks_button_;
	HoldButton *original_button_;
	OriginalTargets shown_; // what the held button shows as captured
};

} // namespace kalvio
