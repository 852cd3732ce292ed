// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/kalvio_panel.h"

#include "panel/footer_bar.h"
#include "panel/header_bar.h"
#include "panel/hint_strip.h"
#include "panel/looks/looks_page.h"
#include "panel/model/page_changes.h"
#include "panel/model/panel_model.h"
#include "panel/model/ui_preferences.h"
#include "panel/pages/page_scroll.h"
#include "panel/pages/pages.h"
#include "panel/pages/settings_page.h"
#include "panel/search_bar.h"
#include "panel/tab_bar.h"
#include "panel/update_strip.h"
#include "panel/widgets/accessible_controls.h"
#include "panel/widgets/focus_ring.h"
#include "panel/widgets/host_guard.h"
#include "panel/widgets/keyboard.h"
#include "panel/widgets/style_sheet.h"
#include "panel/widgets/tool_tips.h"
#include "panel/widgets/wheel_guard.h"

#include <QKeyEvent>
#include <QScrollArea>
#include <QShortcut>
#include <QStackedWidget>
#include <QVBoxLayout>

namespace kalvio {
namespace {

using TabBuilder = void (*)(FormBuilder &form, QVBoxLayout *page);

// By tab.
constexpr TabBuilder tab_builders[] = {
	build_skin_tab,    build_reshape_tab, build_makeup_tab,     build_filter_tab,
	build_sticker_tab, build_body_tab,    build_background_tab,
};

constexpr int main_view = 0;
constexpr int settings_view = 1;
constexpr int looks_view = 2;

} // namespace

KalvioPanel::KalvioPanel(QWidget *parent) : QWidget(parent), form_([this] { refreshControls(); })
{
	install_accessible_controls();
	setObjectName(QStringLiteral("kalvioPanel"));
	setAttribute(Qt::WA_StyledBackground);
	// None of the panel's languages runs from right to left, though the host's may.
	setLayoutDirection(Qt::LeftToRight);
	setMinimumSize(340, 480);
	setStyleSheet(panel_style_sheet());
	buildUi();
	if (!panel_model().names.empty())
		syncFromEngine();
	refreshControls();
}

KalvioPanel::~KalvioPanel() = default;

void KalvioPanel::buildUi()
{
	auto *root_layout = new QVBoxLayout(this);
	root_layout->setContentsMargins(0, 0, 0, 0);
	auto *guarded = new QWidget(this);
	guarded->setObjectName(QStringLiteral("kalvioBody"));
	guarded->setAttribute(Qt::WA_StyledBackground);
	guarded->setStyleSheet(host_guard_sheet());
	root_layout->addWidget(guarded);
	auto *layout = new QVBoxLayout(guarded);
	layout->setContentsMargins(0, 0, 0, 0);
	layout->setSpacing(0);

	header_ = new HeaderBar(form_,
				{[this] { refreshControls(); },
				 [this] {
					 show_settings(!settings_open_);
				 }},
				guarded);
	layout->addWidget(header_);
	header_->fit_height();
	const auto refresh = [this] {
		refreshControls();
	};
	update_strip_ = new UpdateStrip(form_, refresh, guarded);
	layout->addWidget(update_strip_);

	views_ = new QStackedWidget(guarded);
	layout->addWidget(views_, 1);
	build_main_view();
	const auto leave_settings = [this] {
		show_settings(false);
	};
	settings_page_ = new SettingsPage(form_, leave_settings, views_);
	views_->addWidget(settings_page_);
	const auto leave_looks = [this] {
		show_looks(false);
	};
	looks_page_ = new LooksPage(form_, leave_looks, views_);
	views_->addWidget(looks_page_);
	tab_bar_->fit_captions();

	form_.add_translation([this] {
		setWindowTitle(translated("console.title"));
		setAccessibleName(windowTitle());
	});
	make_operable_by_keyboard(*this);
	show_keyboard_focus(*this, [this] { return form_.is_syncing(); });
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

	const auto show_entry = [this](const SearchEntry &entry) {
		show_found(entry);
	};
	search_ = new SearchBar(form_, show_entry, view);
	main_layout_->addWidget(search_);
	const auto choose = [this](int index) {
		choose_tab(index);
	};
	tab_bar_ = new TabBar(form_, choose, view);
	main_layout_->addWidget(tab_bar_);
	form_.add_change_marker([this] {
		for (int i = 0; i < tab_bar_->count(); ++i)
			tab_bar_->mark_changed(i, controls_enabled() && is_page_changed(panel_model().parameters, i));
	});
	hint_strip_ = new HintStrip(view);
	main_layout_->addWidget(hint_strip_);
	pages_ = new QStackedWidget(view);
	main_layout_->addWidget(pages_, 1);
	for (const TabBuilder build_tab : tab_builders)
		wrapPage(build_tab);
	footer_ = new FooterBar(form_,
				{.open_search = [this] { open_search(); },
				 .open_looks =
					 [this] {
						 show_looks(true);
					 }},
				view);
	main_layout_->addWidget(footer_);
	// Takes the place of the pages while these are hidden, so that the strips stay at the top.
	main_layout_->addStretch(0);
}

void KalvioPanel::wrapPage(TabBuilder build_tab)
{
	const PageScroll page = make_page_scroll(pages_);
	pages_->addWidget(page.area);
	build_tab(form_, page.layout);
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
			if (controls_enabled() && views_->currentIndex() == main_view)
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

void KalvioPanel::open_search()
{
	if (!controls_enabled())
		return;
	show_settings(false);
	std::vector<SearchEntry> entries;
	for (int i = 0; i < pages_->count(); ++i)
		add_controls(entries, *static_cast<QScrollArea *>(pages_->widget(i))->widget(), i,
			     tab_bar_->caption(i));
	const std::vector<std::string> &names = panel_model().names;
	for (size_t i = 0; i < names.size(); ++i)
		entries.push_back({.name = QString::fromStdString(names[i]),
				   .place = translated("obs.selectSource"),
				   .source = static_cast<int>(i)});
	search_->open(std::move(entries));
}

void KalvioPanel::show_found(const SearchEntry &entry)
{
	header_->choose_source(entry.source);
	if (!entry.control)
		return;
	choose_tab(entry.page);
	// What takes the focus by the keyboard is scrolled into sight and marked.
	entry.control->setFocus(Qt::ShortcutFocusReason);
}

void KalvioPanel::show_settings(bool open)
{
	settings_open_ = open;
	header_->show_settings_open(open);
	views_->setCurrentIndex(open ? settings_view : main_view);
	if (!open && pages_->currentIndex() != current_tab_)
		choose_tab(current_tab_);
}

void KalvioPanel::show_looks(bool open)
{
	if (open)
		looks_page_->reload();
	views_->setCurrentIndex(open ? looks_view : main_view);
}

void KalvioPanel::changeEvent(QEvent *event)
{
	QWidget::changeEvent(event);
	if (event->type() == QEvent::StyleChange)
		form_.use_application_style();
}

bool KalvioPanel::event(QEvent *event)
{
	// The host has this shortcut too (OBS: Fit to screen); two that match take away each other's key.
	if (event->type() == QEvent::ShortcutOverride && static_cast<QKeyEvent *>(event)->matches(QKeySequence::Find))
		event->accept();
	return QWidget::event(event);
}

void KalvioPanel::keyPressEvent(QKeyEvent *event)
{
	if (event->matches(QKeySequence::Find))
		open_search();
	else
		QWidget::keyPressEvent(event);
}

void KalvioPanel::refreshControls()
{
	const FormBuilder::SyncScope syncing(form_);
	form_.refresh();

	const UpdateStatus &update = panel_model().update;
	const bool is_usable = controls_enabled();
	tab_bar_->set_tabs_enabled(is_usable);
	for (int i = 0; i < pages_->count(); ++i)
		static_cast<QScrollArea *>(pages_->widget(i))->widget()->setEnabled(is_usable);
	show_or_hide(*tab_bar_, !update.forced);
	show_or_hide(*pages_, !update.forced);
	show_or_hide(*footer_, !update.forced);
	main_layout_->setStretch(main_layout_->count() - 1, update.forced ? 1 : 0);

	header_->refresh();
	footer_->refresh(is_usable);
	if (!is_usable)
		search_->close_search();
	hint_strip_->refresh(is_usable, update.forced);
	update_strip_->refresh(update);
	settings_page_->refresh();
	looks_page_->refresh(is_usable);
	if (update.forced && views_->currentIndex() == looks_view)
		show_looks(false);
}

void KalvioPanel::retranslate()
{
	form_.retranslate();
	refreshControls();
}

void KalvioPanel::syncFromEngine()
{
	if (!panel_model().names.empty() &&
	    sync_from_filter(ui_preferences().apply_global ? 0 : panel_model().selected_index))
		refreshControls();
}

} // namespace kalvio
