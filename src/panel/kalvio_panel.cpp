// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/kalvio_panel.h"

#include "panel/accessible_controls.h"
#include "panel/focus_ring.h"
#include "panel/header_bar.h"
#include "panel/hint_strip.h"
#include "panel/keyboard.h"
#include "panel/page_scroll.h"
#include "panel/pages.h"
#include "panel/settings_page.h"
#include "panel/style_sheet.h"
#include "panel/tab_bar.h"
#include "panel/targeting.h"
#include "panel/tool_tips.h"
#include "panel/ui_preferences.h"
#include "panel/update_strip.h"
#include "panel/wheel_guard.h"

#include <QScrollArea>
#include <QShortcut>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace kalvio {
namespace {

using TabBuilder = void (*)(Rows &rows, QVBoxLayout *page);

// By tab.
constexpr TabBuilder tab_builders[] = {
	build_skin_tab,    build_reshape_tab, build_makeup_tab,     build_filter_tab,
	build_sticker_tab, build_body_tab,    build_background_tab,
};

constexpr int main_view = 0;
constexpr int settings_view = 1;

} // namespace

KalvioPanel::KalvioPanel(QWidget *parent) : QWidget(parent), rows_([this] { refreshControls(); })
{
	install_accessible_controls();
	setObjectName(QStringLiteral("kalvioPanel"));
	setAttribute(Qt::WA_StyledBackground);
	// None of the panel's languages runs from right to left, though the host's may.
	setLayoutDirection(Qt::LeftToRight);
	setMinimumSize(340, 480);
	setStyleSheet(panel_style_sheet());
	buildUi();
	if (!targeting().names.empty())
		syncFromEngine();
	refreshControls();
}

KalvioPanel::~KalvioPanel() = default;

void KalvioPanel::buildUi()
{
	auto *layout = new QVBoxLayout(this);
	layout->setContentsMargins(0, 0, 0, 0);
	layout->setSpacing(0);

	header_ = new HeaderBar(rows_,
				{[this] { refreshControls(); },
				 [this] {
					 show_settings(!settings_open_);
				 }},
				this);
	layout->addWidget(header_);
	header_->fit_height();
	update_strip_ = new UpdateStrip(
		rows_, [this] { refreshControls(); }, this);
	layout->addWidget(update_strip_);

	views_ = new QStackedWidget(this);
	layout->addWidget(views_, 1);
	build_main_view();
	settings_page_ = new SettingsPage(
		rows_, [this] { show_settings(false); }, views_);
	views_->addWidget(settings_page_);
	tab_bar_->fit_captions();

	rows_.add_translation([this] {
		setWindowTitle(translated("console.title"));
		setAccessibleName(windowTitle());
	});
	make_operable_by_keyboard(*this);
	show_keyboard_focus(*this, [this] { return rows_.is_syncing(); });
	guard_wheel(*this);
	show_tool_tips(*this);
	add_tab_shortcuts();
	choose_tab(0);
}

void KalvioPanel::build_main_view()
{
	auto *view = new QWidget(views_);
	views_->addWidget(view);
	main_layout_ = new QVBoxLayout(view);
	main_layout_->setContentsMargins(0, 0, 0, 0);
	main_layout_->setSpacing(0);

	tab_bar_ = new TabBar(
		rows_, [this](int index) { choose_tab(index); }, view);
	main_layout_->addWidget(tab_bar_);
	hint_strip_ = new HintStrip(view);
	main_layout_->addWidget(hint_strip_);
	pages_ = new QStackedWidget(view);
	main_layout_->addWidget(pages_, 1);
	for (const TabBuilder build_tab : tab_builders)
		wrapPage(build_tab);
	// Takes the place of the pages while these are hidden, so that the strips stay at the top.
	main_layout_->addStretch(0);
}

void KalvioPanel::wrapPage(TabBuilder build_tab)
{
	const PageScroll page = make_page_scroll(pages_);
	pages_->addWidget(page.area);
	build_tab(rows_, page.layout);
	page.layout->addStretch(1);
}

void KalvioPanel::choose_tab(int index)
{
	if (index < 0 || index >= pages_->count())
		return;
	pages_->setCurrentIndex(index);
	current_tab_ = index;
	tab_bar_->show_current(index);
}

void KalvioPanel::add_tab_shortcuts()
{
	const auto add = [this](const QKeySequence &keys, auto index) {
		auto *shortcut = new QShortcut(keys, this);
		shortcut->setContext(Qt::WidgetWithChildrenShortcut);
		connect(shortcut, &QShortcut::activated, this, [this, index] {
			if (controls_enabled() && !settings_open_)
				choose_tab(index());
		});
	};
	const auto next = [this] {
		return (current_tab_ + 1) % tab_bar_->count();
	};
	const auto previous = [this] {
		return (current_tab_ + tab_bar_->count() - 1) % tab_bar_->count();
	};
	add(Qt::CTRL | Qt::Key_Tab, next);
	add(Qt::CTRL | Qt::Key_PageDown, next);
	add(Qt::CTRL | Qt::SHIFT | Qt::Key_Tab, previous);
	add(Qt::CTRL | Qt::Key_PageUp, previous);
	for (int i = 0; i < tab_bar_->count(); ++i)
		add(Qt::CTRL | static_cast<Qt::Key>(Qt::Key_1 + i), [i] { return i; });
}

void KalvioPanel::show_settings(bool open)
{
	settings_open_ = open;
	header_->show_settings_open(open);
	views_->setCurrentIndex(open ? settings_view : main_view);
	if (!open && pages_->currentIndex() != current_tab_)
		choose_tab(current_tab_);
}

void KalvioPanel::refreshControls()
{
	const Rows::SyncScope syncing(rows_);
	rows_.refresh();

	const UpdateStatus &update = targeting().update;
	const bool is_usable = controls_enabled();
	tab_bar_->set_tabs_enabled(is_usable);
	for (int i = 0; i < pages_->count(); ++i)
		static_cast<QScrollArea *>(pages_->widget(i))->widget()->setEnabled(is_usable);
	show_or_hide(*tab_bar_, !update.forced);
	show_or_hide(*pages_, !update.forced);
	main_layout_->setStretch(main_layout_->count() - 1, update.forced ? 1 : 0);

	header_->refresh();
	hint_strip_->refresh(is_usable, update.forced);
	update_strip_->refresh(update);
	settings_page_->refresh();
}

void KalvioPanel::retranslate()
{
	rows_.retranslate();
	refreshControls();
}

void KalvioPanel::syncFromEngine()
{
	if (!targeting().names.empty() &&
	    sync_from_filter(ui_preferences().apply_global ? 0 : targeting().selected_index))
		refreshControls();
}

} // namespace kalvio
