// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "panel/widgets/form_builder.h"

#include <QWidget>

class QStackedWidget;
class QVBoxLayout;

namespace kalvio {

class FooterBar;
class HeaderBar;
class HintStrip;
class LooksPage;
class SearchBar;
struct SearchEntry;
class SettingsPage;
class TabBar;
class UpdateStrip;

// The Retouch Console: header, notices, seven pages of effects and a settings page. It edits panel_model().parameters
// and shows what panel_model() and ui_preferences() say. The tree is built once; user-interface thread.
class KalvioPanel : public QWidget {
	Q_OBJECT

public:
	explicit KalvioPanel(QWidget *parent = nullptr);
	~KalvioPanel() override;

	// Brings every control in line with the state that is edited. A slider that the user holds stays where it is.
	void refreshControls();

	// Sets every text anew, in the current language.
	void retranslate();

public slots:
	// Reads the parameters of the targeted filter anew and refreshes; nothing happens when there is none.
	void syncFromEngine();

protected:
	void changeEvent(QEvent *event) override;
	bool event(QEvent *event) override;
	void keyPressEvent(QKeyEvent *event) override;

private:
	void buildUi();
	void build_main_view();
	void wrapPage(void (*build_tab)(FormBuilder &form, QVBoxLayout *page));
	void choose_tab(int index);
	void add_tab_shortcuts();
	void open_search();
	void show_found(const SearchEntry &entry);
	void show_settings(bool open);
	void show_looks(bool open);

	FormBuilder form_;
	HeaderBar *header_ = nullptr;
	UpdateStrip *update_strip_ = nullptr;
	QStackedWidget *views_ = nullptr; // the main view, the settings page, the looks
	SearchBar *search_ = nullptr;
	TabBar *tab_bar_ = nullptr;
	HintStrip *hint_strip_ = nullptr;
	QStackedWidget *pages_ = nullptr; // by tab
	FooterBar *footer_ = nullptr;
	QVBoxLayout *main_layout_ = nullptr;
	SettingsPage *settings_page_ = nullptr;
	LooksPage *looks_page_ = nullptr;
	int current_tab_ = 0;
	bool settings_open_ = false;
};

} // namespace kalvio
